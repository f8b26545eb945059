#pragma once
// Which texts fit the GSM 7-bit alphabet (default table plus extension table) and which
// need UCS-2. Decided one UTF-16 code unit at a time.
#include <QChar>
#include <QString>

// True when the character is in the GSM 7-bit default alphabet or its extension table.
bool isGsm7Character(QChar c);

// True when the text needs Unicode (UCS-2): some unit is outside the GSM 7-bit sets.
// An empty text needs none; characters outside the BMP (surrogates) always need it.
bool Check_UNICODE_Message(const QString& text);
