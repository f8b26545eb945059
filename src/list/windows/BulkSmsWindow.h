#pragma once
// The part both main windows share: the recipient list with its number field, filters and
// counters, and the composer with its options. GSM and Android windows derive from it.
#include "core/DataFolder.h"
#include "core/MainWindowController.h"
#include "delivery/DelaySchedule.h"
#include "list/LoadCounters.h"
#include "list/NumberList.h"

#include <QList>
#include <QStringList>

#include <memory>
#include <optional>

class QJsonObject;
class DefaultCountry;
class MainWindows;
class SpreadsheetLoads;
class Update_Sel_Num_SMS;

class BulkSmsWindow : public MainWindowController {
    Q_OBJECT
public:
    enum class Focus { NumberField, Composer, DelayedCount, DelayedTime, QuietHours };

    // folder: the data folder the window's lists and settings are kept in; country is the
    // application's, shared by both windows (none: a window alone, as in a test, keeps one of
    // its own); spreadsheets reaches the spreadsheet windows (none: a workbook load only logs).
    BulkSmsWindow(Kind kind, Operator& op, DataFolder folder, DefaultCountry* country = nullptr,
                  SpreadsheetLoads* spreadsheets = nullptr, QObject* parent = nullptr);
    // Ends a load still running into the list before the list goes.
    ~BulkSmsWindow() override;

    void windowDidLoad() override;

    const DataFolder& dataFolder() const { return m_folder; }
    NumberList& list() { return m_list; }
    const NumberList& list() const { return m_list; }
    const NumberList& exclusionSet() const { return m_exclusionSet; }
    DefaultCountry& country() { return m_country; }
    SpreadsheetLoads* spreadsheetLoads() const { return m_spreadsheetLoads; }

    // --- Number field and list operations ---
    QString numberField() const { return m_numberField; }
    void setNumberField(const QString& text);
    QString countLabel() const;

    bool Check_Ph_Number(const QString& number, bool test_flag) const;
    // With a default country a number must also be able to exist there; the number returned
    // is its written form ("+" given back to a spreadsheet number), compared in E.164. The
    // verdict is counted in counts, the load's.
    QString Num_Able_To_insert(const QString& raw, LoadCounters& counts);
    // A load's candidate: Num_Able_To_insert, then Create_Num_Msg_List when it is taken.
    void insertIfAble(const QString& raw, const QString& message, LoadCounters& counts);
    // A typed number as the list would keep it, or "" when it is no valid phone number.
    QString validTypedNumber(const QString& raw) const;
    // A recipient record for an accepted number: with a default country it carries the
    // number's E.164 form beside the written one.
    Record recipientFor(const QString& number, const QString& message) const;
    // Whether the list (or the batch being loaded into it) holds this number (its comparison key).
    bool holdsNumber(const QString& key) const;
    bool Check_Duplicate_Number(const QString& number) const;
    bool Check_Exclusion_Number(const QString& number) const;
    // A number goes after the rows already there. While a batch is open (BatchInsert)
    // accepted records wait beside the list, count as already in it for the duplicate check,
    // and go in at the end in one insertion.
    void Create_Num_Msg_List(const QString& number, const QString& message);
    void Create_Exclusion_List(const QString& number);
    // Reads the applied lists into the exclusion set. False, after telling the operator, when
    // one of their files cannot be read: the set is then incomplete and nobody may be sent to.
    bool Fill_Exclusion_Num_List();

    void Add_number_To_List();
    bool Add_Number_In_List_First();
    void Clear_Sel_Btn();
    void Clear_All_Btn();
    void Reset_Btn();
    void doubleClickInTable(int row);
    void Update_List_Count();

    // Groups the inserts of a bulk load: one insertion (and one table update) per flush
    // instead of one per number, so a load costs the same whatever is selected. Flushes
    // when it goes out of scope.
    class BatchInsert {
    public:
        explicit BatchInsert(BulkSmsWindow& window);
        ~BatchInsert();
        BatchInsert(const BatchInsert&) = delete;
        BatchInsert& operator=(const BatchInsert&) = delete;
        // Inserts what waits; a long load calls it now and then so the table shows progress.
        void flush() { m_window.flushPendingRecipients(); }
        qsizetype pending() const { return m_window.m_pending.size(); }

    private:
        BulkSmsWindow& m_window;
    };

    // A load on its own thread (ListLoad): accepted records wait beside the list until
    // releaseInserts, which commits them (after emptying the list when replacing; the old
    // list then no longer counts for the duplicate check) or drops them. Main thread only.
    void holdInserts(bool replacing);
    void releaseInserts(bool commit);

    // Rows selected in the table, ascending; the view keeps this up to date.
    void setSelectedRows(QList<int> rows);
    const QList<int>& selectedRows() const { return m_selectedRows; }
    bool isRowSelected(int row) const;

    int prev_list_item = 0;
    // The operator chose to replace the list: the next load empties it when its numbers go
    // in (never before, so a cancelled load keeps the list).
    bool replaceListOnNextLoad = false;
    QString prev_composer_msg;

    // --- Composer ---
    QString composerText() const { return m_composerText; }
    void setComposerText(const QString& text);
    QString characterCounterText() const { return m_characterCounter; }
    QString fillButtonTitle() const { return m_fillButtonTitle; }
    QString currentMessage() const { return m_currentMessage; }

    static QStringList messageTypes();
    int messageTypeIndex() const { return m_messageTypeIndex; }
    void setMessageTypeIndex(int index);
    bool isFlashMessage() const; // the entry "Notification"

    bool Blank_Msg_Chk() const;
    // The checks both Send buttons make of the list: nothing typed but not added, and a list
    // that is not empty; false (with the message, focus on the number field) otherwise.
    bool listReadyToSend();
    void Fill_Msg_Btn();
    void Update_Sel_Msgs_Btn();
    // The question before sending: false when the operator abandons the send.
    bool Send_Msg_Info_Check();

    // What a message costs as it would be sent with the window's options, shown live beside
    // the character counter: "GSM 7-bit, 1 SMS", "Unicode, 3 SMS parts".
    QString messageCostText() const { return messageCostOf(m_composerText); }
    QString messageCostOf(const QString& text) const;
    // The text as it is sent: the opt-out footer after it and plain punctuation, when those
    // options are on.
    QString textAsSent(const QString& text) const;

    // --- The default country, shared by both windows and kept in the data folder ---
    QString defaultCountry() const;
    // "" for none; an unknown code changes nothing.
    void setDefaultCountry(const QString& region);
    // Beside the list after a load that left out numbers that cannot exist: how many; "" otherwise.
    QString refusedNumbersNote() const;
    // What the last load into the list counted; every load hands its counters here when done.
    const LoadCounters& lastLoad() const { return m_lastLoad; }
    void setLastLoad(const LoadCounters& counts);

    // --- Options (check boxes): kept across restarts in the data folder's settings, each
    // window under its own name (optionsScope). ---
    bool unicode() const { return m_unicode; }
    void setUnicode(bool on);
    // "Replace typographic quotes and dashes": ’ ‘ ” “ – — … go as their plain forms, so that
    // a text from a word processor stays in 7-bit (off by default).
    bool plainPunctuation() const { return m_plainPunctuation; }
    void setPlainPunctuation(bool on);
    // The footer that tells recipients how to opt out ("Reply STOP to opt out"), shared by both
    // windows, the worker and the Inbox options: "" when it is off. Read from the settings each
    // time, so a change made elsewhere counts at once.
    QString footer() const;
    bool setFooterOn(bool on); // false when it could not be kept (the operator was told)
    bool skipDuplicates() const { return m_skipDuplicates; }
    void setSkipDuplicates(bool on);
    bool exclusion() const { return m_exclusion; }
    bool Exclusion_Chk(bool on); // false as Fill_Exclusion_Num_List()
    bool saveSentItems() const { return m_saveSentItems; }
    void setSaveSentItems(bool on);
    bool saveTemplates() const { return m_saveTemplates; }
    void setSaveTemplates(bool on);

    // Delayed delivery: the check box and its two choices (count and pause length).
    bool delayedDelivery() const { return m_delayedDelivery; }
    bool delayedDeliveryEnabled() const { return m_delayedDeliveryEnabled; }
    bool delayedChoicesEnabled() const { return m_delayedChoicesEnabled; }
    QString delayedCountChoice() const { return m_delayedCountChoice; }
    QString delayedTimeChoice() const { return m_delayedTimeChoice; }
    // The check box: on selects "15" messages and " 2  Minutes"; off disables and empties both.
    void Delayed_Delivery_Chk(bool on);
    void setDelayedDeliveryEnabled(bool enabled);
    void setDelayedCountChoice(const QString& text);
    void setDelayedTimeChoice(const QString& text);
    // Before a run: false (with the message, focus on the empty choice) when the schedule
    // is on but a choice is empty.
    bool Check_Delayed_Delivery_Choices();
    DelaySchedule delaySchedule() const;

    // Quiet hours: "Only between [from] and [to] of each recipient's clock" (minutes of the
    // day, 09:00 and 20:00 until changed). sendWindow() is the run's window ("09:00-20:00"),
    // "" when the box is off.
    bool quietHours() const { return m_quietHours; }
    int quietFrom() const { return m_quietFrom; }
    int quietTo() const { return m_quietTo; }
    void setQuietHours(bool on);
    void setQuietFrom(int minuteOfDay);
    void setQuietTo(int minuteOfDay);
    QString sendWindow() const;
    // Before a run: false (with why) when the box is on but the hours make no window.
    bool Check_Quiet_Hours();

    // The captured message written by copy operations; set when an apply or send starts.
    void captureCurrentMessage();
    // Replaces the record at row by one with the same number and the given message.
    void replaceMessage(int row, const QString& message);

signals:
    void focusRequested(BulkSmsWindow::Focus target);

protected:
    // The name this window's options are kept under ("gsm", "android").
    virtual QString optionsScope() const { return QStringLiteral("list"); }
    // What a window restores beyond the shared controls on Reset.
    virtual void resetSendingOptions() {}
    void requestFocus(Focus target) { emit focusRequested(target); }

private:
    // A number the insert filter took: as written, in E.164 (with a default country) and
    // whether it was already entered in the open batch's index.
    struct Accepted {
        QString written;
        QString e164;
        bool claimed = false;
    };
    void flushPendingRecipients();
    // The options as this window last kept them (at load), and kept again after each change
    // (a failed write is told to the operator).
    void restoreOptions();
    void restoreQuietHours(const QJsonObject& kept);
    void keepQuietHours(QJsonObject& options) const;
    void keepOptions();
    // Num_Able_To_insert; with claim, a number taken into an open batch is entered in its
    // index at once (the caller inserts it right after).
    std::optional<Accepted> filterNumber(const QString& raw, bool claim, LoadCounters& counts);
    void insertAccepted(const Accepted& number, const QString& message);
    // E.164 form of a number with the default country; "" without one or when it has none.
    QString e164Of(const QString& number) const;
    // Remembers the composer text once numbers went in (the question before sending).
    void rememberComposerText();
    void rejectTypedNumber(const QString& message);
    // After the default country changed: the list and the exclusion set in the new forms.
    void rekeyNumbers();
    void applyComposerCut();

    const DataFolder m_folder;
    std::unique_ptr<DefaultCountry> m_ownCountry; // a window alone only
    DefaultCountry& m_country;
    SpreadsheetLoads* m_spreadsheetLoads = nullptr;
    NumberList m_list;
    NumberList m_exclusionSet;
    LoadCounters m_lastLoad;
    QList<int> m_selectedRows; // ascending
    int m_batchDepth = 0;
    Update_Sel_Num_SMS* m_selectedUpdate = nullptr; // the dialog about to open
    bool m_replacing = false;
    RecordList m_pending; // accepted while a batch is open, oldest first
    NumberList::Index m_pendingNumbers;
    QString m_numberField;

    QString m_composerText;
    QString m_characterCounter = QStringLiteral("0 Characters");
    QString m_fillButtonTitle;
    QString m_currentMessage;
    int m_messageTypeIndex = 1;

    bool m_unicode = false;
    bool m_plainPunctuation = false;
    bool m_skipDuplicates = false;
    bool m_exclusion = false;
    bool m_saveSentItems = false;
    bool m_saveTemplates = false;
    bool m_delayedDelivery = false;
    bool m_delayedDeliveryEnabled = true;
    bool m_delayedChoicesEnabled = false;
    QString m_delayedCountChoice;
    QString m_delayedTimeChoice;
    bool m_quietHours = false;
    int m_quietFrom = kDefaultQuietFrom;
    int m_quietTo = kDefaultQuietTo;
    static constexpr int kDefaultQuietFrom = 9 * 60;
    static constexpr int kDefaultQuietTo = 20 * 60;
};

// The main window the shared dialogs act on: the front one of the windows (null without them).
BulkSmsWindow* activeBulkSmsWindow(const MainWindows* windows);
