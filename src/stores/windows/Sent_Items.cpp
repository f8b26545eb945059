#include "Sent_Items.h"

#include "ExportDialogs.h"
#include "StoreWindowSupport.h"
#include "core/DataFileLock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "list/LoadCounters.h"
#include "list/NumberList.h"
#include "list/windows/BulkSmsWindow.h"
#include "list/windows/Load_Num_Info.h"
#include "stores/ExportFile.h"

namespace {
Record recordOf(const SentItem& item) {
    return Record{{kNumberKey, item.number},
                  {kMessageKey, item.message},
                  {kSentItemDateKey, item.date},
                  {kSentItemStatusKey, item.status}};
}

SentItem itemOf(const Record& r) {
    return {r.value(kNumberKey), r.value(kMessageKey), r.value(kSentItemDateKey),
            r.value(kSentItemStatusKey)};
}

QByteArray formatted(const QList<SentItem>& items) {
    QByteArray content;
    for (const SentItem& item : items)
        content += formatSentItemLine(item);
    return content;
}
} // namespace

Sent_Items::Sent_Items(Operator& op, DataFolder folder, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)),
      m_table({kNumberKey, kMessageKey, kSentItemDateKey, kSentItemStatusKey}) {}

Sent_Items::~Sent_Items() { m_loader.requestStop(); }

QString Sent_Items::filePath() const {
    return m_gsm ? m_folder.SentItem_File_Path() : m_folder.SentItemAnd_File_Path();
}

QList<SentItem> Sent_Items::items() const {
    QList<SentItem> out;
    out.reserve(m_table.size());
    for (const Record& r : m_table.records())
        out << itemOf(r);
    return out;
}

void Sent_Items::Create_Sent_Item_List(const QString& number, const QString& message, const QString& date,
                                       const QString& status) {
    const QString trimmed = Trim_Str(number);
    if (trimmed.isEmpty())
        return;
    m_table.append(recordOf({trimmed, message, date, status}));
    emit changed();
}

void Sent_Items::setLoaded(RecordList records) {
    m_table.setRecords(std::move(records));
    m_selected.clear();
    emit selectionChanged();
    emit changed();
}

void Sent_Items::startLoading() {
    m_gsm = !androidInFront();
    m_table.clear();
    m_selected.clear();
    m_details.clear();
    Prev_Index = -1;
    m_loading = true;
    emit changed();
    const QString path = filePath();
    m_loader.start([this, path](std::stop_token stop) {
        // Parsed and made into records here: the main thread only takes the finished table.
        QString why;
        QByteArray content;
        RecordList loaded = Guard::run(
            "Sent_Items load",
            [&] {
                RecordList records;
                PrivateFile file(path);
                if (file.open(&why))
                    content = file.readAll();
                const QList<SentItem> items = parseSentItems(content);
                records.reserve(items.size());
                for (const SentItem& item : items)
                    records << recordOf(item);
                return records;
            },
            RecordList{});
        // The end of the load is told from the main thread while the owner waits for this
        // thread: nothing reaches the controller after it is gone.
        MainThread::invokeAndWait([&] {
            if (!stop.stop_requested() && !why.isEmpty())
                m_op.Show_MessageBox(errorInFileAccessing(why));
            if (!stop.stop_requested()) {
                m_loadedContent = content;
                setLoaded(std::move(loaded));
            }
            m_loading = false;
            emit changed();
        });
    });
}

void Sent_Items::waitForLoading() { m_loader.join(); }

void Sent_Items::Open_Sent_Item_Wnd() {
    startLoading();
    restBeforeShowing(this, [this] { m_op.runModal(*this); });
}

void Sent_Items::setSelectedRows(QList<int> rows) {
    m_selected = validRows(std::move(rows), m_table.size());
    if (!m_selected.isEmpty() && m_selected.first() != Prev_Index)
        showDetails(m_selected.first());
    emit selectionChanged();
}

void Sent_Items::showDetails(int row) {
    Prev_Index = row;
    const Record& r = m_table.at(row);
    m_details = QStringLiteral("Number\t: %1\r\n\r\nMessage\t: %2\r\n\r\nDate\t\t: %3\r\n\r\nStatus\t: %4")
                    .arg(r.value(kNumberKey), r.value(kMessageKey), r.value(kSentItemDateKey),
                         r.value(kSentItemStatusKey));
    emit changed();
}

void Sent_Items::Clear_Sel_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kSentItemsEmpty);
        return;
    }
    if (m_selected.isEmpty()) {
        m_op.Show_MessageBox(kSelectSentItem);
        return;
    }
    m_table.removeRows(m_selected);
    m_selected.clear();
    Prev_Index = -1;
    if (m_table.isEmpty())
        m_details.clear();
    else
        setSelectedRows({0});
    emit selectionChanged();
    emit changed();
}

void Sent_Items::Clear_All_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kSentItemsEmpty);
        return;
    }
    if (!m_op.Show_YES_NO_MessageBox(kClearEntireList))
        return;
    QString why;
    if (!rewrite({}, &why)) {
        m_op.Show_MessageBox(errorInFileAccessing(why)); // the file still holds them: so does the window
        return;
    }
    m_table.clear();
    m_selected.clear();
    m_details.clear();
    Prev_Index = -1;
    emit selectionChanged();
    emit changed();
}

void Sent_Items::Close_Btn() {
    if (!m_loading) {
        // One atomic rewrite: the file matches the window (and what runs added meanwhile), or
        // stays as it was.
        QString why;
        if (!rewrite(items(), &why))
            m_op.Show_MessageBox(errorInFileAccessing(why));
    }
    endModal(1);
}

bool Sent_Items::rewrite(const QList<SentItem>& kept, QString* why) {
    m_folder.Check_Path_And_Create_Files();
    const QByteArray content = formatted(kept);
    if (!rewriteDataFile(m_folder, filePath(), m_loadedContent, content, why))
        return false;
    m_loadedContent = content;
    return true;
}

void Sent_Items::Send_To_Main_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kSentItemsEmpty);
        return;
    }
    if (m_selected.isEmpty()) {
        m_op.Show_MessageBox(kSelectSentItem);
        return;
    }
    BulkSmsWindow* window = activeStoreWindow();
    if (window == nullptr)
        return;
    if (!window->list().isEmpty()) {
        Load_Num_Info question;
        const int code = m_op.runModal(question);
        if (code == 1) {
            window->list().clear();
            window->setSelectedRows({});
        } else if (code != 0) {
            return;
        }
    }
    const int before = window->list().size();
    const QList<int> rows = m_selected;
    LoadCounters counts;
    {
        BulkSmsWindow::BatchInsert batch(*window);
        for (int row : rows)
            window->insertIfAble(m_table.at(row).value(kNumberKey), m_table.at(row).value(kMessageKey),
                                 counts);
    }
    window->setLastLoad(counts);
    if (!window->list().isEmpty() && window->list().size() != before)
        m_op.Show_MessageBox(QStringLiteral("Selected sent items inserted in SMS Composer successfully."));
    else
        m_op.Show_MessageBox(counts.summary());
    setSelectedRows(rows);
}

void Sent_Items::setPleaseWait(bool shown) {
    m_pleaseWait = shown;
    emit changed();
}

void Sent_Items::Export_Btn() {
    if (m_table.isEmpty()) {
        m_op.Show_MessageBox(kSentItemsEmpty);
        return;
    }
    Guard::run("Sent_Items export", [this] { exportItems(); });
    setPleaseWait(false);
}

void Sent_Items::exportItems() {
    QStringList statuses;
    for (const Record& r : m_table.records())
        statuses << r.value(kSentItemStatusKey);
    const std::optional<StatusExportChoice> choice = askStatusExport(m_op, statuses);
    if (!choice)
        return;
    const ExportFormat chosen = choice->target.format;
    const QString& path = choice->target.path;
    QList<SentItem> exported;
    for (const SentItem& item : items())
        if (statusPassesFilter(item.status, choice->group))
            exported << item;
    setPleaseWait(true);
    bool written = false;
    QString why;
    switch (chosen) {
    case ExportFormat::Text: written = writeExportBytes(path, sentItemsText(exported), &why); break;
    case ExportFormat::Html: written = writeExportBytes(path, sentItemsHtml(exported), &why); break;
    case ExportFormat::Xlsx: written = writeExportWorkbook(path, sentItemsRows(exported), &why); break;
    }
    setPleaseWait(false);
    if (!written) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(m_op, path);
}
