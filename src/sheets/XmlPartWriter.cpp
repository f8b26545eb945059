#include "XmlPartWriter.h"

#include "XlsxText.h"

#include <algorithm>
#include <cstring>

namespace {

// Blocks of this size go to the sink; a longer text (one huge cell) grows the buffer once.
constexpr qsizetype kBlock = qsizetype(1) << 17;

} // namespace

XmlPartWriter::XmlPartWriter(Sink sink)
    : m_sink(std::move(sink)), m_buffer(new char[kBlock * 2]), m_capacity(kBlock * 2) {
    m_open.reserve(8);
    append(R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>)"
           "\n");
}

XmlPartWriter::~XmlPartWriter() = default;

char* XmlPartWriter::grow(qsizetype n) {
    const qsizetype capacity = std::max(m_capacity * 2, m_size + n);
    std::unique_ptr<char[]> bigger(new char[capacity]);
    std::memcpy(bigger.get(), m_buffer.get(), size_t(m_size));
    m_buffer = std::move(bigger);
    m_capacity = capacity;
    return m_buffer.get() + m_size;
}

void XmlPartWriter::append(std::string_view bytes) {
    std::memcpy(room(qsizetype(bytes.size())), bytes.data(), bytes.size());
    m_size += qsizetype(bytes.size());
}

void XmlPartWriter::flushIfFull() {
    if (m_size >= kBlock)
        flush();
}

void XmlPartWriter::flush() {
    if (m_ok && m_size > 0)
        m_ok = m_sink(m_buffer.get(), m_size);
    m_size = 0;
}

char* XmlPartWriter::escapeUtf8(std::string_view value, bool inAttribute, char* out) {
    for (const char ch : value) {
        const auto b = static_cast<unsigned char>(ch);
        switch (b) {
        case '&': out = std::copy_n("&amp;", 5, out); continue;
        case '<': out = std::copy_n("&lt;", 4, out); continue;
        case '>': out = std::copy_n("&gt;", 4, out); continue;
        case '"':
            if (inAttribute) {
                out = std::copy_n("&quot;", 6, out);
                continue;
            }
            break;
        // In an attribute these are written as references, or a parser would turn them
        // into spaces.
        case '\t':
            if (inAttribute) {
                out = std::copy_n("&#9;", 4, out);
                continue;
            }
            break;
        case '\n':
            if (inAttribute) {
                out = std::copy_n("&#10;", 5, out);
                continue;
            }
            break;
        case '\r': out = std::copy_n("&#13;", 5, out); continue;
        default:
            if (b < 0x20)
                continue;
        }
        *out++ = ch;
    }
    return out;
}

void XmlPartWriter::closeStartTag() {
    if (m_inStartTag) {
        *room(1) = '>';
        ++m_size;
        m_inStartTag = false;
    }
}

void XmlPartWriter::start(std::string_view name) {
    closeStartTag();
    flushIfFull();
    char* out = room(qsizetype(name.size()) + 1);
    *out++ = '<';
    std::memcpy(out, name.data(), name.size());
    m_size += qsizetype(name.size()) + 1;
    m_open.push_back(name);
    m_inStartTag = true;
}

void XmlPartWriter::attribute(std::string_view name, std::string_view value) {
    if (!m_inStartTag)
        return; // attributes belong to a start tag; nothing sensible to write elsewhere
    // Each byte of the value becomes at most 6 ("&quot;").
    char* const begin = room(qsizetype(name.size()) + 4 + qsizetype(value.size()) * 6);
    char* out = begin;
    *out++ = ' ';
    out = std::copy_n(name.data(), name.size(), out);
    *out++ = '=';
    *out++ = '"';
    out = escapeUtf8(value, true, out);
    *out++ = '"';
    m_size += out - begin;
}

void XmlPartWriter::text(QStringView value) {
    closeStartTag();
    char* const begin = room(xlsxTextXmlBound(value.size()));
    m_size += writeXlsxTextAsXml(value, begin) - begin;
    flushIfFull();
}

void XmlPartWriter::text(std::string_view value) {
    closeStartTag();
    char* const begin = room(qsizetype(value.size()) * 6);
    m_size += escapeUtf8(value, false, begin) - begin;
    flushIfFull();
}

void XmlPartWriter::end() {
    if (m_open.empty())
        return;
    const std::string_view name = m_open.back();
    m_open.pop_back();
    if (m_inStartTag) {
        append("/>");
        m_inStartTag = false;
        return;
    }
    char* out = room(qsizetype(name.size()) + 3);
    *out++ = '<';
    *out++ = '/';
    out = std::copy_n(name.data(), name.size(), out);
    *out = '>';
    m_size += qsizetype(name.size()) + 3;
}

void XmlPartWriter::markup(std::string_view elements) {
    closeStartTag();
    append(elements);
    flushIfFull();
}

void XmlPartWriter::element(std::string_view name, QStringView value) {
    start(name);
    text(value);
    end();
}

bool XmlPartWriter::finish() {
    while (!m_open.empty())
        end();
    append("\n");
    flush();
    return m_ok;
}
