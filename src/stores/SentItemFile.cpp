#include "SentItemFile.h"

#include "core/DataFileLock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/TextUtils.h"
#include "core/WallClock.h"
#include "text/TextLines.h"

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
    for (const QString& stored : TextLines::split(QString::fromUtf8(content))) {
        if (stored.isEmpty())
            continue;
        // BEL number VT message BEL date VT status; a further BEL in the status starts
        // another record on the same line.
        QString rest = Replace_Sent_Item_and_Template_Seprator_With_New_Line(stored);
        while (true) {
            const qsizetype vt = rest.indexOf(kVt);
            if (vt < 0)
                break;
            SentItem item;
            item.number = Trim_Str(rest.left(vt).remove(kBel));
            const QString afterNumber = rest.mid(vt + 1);
            const qsizetype bel = afterNumber.indexOf(kBel);
            item.message = bel < 0 ? afterNumber : afterNumber.left(bel);
            rest.clear();
            if (bel >= 0) {
                const QString afterMessage = afterNumber.mid(bel + 1);
                const qsizetype vt2 = afterMessage.indexOf(kVt);
                item.date = vt2 < 0 ? afterMessage : afterMessage.left(vt2);
                QString status = vt2 < 0 ? QString() : afterMessage.mid(vt2 + 1);
                const qsizetype further = status.indexOf(kBel);
                if (further >= 0) {
                    rest = status.mid(further);
                    status.truncate(further);
                }
                item.status = Trim_Str(status);
            }
            if (!item.number.isEmpty())
                items.append(item);
        }
    }
    return items;
}

bool writeSentItemsFile(const QString& path, const QList<SentItem>& items, QString* error) {
    AtomicFileWriter file(path);
    for (const SentItem& item : items)
        if (!file.write(formatSentItemLine(item)))
            break;
    return file.commit(error);
}

bool appendSentItem(const DataFolder& folder, const QString& path, const SentItem& item, QString* error) {
    folder.Check_Path_And_Create_Files();
    // A window's rewrite of the file must not lose the line.
    const DataFileLock lock(folder);
    if (!lock.held()) {
        if (error)
            *error = lock.error();
        return false;
    }
    return appendToFile(path, formatSentItemLine(item), error);
}

QString sentItemDate() { return Clock::now().toLocalTime().date().toString(QStringLiteral("dd/MM/yyyy")); }
