#pragma once
// The automated mode test of the Android window: tries the three sending modes on the
// chosen phone with one test message each, shows which worked, and sets the sending mode the
// operator picks (ends with 1 on OK, 0 on Close).
//
// The cases run on the window's worker; every change the view sees is made on the main thread.
#include "android/AndroidSelection.h"
#include "core/DataFolder.h"
#include "core/DeviceSelection.h"
#include "core/DialogController.h"
#include "core/RecordTable.h"
#include "core/WorkerThread.h"

#include <atomic>
#include <functional>

class Operator;

class Android_TroubleShooting : public DialogController {
    Q_OBJECT
public:
    // folder: where the test messages' files are written; phone, selection: the Android
    // window's chosen phone; the test reads its details and sets its sending mode.
    Android_TroubleShooting(Operator& op, DataFolder folder, AndroidSelection& phone,
                            const DeviceSelection& selection, QObject* parent = nullptr);
    ~Android_TroubleShooting() override;

    // Prepares the window for the phone the Android window shows: the radios from the current
    // sending mode, an empty test number, the three cases without statuses.
    void open(const QString& deviceCaption);

    RecordTable& cases() { return m_cases; }

    // --- Operations.
    void setTestNumberText(const QString& text) { m_testNumber = text; }
    void Start_Btn();
    // Ends the test after the case in progress; the cases not run read "Stopped".
    void Stop_Btn() { m_stop = true; }
    void Single_Shot_Radio();
    void Standard_Radio();
    void Classic_Radio();
    void OK_Btn();
    void Close_Btn();

    void waitForTest() { m_worker.join(); }

    // --- What the view shows.
    int modeChoice() const { return m_mode; } // 0 single-shot, 1 standard, 3 classic
    QString deviceLabel() const { return m_deviceLabel; }
    QString testNumberText() const { return m_testNumber; }
    QString information() const { return m_information; }
    bool testing() const { return m_testing; }

private:
    void runCases(const QString& number, const QString& device);
    void setStatus(int index, const QString& status);

    Operator& m_op;
    const DataFolder m_folder;
    AndroidSelection& m_phone;
    const DeviceSelection& m_selection;
    RecordTable m_cases;
    WorkerThread m_worker{QStringLiteral("mode-test")};
    std::atomic<bool> m_stop{false};
    int m_mode = 1;
    bool m_testing = false;
    QString m_deviceLabel, m_testNumber, m_information;
};
