#pragma once
// The inbox window: the numbers that replied, newest first, and the conversation of the one
// chosen (what the campaigns sent it, what it answered). The store is read on a worker, again
// every two seconds while the window is open (replies come in during runs, on other computers
// too); the lists change on the main thread. A conversation opened is marked read, up to what
// it showed; the operator may mark it unread, opt its number out or take that back, export the
// replies the filter takes, and set how replies are read.
#include "InboxOptions.h"
#include "campaigns/Conversations.h"
#include "core/DataFolder.h"
#include "core/WorkerThread.h"

#include <QTimer>

#include <chrono>
#include <memory>

class CampaignStore;
class Operator;

class InboxWindow : public DialogController {
    Q_OBJECT
public:
    InboxWindow(Operator& op, DataFolder folder, QObject* parent = nullptr);
    ~InboxWindow() override;

    static constexpr std::chrono::seconds kRefreshEvery{2};
    static constexpr int kPage = 500; // numbers listed at once; "Show more" adds as many

    // Shows the window until it is closed, reading the store meanwhile.
    void Open_Inbox_Wnd();
    // The reading alone: now, then every kRefreshEvery until stopRefreshing.
    void startRefreshing();
    void stopRefreshing();
    // Reads the store once more (at once, or after the read under way).
    void refresh();
    bool loading() const { return m_reading; }
    void waitForLoading() { m_loader.join(); }

    // --- Filters; each change reads again.
    // The campaign choices: any, none ("Not from a campaign"), then each campaign with replies.
    QStringList campaignChoices() const;
    int campaignChoice() const;
    void setCampaignChoice(int index);
    void setUnreadOnly(bool on);
    void setOptedOutOnly(bool on);
    // Replies kept at or after (ms since the epoch); 0 for any time.
    void setSince(qint64 msSinceEpoch);
    void setSearch(const QString& text);
    const ConversationFilter& filter() const { return m_filter; }

    // --- The numbers.
    const QList<ConversationRow>& conversations() const { return m_rows; }
    static QStringList columnTitles();
    static QStringList rowTexts(const ConversationRow& row);
    // More numbers pass the filter than are listed.
    bool moreToShow() const { return m_more; }
    void Show_More_Btn();
    // The row the operator chose; it follows its number when the list is read again.
    void setSelectedRow(int row);
    int selectedRow() const;
    const QString& selectedNumber() const { return m_selected; }
    // Every reply nobody read yet, as of the last read.
    qint64 unreadTotal() const { return m_unreadTotal; }

    // --- The chosen number's conversation, oldest first.
    const QList<ConversationEntry>& conversation() const { return m_conversation; }
    QString conversationTitle() const;
    // A message's line above it: who, which campaign, when; and what is wrong with it ("" for
    // nothing): a long reply with parts missing, a message that may not have gone.
    static QString entryHeading(const ConversationEntry& entry);
    static QString entryNote(const ConversationEntry& entry);

    // What the window says below the lists: the store's refusal while it lasts, else what is shown.
    QString statusText() const;
    bool storeRefused() const { return !m_refusal.isEmpty(); }

    bool markUnreadEnabled() const;
    bool optOutEnabled() const;
    QString optOutTitle() const; // "Opt out" or "Take back"

    // --- Buttons.
    void Mark_Unread_Btn();
    void Opt_Out_Btn();
    void Export_Btn();
    void Options_Btn();
    void Close_Btn();
    InboxOptions& options() { return m_options; }

private:
    struct Request;
    struct Read;
    static void readStore(const DataFolder& folder, const Request& request, Read& read);
    void take(Read& read);
    std::shared_ptr<CampaignStore> store(QString* why);
    const ConversationRow* selected() const;
    // A change of filter: the list is read again from its first page.
    void filterChanged();

    Operator& m_op;
    const DataFolder m_folder;
    InboxOptions m_options;
    std::shared_ptr<CampaignStore> m_store; // kept open while the window is
    ConversationFilter m_filter;
    QList<RepliedCampaign> m_campaigns;
    QList<ConversationRow> m_rows;
    bool m_more = false;
    QString m_selected;
    qint64 m_markedUpTo = 0; // the selected conversation's replies up to this id were marked read once
    QList<ConversationEntry> m_conversation;
    qint64 m_unreadTotal = 0;
    QString m_refusal;
    bool m_read = false; // a read has ended since the window opened
    bool m_open = false;
    bool m_reading = false;
    bool m_readAgain = false;  // something changed while a read was under way
    bool m_errorShown = false; // the store refused the last read too: said once
    QTimer m_next;
    WorkerThread m_loader{QStringLiteral("inbox-read")};
};
