#include "InboxWindow.h"

#include "CampaignPage.h"
#include "InboxExport.h"
#include "campaigns/CampaignStore.h"
#include "campaigns/OptOuts.h"
#include "campaigns/Replies.h"
#include "core/Clock.h"
#include "core/Counted.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "stores/ExportFile.h"

#include <QFileInfo>

#include <algorithm>

// What a read is asked to do: the list under the filter, and the chosen number's conversation
// (its new replies marked read when the window shows them).
struct InboxWindow::Request {
    ConversationFilter filter;
    QString number;
    qint64 markedUpTo = 0;
    bool mark = false;
};

// What one read of the store found; a part the store refused stays empty.
struct InboxWindow::Read {
    std::shared_ptr<CampaignStore> store;
    std::optional<ConversationPage> page;
    std::optional<QList<ConversationEntry>> conversation;
    std::optional<QList<RepliedCampaign>> campaigns;
    std::optional<qint64> unread;
    QString number;
    qint64 markedUpTo = 0;
    QString why; // the first refusal
};

namespace {

constexpr int kConversationLength = 500; // the latest messages of a conversation shown

} // namespace

InboxWindow::InboxWindow(Operator& op, DataFolder folder, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)), m_options(op, m_folder) {
    m_filter.limit = kPage;
    m_next.setSingleShot(true);
    connect(&m_next, &QTimer::timeout, this, &InboxWindow::refresh);
}

InboxWindow::~InboxWindow() { m_loader.requestStop(); }

void InboxWindow::Open_Inbox_Wnd() {
    startRefreshing();
    m_op.runModal(*this);
    stopRefreshing();
}

void InboxWindow::startRefreshing() {
    m_open = true;
    refresh();
}

void InboxWindow::stopRefreshing() {
    m_open = false;
    m_next.stop();
}

void InboxWindow::refresh() {
    if (m_reading) {
        m_readAgain = true;
        return;
    }
    m_reading = true;
    m_readAgain = false;
    Request request{m_filter, m_selected, m_markedUpTo, m_open};
    request.filter.keep = m_selected;
    m_loader.start([this, folder = m_folder, request](std::stop_token stop) {
        Read read;
        readStore(folder, request, read);
        // Taken on the main thread while this worker waits: nothing reaches the window once
        // it is gone.
        MainThread::invokeAndWait([&] {
            if (!stop.stop_requested())
                take(read);
            m_reading = false;
        });
    });
}

void InboxWindow::readStore(const DataFolder& folder, const Request& request, Read& read) {
    read.store = CampaignStore::forFolder(folder, &read.why);
    if (!read.store)
        return;
    CampaignStore& store = *read.store;
    const auto refused = [&read](const QString& why) {
        if (read.why.isEmpty())
            read.why = why.isEmpty() ? QStringLiteral("the store refused to answer") : why;
    };
    QString why;
    read.number = request.number;
    read.markedUpTo = request.markedUpTo;
    if (!request.number.isEmpty()) {
        read.conversation = conversationOf(store, request.number, kConversationLength, &why);
        if (!read.conversation)
            refused(why);
        // What the open window shows is read: the replies it had not shown before. One the
        // operator marked unread stays so.
        qint64 upTo = 0, latest = request.markedUpTo;
        for (const ConversationEntry& e : read.conversation.value_or(QList<ConversationEntry>{}))
            if (e.kind == ConversationEntry::Kind::Reply) {
                latest = std::max(latest, e.id);
                if (e.readAt == 0 && e.id > request.markedUpTo)
                    upTo = std::max(upTo, e.id);
            }
        if (request.mark && upTo > 0) {
            if (markConversationRead(store, request.number, upTo, &why)) {
                const qint64 now = CampaignStore::now();
                for (ConversationEntry& e : *read.conversation)
                    if (e.kind == ConversationEntry::Kind::Reply && e.readAt == 0 && e.id <= upTo)
                        e.readAt = now;
            } else {
                refused(why);
            }
        }
        if (request.mark)
            read.markedUpTo = latest;
    }
    if (!(read.page = listConversations(store, request.filter, &why)))
        refused(why);
    if (!(read.campaigns = repliedCampaigns(store, &why)))
        refused(why);
    if (!(read.unread = unreadReplies(store, &why)))
        refused(why);
}

void InboxWindow::take(Read& read) {
    if (read.store)
        m_store = read.store;
    if (read.page) {
        m_rows = read.page->rows;
        m_more = read.page->more;
    }
    if (read.campaigns)
        m_campaigns = *read.campaigns;
    if (read.unread)
        m_unreadTotal = *read.unread;
    if (read.number == m_selected && !m_selected.isEmpty()) {
        if (read.conversation)
            m_conversation = *read.conversation;
        m_markedUpTo = std::max(m_markedUpTo, read.markedUpTo);
    }
    // A number the filter no longer takes is no longer shown.
    if (read.page && !m_selected.isEmpty() && selected() == nullptr && !m_readAgain) {
        m_selected.clear();
        m_conversation.clear();
        m_markedUpTo = 0;
    }
    m_refusal = read.why;
    m_read = true;
    emit changed();
    // A refusal is told once, not at every read while it lasts; the window says it meanwhile.
    const bool refused = !read.why.isEmpty();
    const bool tell = refused && !m_errorShown;
    m_errorShown = refused;
    if (tell)
        m_op.Show_MessageBox(errorInFileAccessing(read.why));
    // The next read is timed from the end of this one: a slow store is never read twice at once.
    if (m_open || m_readAgain)
        m_next.start(m_readAgain
                         ? std::chrono::milliseconds(0)
                         : std::chrono::ceil<std::chrono::milliseconds>(Clock::scaled(kRefreshEvery)));
}

std::shared_ptr<CampaignStore> InboxWindow::store(QString* why) {
    if (!m_store)
        m_store = CampaignStore::forFolder(m_folder, why);
    return m_store;
}

// --- Filters.

namespace {

const QString kAnyCampaign = QStringLiteral("Any campaign");
const QString kNoCampaign = QStringLiteral("Not from a campaign");

} // namespace

QStringList InboxWindow::campaignChoices() const {
    QStringList choices{kAnyCampaign, kNoCampaign};
    bool chosenListed = m_filter.campaign <= 0;
    for (const RepliedCampaign& c : m_campaigns) {
        choices << QStringLiteral("Campaign %1 (%2)").arg(c.id).arg(localTime(c.createdAt));
        chosenListed = chosenListed || c.id == m_filter.campaign;
    }
    // The chosen one stays a choice while it has no reply under the other filters.
    if (!chosenListed)
        choices << QStringLiteral("Campaign %1").arg(m_filter.campaign);
    return choices;
}

int InboxWindow::campaignChoice() const {
    if (m_filter.campaign == ConversationFilter::kAnyCampaign)
        return 0;
    if (m_filter.campaign == 0)
        return 1;
    for (int i = 0; i < m_campaigns.size(); ++i)
        if (m_campaigns.at(i).id == m_filter.campaign)
            return i + 2;
    return int(m_campaigns.size()) + 2;
}

void InboxWindow::setCampaignChoice(int index) {
    qint64 campaign = m_filter.campaign;
    if (index == 0)
        campaign = ConversationFilter::kAnyCampaign;
    else if (index == 1)
        campaign = 0;
    else if (index - 2 < m_campaigns.size())
        campaign = m_campaigns.at(index - 2).id;
    if (campaign == m_filter.campaign)
        return;
    m_filter.campaign = campaign;
    filterChanged();
}

void InboxWindow::setUnreadOnly(bool on) {
    if (on == m_filter.unreadOnly)
        return;
    m_filter.unreadOnly = on;
    filterChanged();
}

void InboxWindow::setOptedOutOnly(bool on) {
    if (on == m_filter.optedOutOnly)
        return;
    m_filter.optedOutOnly = on;
    filterChanged();
}

void InboxWindow::setSince(qint64 msSinceEpoch) {
    if (msSinceEpoch == m_filter.since)
        return;
    m_filter.since = std::max<qint64>(0, msSinceEpoch);
    filterChanged();
}

void InboxWindow::setSearch(const QString& text) {
    if (text == m_filter.search)
        return;
    m_filter.search = text;
    filterChanged();
}

void InboxWindow::filterChanged() {
    m_filter.limit = kPage;
    emit changed();
    refresh();
}

void InboxWindow::Show_More_Btn() {
    if (!m_more)
        return;
    m_filter.limit += kPage;
    refresh();
}

// --- The numbers.

QStringList InboxWindow::columnTitles() {
    return {QStringLiteral("Number"), // a column title, not a record key
            QStringLiteral("Last reply"), QStringLiteral("Received"), QStringLiteral("Unread"),
            QStringLiteral("Opt-out")};
}

QStringList InboxWindow::rowTexts(const ConversationRow& row) {
    QString text = row.latestText.simplified();
    if (!row.latestComplete)
        text += QStringLiteral(" [incomplete]");
    return {row.number, text, localTime(row.latestAt),
            row.unread > 0 ? QString::number(row.unread) : QString(),
            row.optedOut ? QStringLiteral("Opted out") : QString()};
}

void InboxWindow::setSelectedRow(int row) {
    const QString number = row >= 0 && row < m_rows.size() ? m_rows.at(row).number : QString();
    if (number == m_selected)
        return;
    m_selected = number;
    m_markedUpTo = 0;
    m_conversation.clear();
    emit changed();
    if (!number.isEmpty())
        refresh();
}

int InboxWindow::selectedRow() const {
    if (m_selected.isEmpty())
        return -1;
    for (int row = 0; row < m_rows.size(); ++row)
        if (m_rows.at(row).number == m_selected)
            return row;
    return -1;
}

const ConversationRow* InboxWindow::selected() const {
    const int row = selectedRow();
    return row < 0 ? nullptr : &m_rows.at(row);
}

// --- The conversation.

QString InboxWindow::conversationTitle() const {
    const ConversationRow* row = selected();
    if (row == nullptr)
        return {};
    QString title = row->number;
    if (row->sender != row->number)
        title += QStringLiteral(" (%1)").arg(row->sender);
    if (row->optedOut)
        title += QStringLiteral(" - opted out");
    return title;
}

QString InboxWindow::entryHeading(const ConversationEntry& e) {
    const QString at = localTime(e.at);
    if (e.kind == ConversationEntry::Kind::Sent)
        return QStringLiteral("Campaign %1 - %2").arg(e.campaign).arg(at);
    return e.campaign == 0 ? QStringLiteral("Reply - %1").arg(at)
                           : QStringLiteral("Reply to campaign %1 - %2").arg(e.campaign).arg(at);
}

QString InboxWindow::entryNote(const ConversationEntry& e) {
    if (e.kind == ConversationEntry::Kind::Sent)
        return e.unknown ? QStringLiteral("It may not have been sent: its fate is unknown.") : QString();
    if (e.complete)
        return {};
    QStringList parts;
    for (int part : e.partsArrived)
        parts << QString::number(part);
    return QStringLiteral("Incomplete: %1 %2 of %3 arrived, the rest did not.")
        .arg(parts.size() == 1 ? QStringLiteral("part") : QStringLiteral("parts"),
             parts.isEmpty() ? QStringLiteral("none") : parts.join(QStringLiteral(", ")))
        .arg(e.partTotal);
}

QString InboxWindow::statusText() const {
    if (!m_refusal.isEmpty())
        return QStringLiteral("The replies could not be read: %1").arg(m_refusal);
    if (!m_read)
        return QStringLiteral("Reading the replies...");
    if (m_rows.isEmpty()) {
        const bool filtered = m_filter.campaign != ConversationFilter::kAnyCampaign || m_filter.unreadOnly ||
                              m_filter.optedOutOnly || m_filter.since > 0 ||
                              !m_filter.search.trimmed().isEmpty();
        return filtered ? QStringLiteral("No reply passes the filter.") : QStringLiteral("No replies yet.");
    }
    const QString shown =
        m_more ? QStringLiteral("The latest %1 shown")
                     .arg(counted(m_rows.size(), QStringLiteral("number"), QStringLiteral("numbers")))
               : counted(m_rows.size(), QStringLiteral("number"), QStringLiteral("numbers"));
    return QStringLiteral("%1; %2 in all.")
        .arg(shown, counted(m_unreadTotal, QStringLiteral("unread reply"), QStringLiteral("unread replies")));
}

// --- Buttons.

bool InboxWindow::markUnreadEnabled() const {
    const ConversationRow* row = selected();
    return row != nullptr && row->latest > 0;
}

bool InboxWindow::optOutEnabled() const {
    const ConversationRow* row = selected();
    // A name ("MyBank") is never texted: there is nothing to opt out.
    return row != nullptr && !optOutNumber(row->number).isEmpty();
}

QString InboxWindow::optOutTitle() const {
    const ConversationRow* row = selected();
    return row != nullptr && row->optedOut ? QStringLiteral("Take back") : QStringLiteral("Opt out");
}

void InboxWindow::Mark_Unread_Btn() {
    if (!markUnreadEnabled())
        return;
    // Its latest reply: the conversation shows as unread, and stays so while it is open.
    const qint64 latest = selected()->latest;
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    if (!opened || !markRead(*opened, {latest}, false, &why)) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    m_markedUpTo = std::max(m_markedUpTo, latest);
    refresh();
}

void InboxWindow::Opt_Out_Btn() {
    if (!optOutEnabled())
        return;
    const QString number = m_selected;
    const bool optedOut = selected()->optedOut;
    if (optedOut &&
        !m_op.Show_YES_NO_MessageBox(
            QStringLiteral("%1 asked for no more messages. Take the opt-out back, so that campaigns text "
                           "this number again?")
                .arg(number)))
        return;
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    const bool done = opened && (optedOut ? removeOptOut(*opened, number, kOptOutByOperator, &why)
                                          : addOptOut(*opened, number, kOptOutByOperator, &why));
    if (!done) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    refresh();
}

void InboxWindow::Export_Btn() {
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    ConversationFilter filter = m_filter;
    filter.keep.clear();
    const std::optional<QList<ReplyLine>> lines =
        opened ? repliesMatching(*opened, filter, &why) : std::nullopt;
    if (!lines) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    if (lines->isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("There are no replies to export."));
        return;
    }
    const QString chosen = m_op.chooseFileToSave({QStringLiteral("csv"), QStringLiteral("xlsx")});
    if (chosen.isEmpty())
        return;
    const bool workbook = QFileInfo(chosen).suffix().toLower() == QLatin1String("xlsx");
    const QString path =
        withExportExtension(chosen, workbook ? QStringLiteral("xlsx") : QStringLiteral("csv"));
    const bool written = Guard::run(
        "Inbox_Export",
        [&] {
            return workbook ? writeExportWorkbook(path, inboxExportRows(*lines), &why)
                            : writeExportBytes(path, inboxCsv(*lines), &why);
        },
        false);
    if (!written) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    offerToOpenExport(m_op, path);
}

void InboxWindow::Options_Btn() {
    m_options.load();
    m_op.runModal(m_options);
}

void InboxWindow::Close_Btn() {
    stopRefreshing();
    endModal(1);
}
