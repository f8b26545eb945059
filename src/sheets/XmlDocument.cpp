#include "XmlDocument.h"

#include "core/Log.h"

#include <QFile>
#include <QFileInfo>

#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <cstring>

namespace {

constexpr int kParseOptions = XML_PARSE_RECOVER | XML_PARSE_NONET | XML_PARSE_NOBLANKS | XML_PARSE_COMPACT |
                              XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

void dropElementNamespaces(xmlNodePtr node) {
    for (; node; node = node->next) {
        if (node->type == XML_ELEMENT_NODE) {
            node->ns = nullptr;
            dropElementNamespaces(node->children);
        }
    }
}

void appendText(const xmlNode* node, QByteArray& out, const char* skipped = nullptr) {
    for (const xmlNode* child = node->children; child; child = child->next) {
        switch (child->type) {
        case XML_TEXT_NODE:
        case XML_CDATA_SECTION_NODE:
            if (child->content)
                out.append(reinterpret_cast<const char*>(child->content));
            break;
        case XML_ELEMENT_NODE:
            if (!skipped || !child->name ||
                std::strcmp(reinterpret_cast<const char*>(child->name), skipped) != 0)
                appendText(child, out, skipped);
            break;
        default: // entity references, comments, processing instructions carry no cell text
            break;
        }
    }
}

} // namespace

XmlDocument::XmlDocument(const QString& location, Names names) {
    // A part missing from the package is logged here; libxml2 would print its own I/O
    // warning to the terminal whatever the parse options say.
    if (!QFileInfo(location).isFile()) {
        Show_NSLog_Message(QStringLiteral("Error: missing part %1").arg(location));
        return;
    }
    xmlParserCtxtPtr context = xmlNewParserCtxt();
    if (!context) {
        Show_NSLog_Message(QStringLiteral("Error: out of memory while parsing %1").arg(location));
        return;
    }
    m_doc = xmlCtxtReadFile(context, QFile::encodeName(location).constData(), nullptr, kParseOptions);
    if (!m_doc || !xmlDocGetRootElement(m_doc)) {
        const QString reason = context->lastError.message
                                   ? QString::fromUtf8(context->lastError.message).trimmed()
                                   : QStringLiteral("cannot parse");
        Show_NSLog_Message(QStringLiteral("Error: %1 (%2)").arg(reason, location));
        if (m_doc)
            xmlFreeDoc(m_doc);
        m_doc = nullptr;
    }
    xmlFreeParserCtxt(context);
    if (m_doc && names == Names::Local)
        dropElementNamespaces(xmlDocGetRootElement(m_doc));
}

XmlDocument::~XmlDocument() {
    if (m_doc)
        xmlFreeDoc(m_doc);
}

xmlNodePtr XmlDocument::root() const { return m_doc ? xmlDocGetRootElement(m_doc) : nullptr; }

void XmlDocument::registerNamespace(const char* prefix, const char* uri) {
    m_namespaces.append({QByteArray(prefix), QByteArray(uri)});
}

QList<xmlNodePtr> XmlDocument::select(const char* path) const {
    QList<xmlNodePtr> nodes;
    if (!m_doc)
        return nodes;
    xmlXPathContextPtr context = xmlXPathNewContext(m_doc);
    if (!context)
        return nodes;
    for (const auto& [prefix, uri] : m_namespaces)
        xmlXPathRegisterNs(context, reinterpret_cast<const xmlChar*>(prefix.constData()),
                           reinterpret_cast<const xmlChar*>(uri.constData()));
    xmlXPathObjectPtr result = xmlXPathEvalExpression(reinterpret_cast<const xmlChar*>(path), context);
    if (result && result->type == XPATH_NODESET && result->nodesetval) {
        const xmlNodeSetPtr set = result->nodesetval;
        nodes.reserve(set->nodeNr);
        for (int i = 0; i < set->nodeNr; ++i) {
            if (set->nodeTab[i]->type == XML_ELEMENT_NODE)
                nodes.append(set->nodeTab[i]);
        }
    }
    xmlXPathFreeObject(result);
    xmlXPathFreeContext(context);
    return nodes;
}

QString XmlDocument::wholeText(const xmlNode* node) {
    if (!node)
        return {};
    if (node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE)
        return node->content ? QString::fromUtf8(reinterpret_cast<const char*>(node->content)) : QString();
    QByteArray out;
    appendText(node, out);
    return QString::fromUtf8(out);
}

QString XmlDocument::wholeTextSkipping(const xmlNode* node, const char* skippedLocalName) {
    if (!node)
        return {};
    QByteArray out;
    appendText(node, out, skippedLocalName);
    return QString::fromUtf8(out);
}

bool XmlDocument::isNamed(const xmlNode* node, const char* localName) {
    return node && node->name && std::strcmp(reinterpret_cast<const char*>(node->name), localName) == 0;
}

bool XmlDocument::hasAttribute(const xmlNode* node, const char* localName) {
    if (!node || node->type != XML_ELEMENT_NODE)
        return false;
    for (const xmlAttr* a = node->properties; a; a = a->next) {
        if (isNamed(reinterpret_cast<const xmlNode*>(a), localName))
            return true;
    }
    return false;
}

QString XmlDocument::attribute(const xmlNode* node, const char* localName) {
    if (!node || node->type != XML_ELEMENT_NODE)
        return {};
    for (const xmlAttr* a = node->properties; a; a = a->next) {
        if (!isNamed(reinterpret_cast<const xmlNode*>(a), localName))
            continue;
        QByteArray value;
        for (const xmlNode* t = a->children; t; t = t->next) {
            if (t->type == XML_TEXT_NODE && t->content)
                value.append(reinterpret_cast<const char*>(t->content));
        }
        return QString::fromUtf8(value);
    }
    return {};
}

QList<xmlNodePtr> XmlDocument::childElements(const xmlNode* node) {
    QList<xmlNodePtr> children;
    for (xmlNodePtr c = node ? node->children : nullptr; c; c = c->next) {
        if (c->type == XML_ELEMENT_NODE)
            children.append(c);
    }
    return children;
}
