#pragma once
// A parsed XML part with XPath 1.0 queries, for untrusted workbook parts.
//
// Parsing is lenient (malformed markup is repaired), never touches the network, loads no
// DTD and substitutes no entities; whitespace-only text between elements is dropped, as
// pretty-printed parts carry indentation that is not cell text. Whole-text extraction does
// not follow entity references, so an entity-expansion document stays small.
#include <QList>
#include <QString>

#include <libxml/tree.h>

#include <memory>

class XmlDocument {
public:
    enum class Names {
        Local,    // namespaces dropped from elements: paths match local names ("x:row" as "row")
        Prefixed, // namespaces kept: paths use prefixes registered with registerNamespace
    };

    // Parses the file. A part that cannot be read or parsed logs "Error: <reason>" and
    // gives an invalid document.
    XmlDocument(const QString& location, Names names);
    ~XmlDocument();
    XmlDocument(const XmlDocument&) = delete;
    XmlDocument& operator=(const XmlDocument&) = delete;

    bool isValid() const { return m_doc != nullptr; }
    xmlNodePtr root() const;

    void registerNamespace(const char* prefix, const char* uri);
    // Element nodes the path selects, in document order; empty on any failure.
    QList<xmlNodePtr> select(const char* path) const;

    // All descendant text joined without separator.
    static QString wholeText(const xmlNode* node);
    // The same without the text of descendant elements of that local name.
    static QString wholeTextSkipping(const xmlNode* node, const char* skippedLocalName);
    // Attribute by local name, whatever its prefix; "" when absent.
    static QString attribute(const xmlNode* node, const char* localName);
    static bool hasAttribute(const xmlNode* node, const char* localName);
    static QList<xmlNodePtr> childElements(const xmlNode* node);
    static bool isNamed(const xmlNode* node, const char* localName);

private:
    xmlDocPtr m_doc = nullptr;
    QList<std::pair<QByteArray, QByteArray>> m_namespaces;
};
