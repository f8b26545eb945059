#pragma once
// A small buffered writer for the XML parts of the workbooks we export. A worksheet of a
// million rows is a few hundred megabytes of markup made of millions of tiny elements, so
// the writer works straight into one byte buffer and hands it on in large blocks, without
// allocating per element or per attribute. The output is a UTF-8 document with
// double-quoted attributes and no indentation.
#include <QStringView>

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

class XmlPartWriter {
public:
    // Takes the next block of the document; false when it cannot (the writer then stops).
    using Sink = std::function<bool(const char* data, qsizetype size)>;

    // Starts the document with its declaration (standalone).
    explicit XmlPartWriter(Sink sink);
    XmlPartWriter(const XmlPartWriter&) = delete;
    XmlPartWriter& operator=(const XmlPartWriter&) = delete;
    ~XmlPartWriter();

    // name must outlive the element (the writer keeps it until end()); names are literals.
    void start(std::string_view name);
    // An attribute of the element just started. value is UTF-8; "&", "<", ">", the quote,
    // tab and line breaks are written as references, and other control characters, which
    // no XML 1.0 document can carry, are left out.
    void attribute(std::string_view name, std::string_view value);
    // Cell text, escaped as workbooks escape it (see writeXlsxTextAsXml).
    void text(QStringView value);
    // UTF-8 text the writer made itself (numbers, names): "&", "<" and ">" become
    // references and control characters other than tab and line feed are left out.
    void text(std::string_view value);
    void end();
    // Whole elements the caller put together itself, written as they are: for the cells of a
    // worksheet, millions of elements whose every byte is known to need no escaping.
    void markup(std::string_view elements);
    // start, text, end.
    void element(std::string_view name, QStringView value);

    // Ends every open element and the document and hands on the rest; true when every
    // block was taken.
    bool finish();
    bool ok() const { return m_ok; }

private:
    // Room for n more bytes at the end of the buffer.
    char* room(qsizetype n) { return m_capacity - m_size >= n ? m_buffer.get() + m_size : grow(n); }
    char* grow(qsizetype n);
    void closeStartTag();
    // Writes value escaped at out (room for 6 bytes per byte of value); returns the end.
    static char* escapeUtf8(std::string_view value, bool inAttribute, char* out);
    void append(std::string_view bytes);
    void flushIfFull();
    void flush();

    Sink m_sink;
    std::unique_ptr<char[]> m_buffer;
    qsizetype m_capacity = 0;
    qsizetype m_size = 0;
    std::vector<std::string_view> m_open; // names of the open elements, innermost last
    bool m_inStartTag = false;
    bool m_ok = true;
};
