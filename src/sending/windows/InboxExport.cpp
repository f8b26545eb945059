#include "InboxExport.h"

#include "CampaignPage.h"

#include <QRegularExpression>

QStringList inboxExportTitles() {
    return {QStringLiteral("Received"),
            QStringLiteral("Number"), // a heading of the file, not a record key
            QStringLiteral("Campaign"),
            QStringLiteral("Message"), // a heading of the file, not a record key
            QStringLiteral("Opt-out"),  QStringLiteral("Read")};
}

SpreadsheetData inboxExportRows(const QList<ReplyLine>& replies) {
    SpreadsheetData rows;
    rows.reserve(replies.size() + 1);
    rows << inboxExportTitles();
    const auto yesNo = [](bool on) { return on ? QStringLiteral("Yes") : QStringLiteral("No"); };
    for (const ReplyLine& r : replies)
        rows << QStringList{localTime(r.receivedAt),
                            r.number,
                            r.campaign == 0 ? QString() : QString::number(r.campaign),
                            r.complete ? r.text : r.text + QStringLiteral(" [incomplete]"),
                            yesNo(r.optedOut),
                            yesNo(r.readAt != 0)};
    return rows;
}

QString csvField(const QString& value) {
    static const QRegularExpression phoneNumber(QStringLiteral("^\\+[0-9]+$"));
    QString field = value;
    if (!field.isEmpty() && QStringLiteral("=+-@\t\r").contains(field.front()) &&
        !phoneNumber.match(field).hasMatch())
        field.prepend(QLatin1Char('\''));
    if (!field.contains(QLatin1Char(',')) && !field.contains(QLatin1Char('"')) &&
        !field.contains(QLatin1Char('\n')) && !field.contains(QLatin1Char('\r')))
        return field;
    field.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + field + QLatin1Char('"');
}

QByteArray inboxCsv(const QList<ReplyLine>& replies) {
    QString text;
    for (const QStringList& row : inboxExportRows(replies)) {
        QStringList fields;
        for (const QString& value : row)
            fields << csvField(value);
        text += fields.join(QLatin1Char(',')) + QStringLiteral("\r\n");
    }
    return QByteArray("\xEF\xBB\xBF") + text.toUtf8();
}
