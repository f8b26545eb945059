#pragma once
// The Android device search window: it finds, authorises and connects one phone (installing
// the companion app and granting its permissions), shows the phone's properties, and records
// the chosen phone in the selection of the main window that owns it. Three status lines follow
// the search. When several phones are attached it lists them to tick, and Select readies each
// ticked phone for a run that sends through them all.
#include "android/AndroidSelection.h"
#include "android/CompanionApp.h"
#include "core/DataFolder.h"
#include "core/DeviceSelection.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"
#include "delivery/ActivityIndicator.h"
#include "services/PhoneSearch.h"

#include <QString>

#include <array>
#include <atomic>
#include <functional>
#include <mutex>

class Operator;

class Android_Ph_List_Wnd : public DialogController, public PhoneSearch::Progress {
    Q_OBJECT
public:
    // folder: where the phone's properties and the test messages' files are written;
    // selection, phone: where the chosen phone goes (the owning main window's); the phone's
    // serial filter narrows the search.
    Android_Ph_List_Wnd(Operator& op, DataFolder folder, DeviceSelection& selection, AndroidSelection& phone,
                        QObject* parent = nullptr);
    ~Android_Ph_List_Wnd() override;

    struct StatusLine {
        QString text;
        QChar mark;
    };

    // Starts a search and opens the window modally a second later; returns at once. Once the
    // window has closed, reported() learns whether it closed with 1 or 0.
    void Open_Ph_List_Wnd(std::function<void(bool)> reported);

    // --- Buttons.
    void Search_Btn(); // also Retry
    void Stop_Btn() { Stop_Modem_SRCH = true; }
    void Select_Btn();
    void Close_Btn();
    void Mobile_Type_Btn();
    void Check_Device_Status_Btn();
    // One test message in each of the three modes to the typed number, on the window's worker;
    // the person at the receiving phone sees which arrived.
    void Send_Test_Btn();
    void setTestNumberText(const QString& text) { m_testNumber = text; }
    QString testNumberText() const { return m_testNumber; }
    bool testing() const { return m_testing; }

    // Runs one search to its end on the calling thread (what the search thread does). The
    // search repeats while no phone or an unauthorised one is found, unless repeat is false.
    using Outcome = PhoneSearch::Outcome;
    Outcome searchDevice(bool repeat);
    // Waits for the search thread.
    void waitForSearch();
    bool searching() const { return m_searching; }

    // --- What the window shows.
    const std::array<StatusLine, 3>& statusLines() const { return m_lines; }
    bool statusLinesVisible() const { return m_linesVisible; }
    QString infoLabel() const { return m_infoLabel; }
    bool tableVisible() const { return m_tableVisible; }
    RecordTable& rows() { return m_rows; }
    int busyValue() const { return m_busy; }
    bool controlsEnabled() const { return m_controlsEnabled; }
    bool pleaseWaitShown() const { return m_pleaseWait; }
    bool permissionHintVisible() const { return m_permissionHint; }
    QString displayName() const;
    // The phone's line as the last check read it ("" when none was found).
    QString selectedDevice() const;

    // The phones listed to tick when several are attached (empty otherwise).
    struct AttachedPhone {
        QString serial;
        QString state;   // adb's word; only a phone in the "device" state can be ticked
        QString caption; // maker, model and serial
        bool ticked = false;
    };
    const QList<AttachedPhone>& attachedPhones() const { return m_attached; }
    void tickPhone(int index, bool ticked);

    void markLine(Line line, const QString& text, QChar mark) override;
    void phoneFound(const QString& deviceLine) override;
    void rowsRead(const RecordList& rows) override;

private:
    void resetLines();
    Outcome searchRound(PhoneSearch& search);
    // The round's phone did not connect: what was found is shown, and the operator told.
    Outcome notConnected(Outcome outcome);
    // The round's phone is connected: its properties are shown.
    void showConnected();
    bool chooseShownPhone(); // Select from step 2 on
    // Several phones attached: they are listed to tick (on the search thread).
    void listAttachedPhones();
    // Select with phones listed: each ticked phone is readied, then all are chosen together.
    bool chooseTickedPhones();
    bool stopAsked() const { return Stop_Modem_SRCH; }
    // The phones this window looks at, and its stop.
    PhoneQuery query() const;

    Operator& m_op;
    const DataFolder m_folder;
    DeviceSelection& m_selection;
    AndroidSelection& m_phone;
    // The operator asked to stop the search or connection under way.
    std::atomic<bool> Stop_Modem_SRCH{false};
    mutable std::mutex m_deviceMutex; // the line is written by the search worker
    QString m_selectedDevice;
    WorkerThread m_worker{QStringLiteral("android-search")};
    ActivityIndicator m_busyBar;
    std::atomic<bool> m_searching{false};
    std::array<StatusLine, 3> m_lines;
    QList<AttachedPhone> m_attached;
    bool m_linesVisible = true;
    QString m_infoLabel;
    bool m_tableVisible = false;
    RecordTable m_rows;
    int m_busy = 0;
    bool m_controlsEnabled = true;
    bool m_pleaseWait = false;
    bool m_permissionHint = true;
    std::atomic<bool> m_testing{false};
    QString m_testNumber;
};
