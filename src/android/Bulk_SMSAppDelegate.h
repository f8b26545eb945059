#pragma once
// The Android main window's controller, which is also the application delegate: the shared
// list and composer, the sending mode radios, the device buttons, and the Send flow that runs
// single-shot or one-by-one through the chosen phone on a sending thread.
#include "AndroidSendingProgress.h"
#include "core/WorkerThread.h"
#include "list/BulkSmsWindow.h"

#include <atomic>
#include <memory>

class SendingLock;

class Bulk_SMSAppDelegate : public BulkSmsWindow {
    Q_OBJECT
public:
    explicit Bulk_SMSAppDelegate(Operator& op, QObject* parent = nullptr);
    ~Bulk_SMSAppDelegate() override;

    QString title() const override;
    int runConnectionSteps() override;
    void windowDidLoad() override;

    // --- Sending mode radios.
    bool singleShotOn() const { return m_singleShot; }
    bool classicOn() const { return m_classic; }
    void Single_Shot_Radio();
    void One_By_One_Radio();
    void Standard_Radio();
    void Classic_Radio();

    // The automated mode test; the radios follow the mode it leaves.
    void Test_Btn();
    // The radios as the sending mode (AND_SMS_sending_mode) says.
    void showSendingMode();

    // --- Device buttons.
    void Device_Details_Btn();
    void Check_Device_Status_Btn();

    // --- Sending.
    void Send_SMS_Btn();
    bool sendInProgress() const { return m_sendInProgress; }
    // Waits (events flowing) until the sending thread has ended.
    void waitForSend();
    AndroidSendingProgress& progress() { return m_progress; }

    // How the last run ended, and how many records it counted as sent.
    enum class RunEnd { None, Completed, Stopped, DeviceError, NotConnected, Abandoned, DataNotWritten };
    RunEnd lastRunEnd() const { return m_runEnd; }
    int lastRunSent() const { return m_sentCount; }

signals:
    // The sending thread shows this row of the list.
    void sendingRowShown(int row);

protected:
    bool openDeviceSearchWindow() override;
    void resetSendingOptions() override;

private:
    struct RunInput;
    void runSend(const RunInput& input, std::stop_token stop);
    void runSingleShot(const RunInput& input, std::stop_token stop);
    void runOneByOne(const RunInput& input, std::stop_token stop);
    bool connectionReady();
    // A file the run must write could not be: the run ends here, and the operator is told why.
    void stopForData(const QString& why);

    AndroidSendingProgress m_progress;
    WorkerThread m_sender{QStringLiteral("android-send")};
    std::atomic<bool> m_sendInProgress{false};
    std::atomic<RunEnd> m_runEnd{RunEnd::None};
    std::atomic<int> m_sentCount{0};
    std::shared_ptr<SendingLock> m_sendingLock; // from Send until the sending thread ends
    bool m_singleShot = false;
    bool m_classic = false;
};

// Starts the companion app for one message; the output of the start.
QString Send_AN_MSG_Command(const QString& number, const QString& message, bool test);
// The adb arguments of one start (attempt 1 or 2), for the builders' tests.
QStringList sendMessageArguments(const QString& number, const QString& message, bool test, int attempt);
