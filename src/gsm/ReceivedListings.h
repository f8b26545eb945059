#pragma once
// What a modem answers when asked for the messages it holds: the list ("AT+CMGL") and one
// message ("AT+CMGR=<index>") in PDU mode and in text mode, and the note of a new message
// ("+CMTI: <mem>,<index>"). Pure functions: text in, values out. Echoed commands, blank
// lines and unsolicited codes among the entries are passed over.
#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringView>

#include <optional>

// A message's storage state as both modes name it ("REC UNREAD" is 0, ...).
enum class StoredState { ReceivedUnread = 0, ReceivedRead = 1, StoredUnsent = 2, StoredSent = 3 };

// One message in PDU mode: "+CMGL: <index>,<stat>,[<alpha>],<length>" and the PDU line.
struct ListedPdu {
    int index = -1;  // the storage index; -1 in a read answer, which names none
    int state = -1;  // a StoredState, -1 when the modem named none we know
    int length = -1; // the TPDU's octets (without the service centre address)
    QString pdu;
};

// One message in text mode: "+CMGL: <index>,<stat>,<oa>,[<alpha>],[<scts>]" (more fields
// after it when the modem shows them all) and the text on the lines after it.
struct ListedText {
    int index = -1;
    int state = -1;
    QString sender;   // as the modem writes it (under its character set)
    QDateTime sentAt; // UTC; invalid when the modem gave no time stamp it could be read from
    QString text;     // the text's lines joined with "\n"
};

namespace ReceivedListings {

// The answer to "AT+CMGL=4" (PDU mode): every entry that has its PDU line.
QList<ListedPdu> pduList(const QString& answer);

// The answer to "AT+CMGL=\"ALL\"" (text mode). A text runs until the next entry or the
// answer's last final result, so a message whose text is "OK" keeps it.
QList<ListedText> textList(const QString& answer);

// The answer to "AT+CMGR=<index>" in each mode: "+CMGR: <stat>,[<alpha>],<length>" and the
// PDU, or "+CMGR: <stat>,<oa>,[<alpha>],<scts>[,...]" and the text; nothing for an empty place.
std::optional<ListedPdu> pduRead(const QString& answer);
std::optional<ListedText> textRead(const QString& answer);

// The storage index in a "+CMTI: <mem>,<index>" line (a new message kept there), if it is one.
std::optional<int> newMessageIndex(QStringView line);

// A text-mode time stamp "yy/MM/dd,hh:mm:ss+zz" (zone in quarters of an hour, may be absent)
// as UTC; invalid when it is none.
QDateTime textModeTime(QStringView stamp);

} // namespace ReceivedListings
