#pragma once
// The campaigns window: every campaign of the store, newest first, read again every two
// seconds while it is open (senders on other computers move them on); a campaign's page, and
// its Resume, Cancel and Export. The store is read on a worker; the list changes on the main
// thread.
#include "CampaignPage.h"
#include "core/WorkerThread.h"

#include <QTimer>

#include <memory>

class BulkSmsWindow;
class CampaignStore;
class CarriedRun;
class DataFolder;
class Operator;

class CampaignsWindow : public DialogController {
    Q_OBJECT
public:
    // window: the main window that opens it; Resume fills its list, for campaigns of its road
    // and data folder. carried: that window's run to come.
    CampaignsWindow(BulkSmsWindow& window, CarriedRun& carried, QObject* parent = nullptr);
    ~CampaignsWindow() override;

    static constexpr std::chrono::seconds kRefreshEvery{2};

    // Shows the window until it is closed, reading the store meanwhile.
    void Open_Campaigns_Wnd();
    // The reading alone: now, then every kRefreshEvery until stopRefreshing.
    void startRefreshing();
    void stopRefreshing();
    // Reads the store once more (at once, or after the read under way).
    void refresh();
    bool loading() const { return m_reading; }
    void waitForLoading() { m_loader.join(); }

    const QList<CampaignSummary>& campaigns() const { return m_campaigns; }
    static QStringList columnTitles();
    static QStringList rowTexts(const CampaignSummary& campaign);

    // The row the operator chose; it follows its campaign when the list is read again.
    void setSelectedRow(int row);
    int selectedRow() const;

    // Whether the campaign may be resumed in this window: of its road and data folder, and
    // unfinished.
    bool resumable(const CampaignSummary& campaign) const;
    static bool cancellable(const CampaignSummary& campaign);
    // A campaign waiting for its time: its time may change.
    static bool reschedulable(const CampaignSummary& campaign);
    bool resumeEnabled() const;
    bool cancelEnabled() const;
    bool changeTimeEnabled() const;
    bool selectionEnabled() const { return selectedRow() >= 0; } // Open and Export
    bool pleaseWaitShown() const { return m_pleaseWait; }

    CampaignPage& page() { return m_page; }

    // --- Buttons.
    void Open_Btn();
    void Resume_Btn();
    void Cancel_Btn();
    // "Change time...": the Send later dialog at the campaign's time; OK moves it there.
    void Change_Time_Btn();
    void Export_Btn();
    void Close_Btn();

private:
    struct Read;
    static void readStore(const DataFolder& folder, qint64 page, Read& read);
    void take(Read& read);
    std::shared_ptr<CampaignStore> store(QString* why);
    const CampaignSummary* selected() const;

    Operator& m_op;
    BulkSmsWindow& m_window;
    CarriedRun& m_carried;
    const QString m_road;
    CampaignPage m_page;
    std::shared_ptr<CampaignStore> m_store; // kept open while the window is
    QList<CampaignSummary> m_campaigns;
    qint64 m_selected = 0;
    bool m_pleaseWait = false;
    bool m_open = false;
    bool m_reading = false;
    bool m_readAgain = false;  // something changed while a read was under way
    bool m_errorShown = false; // the store refused the last read too: said once
    QTimer m_next;
    WorkerThread m_loader{QStringLiteral("campaigns-read")};
};
