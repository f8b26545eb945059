#pragma once
// Status reports (SMS-STATUS-REPORT) as a modem hands them to the computer when it was told
// to route them directly ("AT+CNMI=...,1,..."): "+CDS: <length>" and the PDU in PDU mode, or
// "+CDS: <fo>,<mr>,<ra>,<tora>,<scts>,<dt>,<st>" in text mode.
#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

namespace sim::StatusReport {

// The unsolicited lines of one report, framed as a modem sends them.
// status: TP-ST (0 delivered; 0x20..0x3F still trying; 0x40 and above failed).
QByteArray unsolicited(bool pduMode, int reference, const QString& recipient, int status,
                       const QDateTime& submitted, const QDateTime& done);

// The information lines of "AT+CMGR=<index>" for a report kept in the SIM: "+CMGR: 0,,<length>"
// and the PDU in PDU mode, "+CMGR: \"REC UNREAD\",6,<mr>,..." in text mode.
QStringList stored(bool pduMode, int reference, const QString& recipient, int status,
                   const QDateTime& submitted, const QDateTime& done);

// The text-mode fields after the first octet: <mr>,"<ra>",<tora>,"<scts>","<dt>",<st>.
QString textFields(int reference, const QString& recipient, int status, const QDateTime& submitted,
                   const QDateTime& done);

// The hex PDU of the report (no service centre information: it starts with "00").
QString pdu(int reference, const QString& recipient, int status, const QDateTime& submitted,
            const QDateTime& done);

} // namespace sim::StatusReport
