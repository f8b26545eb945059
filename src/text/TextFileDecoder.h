#pragma once
// Turns the bytes of a plain text file into text, whatever encoding it came in: UTF-8
// with or without byte order mark, UTF-16 and UTF-32 with byte order mark, or a legacy
// single-byte encoding guessed by ICU's charset detection. Bytes that are not text at
// all (NUL bytes without a UTF-16/32 mark, or mostly control characters) are refused.
#include <QByteArray>
#include <QString>

class TextFileDecoder {
public:
    // False when the bytes are not text; text is then empty.
    static bool decode(const QByteArray& bytes, QString& text);
    // The encoding decode() would use ("UTF-8", "UTF-16LE", "windows-1252", ...), "" for binary.
    static QString detectEncoding(const QByteArray& bytes);
};
