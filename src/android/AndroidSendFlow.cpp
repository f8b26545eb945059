// The Android window's Send button: its checks in order, then single-shot or one-by-one
// sending through the chosen phone on the sending thread, with the progress window, Stop,
// delayed delivery, sent items and templates.
#include "AdbRunner.h"
#include "AndroidDevices.h"
#include "AndroidState.h"
#include "Bulk_SMSAppDelegate.h"
#include "CompanionApp.h"
#include "PhoneStorage.h"
#include "core/AppState.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/SendingFlags.h"
#include "core/SendingLock.h"
#include "core/TextUtils.h"
#include "core/TroubleshootingLog.h"
#include "delivery/ActivityIndicator.h"
#include "delivery/DelayedDeliveryPause.h"
#include "delivery/PauseCountdown.h"
#include "list/NumberList.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"

#include <QSet>

using namespace std::chrono_literals;

namespace {

constexpr int kMaxMessage = 1600;
const QString kInitializing = QStringLiteral("Initializing Mobile device to send sms...");
const QString kCompleted = QStringLiteral("Message Sending Process Completed.");
const AdbStop kUninterrupted = [] { return false; }; // a record in hand is finished

// The activity manager could not start the companion app (not installed, or gone): nothing
// was sent, whatever the judge of the start's output says.
bool appDidNotStart(const QString& output) {
    return output.contains(QLatin1String("Error: Activity")) ||
           output.contains(QLatin1String("unable to resolve Intent"));
}

QString startCommandText(QString message) {
    message = message.trimmed();
    message.replace(QLatin1Char('\n'), QLatin1Char(' '));
    message.replace(QLatin1Char('\r'), QLatin1Char(' '));
    message.replace(QLatin1Char('\t'), QLatin1Char(' '));
    return message;
}

} // namespace

QStringList sendMessageArguments(const QString& number, const QString& message, bool test, int attempt) {
    Q_UNUSED(attempt); // both attempts carry the exact text; the second one retries a start that failed
    const QString text = startCommandText(message);
    QStringList arguments = {QStringLiteral("shell"),
                             QStringLiteral("am"),
                             QStringLiteral("start"),
                             QStringLiteral("-a"),
                             QStringLiteral("android.intent.category.MAIN"),
                             QStringLiteral("-e"),
                             QStringLiteral("NUM"),
                             phoneShellWord(number)};
    // The text is quoted for the phone's sh, so that it arrives exactly as composed.
    if (test)
        arguments << QStringLiteral("-e") << QStringLiteral("MSG") << phoneShellWord(text)
                  << QStringLiteral("-e") << QStringLiteral("TESTMSG") << phoneShellWord(number);
    else if (!text.isEmpty())
        arguments << QStringLiteral("--es") << QStringLiteral("MSG") << phoneShellWord(text);
    arguments << QStringLiteral("-n") << kCompanionActivity;
    return arguments;
}

QString Send_AN_MSG_Command(const QString& number, const QString& message, bool test) {
    const QString text = startCommandText(message);
    QString output = ExecuteExternalFile(sendMessageArguments(number, message, test, 1), kUninterrupted);
    if (test || text.isEmpty() || !Find_Error_In_Stat_Activity(output))
        return output;
    Write_In_Troubleshoot_File(QStringLiteral("again try the one by one mode with command line params\n"));
    return ExecuteExternalFile(sendMessageArguments(number, message, test, 2), kUninterrupted);
}

struct Bulk_SMSAppDelegate::RunInput {
    RecordList records;
    bool singleShot = false;
    int mode = 1;
    bool skipDuplicates = false;
    bool exclusion = false;
    QSet<QString> excluded;
    bool saveSentItems = false;
    bool saveTemplates = false;
    DelaySchedule schedule;
};

void Bulk_SMSAppDelegate::Send_SMS_Btn() {
    if (m_sendInProgress)
        return;
    if (sel_port_name_str.isEmpty() || deviceCaption() == kNoDeviceSelectedCaption) {
        op().Show_MessageBox(kNoPhoneSelectedMessage);
        return;
    }
    if (!listReadyToSend())
        return;
    captureCurrentMessage();
    if (!Check_Delayed_Delivery_Choices())
        return;
    if (!Send_Msg_Info_Check())
        return;
    if (Blank_Msg_Chk()) {
        op().Show_MessageBox(QStringLiteral(
            "\nYou have composed no text message yet for any of the contacts in the entire list."));
        return;
    }
    qint64 holder = 0;
    QString why;
    m_sendingLock = SendingLock::acquire(&holder, &why);
    if (!m_sendingLock) {
        op().Show_MessageBox(SendingLock::refusal(holder, why));
        return;
    }
    m_sendInProgress = true;
    if (!Fill_Exclusion_Num_List()) { // its people would be messaged
        m_sendingLock.reset();
        m_sendInProgress = false;
        return;
    }
    RunInput input;
    input.records = list().records();
    input.singleShot = m_singleShot;
    input.mode = AND_SMS_sending_mode;
    input.skipDuplicates = skipDuplicates();
    input.exclusion = exclusion();
    for (const Record& r : exclusionSet().records())
        input.excluded.insert(recipientNumber(r));
    input.saveSentItems = saveSentItems();
    input.saveTemplates = saveTemplates();
    input.schedule = delaySchedule();
    m_runEnd = RunEnd::None;
    m_sentCount = 0;
    m_progress.clearStop();
    Stop_SMS_Sending_Now = false;
    setNumberField(QString());
    emit sendingRowShown(0);
    m_sender.start([this, input](std::stop_token stop) {
        Guard::run("Bulk_SMSAppDelegate::send", [&] { runSend(input, stop); });
        m_sendingLock.reset();
        m_sendInProgress = false;
    });
}

void Bulk_SMSAppDelegate::waitForSend() {
    waitKeepingEventsFlowing([this] { return !m_sendInProgress; });
    m_sender.join();
}

void Bulk_SMSAppDelegate::runSend(const RunInput& input, std::stop_token stop) {
    Check_Path_And_Create_Files();
    if (input.singleShot)
        runSingleShot(input, stop);
    else
        runOneByOne(input, stop);
}

void Bulk_SMSAppDelegate::stopForData(const QString& why) {
    Show_NSLog_Message(why);
    m_progress.requestStop();
    m_runEnd = RunEnd::DataNotWritten;
    m_progress.update([](AndroidSendingProgress::State& s) { s.visible = false; });
    op().Show_MessageBox(why);
}

bool Bulk_SMSAppDelegate::connectionReady() {
    Stop_Modem_SRCH = 0;
    QString tag;
    if (CheckConnection(tag, false, op()))
        return true;
    m_progress.update([](AndroidSendingProgress::State& s) { s.visible = false; });
    if (tag != QLatin1String("MORE"))
        op().Show_MessageBox(kNoPhoneSelectedMessage);
    m_runEnd = RunEnd::NotConnected;
    return false;
}

namespace {

// Which records a run sends: not excluded, and (skipping duplicates) not seen before.
struct Fate {
    bool excluded = false;
    bool skipped = false;
};

Fate fateOf(const QString& number, bool skipDuplicates, bool exclusion, const QSet<QString>& excluded,
            const QSet<QString>& earlier) {
    Fate fate;
    fate.excluded = exclusion && excluded.contains(number);
    fate.skipped = !fate.excluded && skipDuplicates && earlier.contains(number);
    return fate;
}

// The sent item and the template of a message; why the sent item could not be kept ("" when it was).
QString keepRecord(const QString& number, const QString& message, const QString& date, bool sentItems,
                   bool templates) {
    QString why;
    if (sentItems && !appendSentItem(SentItemAnd_File_Path, {number, message, date, QString()}, &why) &&
        why.isEmpty())
        why = SentItemAnd_File_Path; // never empty when it failed
    if (templates && !Trim_Str(message).isEmpty())
        appendTemplateIfNew(message);
    return why;
}

QString sentItemsFailure(const QString& why) {
    return QStringLiteral("Sending stopped: the sent items could not be saved (%1).").arg(why);
}

QString messageFileFailure(const QString& why) {
    return QStringLiteral("Sending stopped: the message could not be written for the phone (%1).").arg(why);
}

} // namespace

void Bulk_SMSAppDelegate::runSingleShot(const RunInput& input, std::stop_token stop) {
    const int total = int(input.records.size());
    m_progress.update([&](AndroidSendingProgress::State& s) {
        s = {};
        s.visible = true;
        s.singleShot = true;
        s.total = total;
        s.totalText = QString::number(total);
        s.statusText = kInitializing;
    });
    ActivityIndicator busy([this] {
        m_progress.update([](AndroidSendingProgress::State& s) { s.busy = nextActivityValue(s.busy); });
    });
    busy.startTimerThread();
    if (!connectionReady())
        return;
    Send_DEL_File_Command_To_Phone();
    const QString date = sentItemDate();
    const QString listPath = Created_Resource_Path + QLatin1Char('/') + kListFileName;

    QString why;
    if (!writeFileAtomically(listPath, QByteArray(), &why)) {
        busy.stop();
        stopForData(messageFileFailure(why));
        return;
    }
    if (!Save_File_To_Phone_Storage(kListFileName, false)) {
        const bool oneByOne =
            op().Show_YES_NO_MessageBox(QStringLiteral("The list could not be copied to the phone's storage "
                                                       "for single-shot sending.\n\nDo you want to send "
                                                       "the messages one by one instead?"));
        if (!oneByOne) {
            busy.stop();
            m_progress.update([](AndroidSendingProgress::State& s) { s.visible = false; });
            m_runEnd = RunEnd::Abandoned;
            Delete_File(listPath);
            return;
        }
        busy.stop();
        Delete_File(listPath);
        MainThread::invokeAndWait([this] {
            One_By_One_Radio();
            Standard_Radio();
        });
        RunInput oneByOneInput = input;
        oneByOneInput.singleShot = false;
        oneByOneInput.mode = int(AndroidSendingMode::Standard);
        runOneByOne(oneByOneInput, stop);
        return;
    }

    QByteArray content;
    QList<std::pair<QString, QString>> listed; // number and message of each line of the list
    QSet<QString> earlier;
    int sent = 0;
    for (const Record& record : input.records) {
        const QString number = recipientNumber(record);
        const QString message = record.value(kMessageKey).left(kMaxMessage);
        const Fate fate = fateOf(number, input.skipDuplicates, input.exclusion, input.excluded, earlier);
        earlier.insert(number);
        if (fate.excluded || fate.skipped)
            continue;
        content += listFileLine(number, message);
        listed.append({number, message});
        ++sent;
    }
    // The list reaches the phone only as written: a stale or cut file would text the wrong people.
    if (!writeFileAtomically(listPath, content, &why)) {
        busy.stop();
        Delete_File(listPath);
        stopForData(messageFileFailure(why));
        return;
    }
    m_progress.update([](AndroidSendingProgress::State& s) {
        s.statusText = QStringLiteral("Message sending is in progress...");
    });
    // The sent items are kept before the phone is told to send: a list that cannot be kept is not sent.
    for (const auto& [number, message] : listed) {
        const QString why = keepRecord(number, message, date, input.saveSentItems, input.saveTemplates);
        if (!why.isEmpty()) {
            busy.stop();
            Delete_File(listPath);
            stopForData(sentItemsFailure(why));
            return;
        }
    }
    Save_File_To_Phone_Storage(kListFileName, false);
    ExecuteExternalFile({QStringLiteral("shell"), QStringLiteral("am"), QStringLiteral("start"),
                         QStringLiteral("-a"), QStringLiteral("android.intent.category.MAIN"),
                         QStringLiteral("-n"), kCompanionActivity},
                        kUninterrupted);
    // The app reads the file while it starts: the file stays for a while before it is removed.
    Clock::sleep(total < 11 ? 1s : 5s);
    Delete_File(listPath);
    Send_DEL_File_Command_To_Phone();
    busy.stop();
    m_sentCount = sent;
    const bool stopped = m_progress.stopRequested() || stop.stop_requested();
    m_runEnd = stopped ? RunEnd::Stopped : RunEnd::Completed;
    m_progress.update([](AndroidSendingProgress::State& s) { s.visible = false; });
    if (total > 0 && !stopped)
        op().Show_MessageBox(kCompleted);
}

void Bulk_SMSAppDelegate::runOneByOne(const RunInput& input, std::stop_token stop) {
    const int total = int(input.records.size());
    m_progress.update([&](AndroidSendingProgress::State& s) {
        s = {};
        s.visible = true;
        s.total = total;
        s.totalText = QString::number(total);
        s.statusText = kInitializing;
    });
    ActivityIndicator busy([this] {
        m_progress.update([](AndroidSendingProgress::State& s) { s.busy = nextActivityValue(s.busy); });
    });
    busy.startTimerThread();
    if (!connectionReady()) {
        busy.stop();
        return;
    }
    Send_DEL_File_Command_To_Phone();
    const QString date = sentItemDate();
    Pause_Timer_Running = false;
    m_progress.update([](AndroidSendingProgress::State& s) {
        s.stopEnabled = true;
        s.statusText = QStringLiteral("Message sending is in progress...");
    });

    const auto stopped = [&] { return m_progress.stopRequested() || stop.stop_requested(); };
    PauseCountdown countdown(PauseCountdown::Variant::AndroidWindow, [this](const QString& text) {
        m_progress.update([text](AndroidSendingProgress::State& s) { s.pauseText = text; });
    });
    std::atomic<int> counted{0};
    DelayedDeliveryPause::Hooks hooks;
    hooks.stopActivity = [&busy] { busy.stop(); };
    hooks.startActivity = [&busy] { busy.startTimerThread(); };
    DelayedDeliveryPause pause(input.schedule, countdown, counted, hooks, m_progress.stopToken());

    const QString messagePath = Created_Resource_Path + QLatin1Char('/') + kMessageFileName;
    bool skipFailedCopies = false;
    bool deviceError = false;
    QString dataFailure;
    QSet<QString> earlier;
    int sent = 0;
    for (int i = 0; i < total && !stopped(); ++i) {
        const QString number = recipientNumber(input.records.at(i));
        const QString message = input.records.at(i).value(kMessageKey).left(kMaxMessage);
        MainThread::post([this, i] { emit sendingRowShown(i); });
        m_progress.update([&](AndroidSendingProgress::State& s) {
            s.done = i + 1;
            s.counterText = QStringLiteral("%1 / %2 Message").arg(i + 1).arg(total);
            s.currentText = number;
        });
        if (i == 0)
            Clock::sleepUnless(1s, stopped);
        const Fate fate = fateOf(number, input.skipDuplicates, input.exclusion, input.excluded, earlier);
        earlier.insert(number);
        if (fate.excluded || fate.skipped) {
            const QString note =
                number + (fate.excluded ? QStringLiteral(" is Excluded.") : QStringLiteral(" is Skipped."));
            m_progress.update([note](AndroidSendingProgress::State& s) { s.currentText = note; });
            continue;
        }

        if (!m_progress.waitWhileHeld(stopped))
            break;
        QString response;
        bool counts = true;
        if (input.mode == int(AndroidSendingMode::Classic)) {
            response = Send_AN_MSG_Command(number, message, false);
            Clock::sleep(1s);
        } else {
            if (QString why; !writeFileAtomically(messagePath, message.toUtf8(), &why)) {
                // The phone would send whatever message file it holds: nothing is sent instead.
                Delete_File(messagePath);
                dataFailure = messageFileFailure(why);
                break;
            }
            if (Save_File_To_Phone_Storage(kMessageFileName, false, kUninterrupted)) {
                // Standard mode has the start's output to judge too: a phone lost here ends the run.
                response = Send_AN_MSG_Command(number, QString(), false);
                Delete_File(messagePath);
                Clock::sleep(1s);
            } else {
                Delete_File(messagePath);
                if (!skipFailedCopies) {
                    const bool inIntent = op().Show_YES_NO_MessageBox(QStringLiteral(
                        "The message could not be copied to the phone's storage.\n\nDo you want to send it, "
                        "and every "
                        "later message whose copy fails, with its text in the start command instead?"));
                    if (inIntent) {
                        skipFailedCopies = true;
                        response = Send_AN_MSG_Command(number, message, false);
                    } else {
                        m_progress.requestStop();
                        counts = false;
                    }
                } else {
                    response = Send_AN_MSG_Command(number, message, false);
                }
            }
        }
        if (outputShowsLostDevice(response)) {
            deviceError = true;
            op().Show_MessageBox(QStringLiteral("Device Connection Error!"));
            break;
        }
        if (appDidNotStart(response)) {
            deviceError = true;
            op().Show_MessageBox(
                QStringLiteral("The companion app could not be started on the phone; no message "
                               "was sent to %1.\n\nSearch for the phone again so that the app is "
                               "installed.\n\n%2")
                    .arg(number, response.trimmed()));
            break;
        }
        if (!counts)
            continue;
        ++sent;
        m_sentCount = sent;
        if (const QString why = keepRecord(number, message, date, input.saveSentItems, input.saveTemplates);
            !why.isEmpty()) {
            dataFailure = sentItemsFailure(why);
            break;
        }
        if (stopped())
            break;
        pause.afterMessageFinished(i + 1 >= total, false, true);
    }
    Send_DEL_File_Command_To_Phone();
    busy.stop();
    countdown.endCountdown();
    if (!dataFailure.isEmpty()) {
        stopForData(dataFailure);
        return;
    }
    const bool wasStopped = stopped();
    m_runEnd = deviceError ? RunEnd::DeviceError : wasStopped ? RunEnd::Stopped : RunEnd::Completed;
    m_progress.update([](AndroidSendingProgress::State& s) { s.visible = false; });
    if (!wasStopped && !deviceError && total > 0)
        op().Show_MessageBox(kCompleted);
}
