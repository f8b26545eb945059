#pragma once
// Status reports (SMS-STATUS-REPORT) a modem hands over as "+CDS": in PDU mode the line
// "+CDS: <length>" and the report's PDU on the next line, in text mode one line
// "+CDS: <fo>,<mr>,<ra>,<tora>,<scts>,<dt>,<st>". Pure functions: text in, values out.
#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <optional>

struct StatusReport {
    int reference = -1; // the message reference the network gave the message ("+CMGS: <mr>")
    QString recipient;
    int status = -1; // TP-ST
};

namespace StatusReports {

// The report in a "+CDS" line and, in PDU mode, the PDU line after it; nothing when the text
// is not a readable status report.
std::optional<StatusReport> parse(QStringView cdsLine, QStringView pduLine = {});

// The reports among the unsolicited lines taken out of a modem's answers (a PDU-mode report's
// PDU is the line after its "+CDS: <length>").
QList<StatusReport> fromUnsolicited(const QStringList& lines);

// The report in the answer to "AT+CMGR=<index>" for a report the modem kept ("+CDSI"):
// "+CMGR: <stat>,,<length>" and the PDU in PDU mode, "+CMGR: <stat>,<fo>,<mr>,...,<st>" in text mode.
std::optional<StatusReport> fromStoredRead(const QString& answer);

// The SIM index in a "+CDSI: <mem>,<index>" line, if it is one.
std::optional<int> storedIndex(QStringView line);

} // namespace StatusReports
