#include "SentItemFile.h"

#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"

#include <QDate>

namespace {
constexpr QChar kBel(0x07);
constexpr QChar kVt(0x0B);
} // namespace

QByteArray formatSentItemLine(const SentItem& item) {
    const QString record =
        QString(kBel) + item.number + kVt + item.message + kBel + item.date + kVt + item.status;
    return (Replace_Sent_Item_and_Template_New_Line_with_Seprator(record) + QLatin1Char('\n')).toUtf8();
}

QList<SentItem> parseSentItems(const QByteArray& content) {
    QList<SentItem> items;
    for (const QString& line : QString::fromUtf8(content).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        // BEL number VT message BEL date VT status
        const QStringList halves = line.split(kBel);
        if (halves.size() != 3 || !halves.at(0).isEmpty())
            continue;
        const QStringList first = halves.at(1).split(kVt);
        const QStringList second = halves.at(2).split(kVt);
        if (first.size() != 2 || second.size() != 2)
            continue;
        items.append({first.at(0), Replace_Sent_Item_and_Template_Seprator_With_New_Line(first.at(1)),
                      second.at(0), Replace_Sent_Item_and_Template_Seprator_With_New_Line(second.at(1))});
    }
    return items;
}

bool appendSentItem(const QString& path, const SentItem& item) {
    Check_Path_And_Create_Files();
    return appendToFile(path, formatSentItemLine(item));
}

QString sentItemDate() { return QDate::currentDate().toString(QStringLiteral("dd/MM/yyyy")); }
