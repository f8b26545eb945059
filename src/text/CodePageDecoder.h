#pragma once
// Decodes bytes of a legacy code page (Windows, DOS or Mac numbers, or an ICU charset name)
// into text. Unknown code pages fall back to Windows-1252, the RTF default.
#include <QByteArray>
#include <QString>

class CodePageDecoder {
public:
    static QString decode(const QByteArray& bytes, const QString& charsetName);
    // The ICU name of a Windows code page number as RTF writes it ("\ansicpg1251").
    static QString charsetOfCodePage(int codePage);
};
