#include "CampaignsWindow.h"

#include "ResumeOffer.h"
#include "SendLater.h"
#include "SendingReportExport.h"
#include "campaigns/CampaignItems.h"
#include "campaigns/CampaignStore.h"
#include "core/Clock.h"
#include "core/Counted.h"
#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "list/windows/BulkSmsWindow.h"

// What one read of the store found.
struct CampaignsWindow::Read {
    std::shared_ptr<CampaignStore> store;
    std::optional<QList<CampaignSummary>> campaigns;
    std::optional<CampaignSummary> shown; // the page's campaign, and its history
    std::optional<CampaignHistory> history;
    QString why;
};

CampaignsWindow::CampaignsWindow(BulkSmsWindow& window, CarriedRun& carried, QObject* parent)
    : DialogController(parent), m_op(window.op()), m_window(window), m_carried(carried),
      m_road(window.kind() == MainWindowController::Kind::Android ? kAndroidRoad : kGsmRoad) {
    m_next.setSingleShot(true);
    connect(&m_next, &QTimer::timeout, this, &CampaignsWindow::refresh);
}

CampaignsWindow::~CampaignsWindow() { m_loader.requestStop(); }

QStringList CampaignsWindow::columnTitles() {
    return {QStringLiteral("Id"),
            QStringLiteral("State"), // a column title, not a record key
            QStringLiteral("Road"),    QStringLiteral("Created by"), QStringLiteral("Sent"),
            QStringLiteral("Failed"),  QStringLiteral("Unknown"),    QStringLiteral("Total"),
            QStringLiteral("Replies"), QStringLiteral("Opt-outs"),   QStringLiteral("Started"),
            QStringLiteral("Finished")};
}

QStringList CampaignsWindow::rowTexts(const CampaignSummary& c) {
    return {QString::number(c.id),      stateText(c),
            roadName(c.road),           c.createdBy,
            QString::number(c.sent),    QString::number(c.failed),
            QString::number(c.unknown), QString::number(c.total),
            QString::number(c.replies), QString::number(c.optOuts),
            localTime(c.startedAt),     localTime(c.finishedAt)};
}

void CampaignsWindow::Open_Campaigns_Wnd() {
    startRefreshing();
    m_op.runModal(*this);
    stopRefreshing();
}

void CampaignsWindow::startRefreshing() {
    m_open = true;
    refresh();
}

void CampaignsWindow::stopRefreshing() {
    m_open = false;
    m_next.stop();
}

void CampaignsWindow::refresh() {
    if (m_reading) {
        m_readAgain = true;
        return;
    }
    m_reading = true;
    m_readAgain = false;
    m_loader.start([this, folder = m_window.dataFolder(), page = m_page.id()](std::stop_token stop) {
        Read read;
        readStore(folder, page, read);
        // Taken on the main thread while this worker waits: nothing reaches the window once
        // it is gone.
        MainThread::invokeAndWait([&] {
            if (!stop.stop_requested())
                take(read);
            m_reading = false;
        });
    });
}

void CampaignsWindow::take(Read& read) {
    if (read.store)
        m_store = read.store;
    if (read.campaigns)
        m_campaigns = *read.campaigns;
    if (read.shown && read.history && read.shown->id == m_page.id())
        m_page.update(*read.shown, *read.history);
    emit changed();
    // A refusal is told once, not at every read while it lasts.
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

std::shared_ptr<CampaignStore> CampaignsWindow::store(QString* why) {
    if (!m_store)
        m_store = CampaignStore::forFolder(m_window.dataFolder(), why);
    return m_store;
}

void CampaignsWindow::setSelectedRow(int row) {
    m_selected = row >= 0 && row < m_campaigns.size() ? m_campaigns.at(row).id : 0;
    emit changed();
}

int CampaignsWindow::selectedRow() const {
    for (int row = 0; row < m_campaigns.size(); ++row)
        if (m_campaigns.at(row).id == m_selected)
            return row;
    return -1;
}

const CampaignSummary* CampaignsWindow::selected() const {
    const int row = selectedRow();
    return row < 0 ? nullptr : &m_campaigns.at(row);
}

bool CampaignsWindow::resumable(const CampaignSummary& c) const {
    // One that broke off: a living sender's campaign is its own, and a stopped one went on in another.
    return c.road == m_road && c.dataFolder == CampaignStore::folderKey(m_window.dataFolder()) &&
           c.state == QLatin1String("sending") && !c.held;
}

bool CampaignsWindow::cancellable(const CampaignSummary& c) {
    return QStringList{QStringLiteral("queued"), QStringLiteral("sending"), QStringLiteral("scheduled")}
        .contains(c.state);
}

bool CampaignsWindow::reschedulable(const CampaignSummary& c) {
    return c.state == QLatin1String("scheduled");
}

bool CampaignsWindow::changeTimeEnabled() const {
    return selected() != nullptr && reschedulable(*selected());
}

bool CampaignsWindow::resumeEnabled() const { return selected() != nullptr && resumable(*selected()); }

bool CampaignsWindow::cancelEnabled() const { return selected() != nullptr && cancellable(*selected()); }

void CampaignsWindow::Open_Btn() {
    if (selected() == nullptr)
        return;
    m_page.show(*selected());
    refresh();
    m_op.runModal(m_page);
}

void CampaignsWindow::Resume_Btn() {
    if (!resumeEnabled())
        return;
    const qint64 id = m_selected;
    // The list goes on with one campaign at a time: another one's recipients are in it already.
    if (m_carried.resuming()) {
        m_op.Show_MessageBox(
            QStringLiteral("The list already holds the recipients of an unfinished campaign: "
                           "send them first."));
        return;
    }
    QString why;
    std::optional<UnfinishedCampaign> unfinished;
    if (const std::shared_ptr<CampaignStore> opened = store(&why))
        unfinished =
            unfinishedCampaign(*opened, CampaignStore::folderKey(m_window.dataFolder()), m_road, &why, id);
    if (!why.isEmpty()) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    if (!unfinished) {
        m_op.Show_MessageBox(QStringLiteral("Campaign %1 has nothing left to resume.").arg(id));
        refresh();
        return;
    }
    resumeInto(m_window, m_carried, *unfinished, m_op);
    Close_Btn();
}

void CampaignsWindow::Cancel_Btn() {
    if (!cancelEnabled())
        return;
    const qint64 id = m_selected;
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("Cancel campaign %1? Its recipients who were not sent yet will not be sent.")
                .arg(id)))
        return;
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    const std::optional<int> waiting = opened ? cancelCampaign(*opened, id, &why) : std::nullopt;
    if (waiting)
        m_op.Show_MessageBox(
            QStringLiteral("Campaign %1 cancelled: %2 will not be sent.")
                .arg(id)
                .arg(counted(*waiting, QStringLiteral("recipient"), QStringLiteral("recipients"))));
    else if (!why.isEmpty())
        m_op.Show_MessageBox(errorInFileAccessing(why));
    refresh();
}

void CampaignsWindow::Change_Time_Btn() {
    if (!changeTimeEnabled())
        return;
    const qint64 id = m_selected;
    SendLater dialog(m_op, QStringLiteral("Change the time of campaign %1").arg(id), selected()->startAt);
    if (m_op.runModal(dialog) != 1)
        return;
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    if (opened && rescheduleCampaign(*opened, id, dialog.startAtMs(), &why))
        m_op.Show_MessageBox(QStringLiteral("Campaign %1 is scheduled for %2.")
                                 .arg(id)
                                 .arg(SendLater::timeText(dialog.startAtMs())));
    else if (!why.isEmpty())
        m_op.Show_MessageBox(errorInFileAccessing(why));
    else // a sender took it up meanwhile, or it was cancelled
        m_op.Show_MessageBox(
            QStringLiteral("Campaign %1 no longer waits for its time: it was not changed.").arg(id));
    refresh();
}

void CampaignsWindow::Export_Btn() {
    if (selected() == nullptr)
        return;
    QString why;
    const std::shared_ptr<CampaignStore> opened = store(&why);
    const std::optional<QList<ReportItem>> items =
        opened ? campaignItems(*opened, m_selected, &why) : std::nullopt;
    if (!items) {
        m_op.Show_MessageBox(errorInFileAccessing(why));
        return;
    }
    exportSendingReport(m_op, *items, [this](bool shown) {
        m_pleaseWait = shown;
        emit changed();
    });
}

void CampaignsWindow::Close_Btn() {
    stopRefreshing();
    endModal(1);
}

void CampaignsWindow::readStore(const DataFolder& folder, qint64 page, Read& read) {
    read.store = CampaignStore::forFolder(folder, &read.why);
    if (!read.store)
        return;
    read.campaigns = listCampaigns(*read.store, &read.why);
    if (page == 0 || !read.campaigns)
        return;
    for (const CampaignSummary& c : std::as_const(*read.campaigns))
        if (c.id == page)
            read.shown = c;
    if (read.shown)
        read.history = campaignHistory(*read.store, page, &read.why);
}
