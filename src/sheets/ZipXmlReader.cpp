#include "ZipXmlReader.h"

namespace {

constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT;

// Keeps the first error the parser reports instead of letting it print.
void recordError(void* context, xmlErrorPtr error) {
    auto* first = static_cast<QString*>(context);
    if (first->isEmpty() && error && error->level >= XML_ERR_ERROR && error->message)
        *first = QString::fromUtf8(error->message).trimmed();
}

} // namespace

ZipXmlReader::ZipXmlReader(ZipEntryStream& input) : m_input(input) {
    if (!input.isOpen())
        return;
    m_reader = xmlReaderForIO(&ZipXmlReader::readChunk, nullptr, this, nullptr, nullptr, kParseOptions);
    if (m_reader)
        xmlTextReaderSetStructuredErrorHandler(m_reader, recordError, &m_firstError);
}

ZipXmlReader::~ZipXmlReader() {
    if (m_reader)
        xmlFreeTextReader(m_reader);
}

int ZipXmlReader::readChunk(void* context, char* buffer, int length) {
    return static_cast<ZipXmlReader*>(context)->m_input.read(buffer, length);
}

QString ZipXmlReader::failure() const {
    if (m_input.failed())
        return m_input.error().description;
    return m_firstError;
}
