#pragma once
// A libxml2 pull reader fed straight from a zip entry as it inflates: the part is parsed
// leniently (no network, no DTD, no entity substitution) without ever being whole in memory.
#include "ZipEntryStream.h"

#include <QString>

#include <libxml/xmlreader.h>

#include <memory>

class ZipXmlReader {
public:
    explicit ZipXmlReader(ZipEntryStream& input);
    ~ZipXmlReader();
    ZipXmlReader(const ZipXmlReader&) = delete;
    ZipXmlReader& operator=(const ZipXmlReader&) = delete;

    xmlTextReaderPtr get() const { return m_reader; }
    bool isValid() const { return m_reader != nullptr; }
    // The parser's first error, or the zip entry's failure when reading it broke off.
    QString failure() const;

private:
    static int readChunk(void* context, char* buffer, int length);

    ZipEntryStream& m_input;
    xmlTextReaderPtr m_reader = nullptr;
    QString m_firstError;
};
