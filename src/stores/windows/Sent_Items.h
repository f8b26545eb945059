#pragma once
// The sent-items window: the log of the active device kind, shown, thinned, handed back to
// the main window's list and exported. The file changes only when the window closes (or
// at Clear all); each rewrite is atomic and keeps what runs appended while the window was open.
#include "StoreWindowSupport.h"
#include "core/DataFolder.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "stores/SentItemFile.h"

#include <QList>
#include <QString>

#include <atomic>

class Operator;

// The keys of a sent item record, besides the kNumberKey and kMessageKey of the recipient.
inline const QString kSentItemDateKey = QStringLiteral("Date");
inline const QString kSentItemStatusKey = QStringLiteral("Status");

class Sent_Items : public DialogController, public ActsOnMainWindows {
    Q_OBJECT
public:
    Sent_Items(Operator& op, DataFolder folder, QObject* parent = nullptr);
    ~Sent_Items() override;

    // Loads the file of the active device kind on a worker and runs the window modally.
    void Open_Sent_Item_Wnd();
    // The load alone: starts the worker (buttons disabled until it ends).
    void startLoading();
    void waitForLoading();
    bool loading() const { return m_loading; }

    bool isGsm() const { return m_gsm; } // the GSM log, not the Android one
    QString filePath() const;
    const RecordTable& nsSendListData() const { return m_table; }
    QList<SentItem> items() const;
    void Create_Sent_Item_List(const QString& number, const QString& message, const QString& date,
                               const QString& status);

    QString countLabel() const { return QStringLiteral("Total Items : %1").arg(m_table.size()); }
    QString detailsText() const { return m_details; }
    bool buttonsEnabled() const { return !m_loading; }
    bool pleaseWaitShown() const { return m_pleaseWait; }

    // Selection from the view; shows the first selected record's details.
    void setSelectedRows(QList<int> rows);
    const QList<int>& selectedRows() const { return m_selected; }

    // Buttons.
    void Export_Btn();
    void Clear_Sel_Btn();
    void Clear_All_Btn();
    void Send_To_Main_Btn();
    void Close_Btn();

signals:
    void selectionChanged();

private:
    void setLoaded(RecordList records);
    void showDetails(int row);
    void setPleaseWait(bool shown);
    void exportItems();
    // Writes these items, keeping the lines runs appended since the window read the file.
    bool rewrite(const QList<SentItem>& kept, QString* why);

    Operator& m_op;
    const DataFolder m_folder;
    RecordTable m_table;
    QByteArray m_loadedContent; // the file as the window read or last wrote it
    bool m_gsm = true;
    QList<int> m_selected;
    int Prev_Index = -1;
    QString m_details;
    bool m_pleaseWait = false;
    std::atomic<bool> m_loading{false};
    WorkerThread m_loader{QStringLiteral("Sent_Items_Load")};
};

inline const QString kSentItemsEmpty = QStringLiteral("Sent items list is empty.");
inline const QString kSelectSentItem =
    QStringLiteral("Please select at least one record from the sent items list to continue.");
inline const QString kClearEntireList =
    QStringLiteral("\nThis option will clear the entire list contents. Are you sure you want to continue "
                   "clearing the entire "
                   "list?");
