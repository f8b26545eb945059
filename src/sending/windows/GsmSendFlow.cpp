// The GSM window's Send button: every check in order, the question before sending, the
// verification of the chosen ports (on workers, the window taking events meanwhile), and the
// opening of the sending job a second later.
#include "Gsm_Bulk_Sms_Wnd.h"

#include "SMS_Sending.h"
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "core/WorkerThread.h"
#include "device/DeviceRecord.h"
#include "gsm/SmsMode.h"
#include "gsm/TextModeLimits.h"
#include "list/NumberList.h"
#include "services/ModemCheck.h"

#include <atomic>
#include <memory>
#include <vector>

using namespace std::chrono_literals;

void Gsm_Bulk_Sms_Wnd::Send_SMS_BY_Multi_Port() {
    if (sendingUnderWay())
        return; // pressed again while its ports are checked or its job is about to show
    m_sendInProgress = true;
    m_replies.update(); // the ports are the run's from now on
    bool checking = false;
    Guard::run("Gsm_Bulk_Sms_Wnd::Send_SMS_BY_Multi_Port", [this, &checking] {
        if (selection().sel_port_bsd_str.isEmpty() || selection().port_val_str_array.isEmpty()) {
            op().Show_MessageBox(QStringLiteral(
                "Either Mobile Device is not connected properly or No Mobile Phone Device is "
                "selected.\n\nPlease use "
                "Mobile Phone Connection Wizard for finding device or establishing connection."));
            return;
        }
        if (deviceChoices().isEmpty()) {
            op().Show_MessageBox(QStringLiteral("Please select a device for sms sending."));
            return;
        }
        if (!askSendQuestions())
            return;
        // The rows as they will go, the composer's text applied: nobody the last run reached is
        // texted again without a word.
        if (!m_carried.resuming() && !m_lastRun.choose(op(), list().records()))
            return;
        if (!m_carried.resuming() && !unfinishedRunDiscarded(op(), dataFolder(), kGsmRoad))
            return;
        if (!Fill_Exclusion_Num_List())
            return; // its people would be messaged
        GSM_Chk_Port_And_Send_Msg();
        checking = true;
    });
    if (!checking) {
        m_sendInProgress = false;
        m_replies.update();
    }
}

// The questions Send and Send later ask of the list and its texts, in order: false when one
// of them ends it.
bool Gsm_Bulk_Sms_Wnd::askSendQuestions() {
    if (!listReadyToSend())
        return false;
    m_messageIs = composerText();
    if (!Check_Delayed_Delivery_Choices() || !Check_Quiet_Hours())
        return false;
    if (Blank_Msg_Chk() && !op().Show_YES_NO_MessageBox(kBlankListQuestion))
        return false;
    return Send_Msg_Info_Check();
}

void Gsm_Bulk_Sms_Wnd::sendNotYetSent() {
    m_lastRun.sendNotYetSentNext();
    Send_SMS_BY_Multi_Port();
}

bool Gsm_Bulk_Sms_Wnd::sendingUnderWay() const {
    return m_sendInProgress || (m_job && m_job->windowPending());
}

QString Gsm_Bulk_Sms_Wnd::describeDevice(const QString& path) const {
    return QStringLiteral("%1 Device connected on %2 ")
        .arg(deviceDetail(path, kModelKey), deviceDetail(path, kPortNameKey));
}

void Gsm_Bulk_Sms_Wnd::testPorts(const QStringList& paths, std::function<void(const QList<bool>&)> then) {
    // Each check talks to a modem for a second or more: the ports are checked side by side,
    // each through a session of its own, and the result comes back as a hand-off.
    m_portCheck.start([paths, then = std::move(then)](std::stop_token stop) {
        QList<bool> works(paths.size(), false);
        std::atomic<qsizetype> next{0};
        const auto checkWhileAny = [&](std::stop_token) {
            for (qsizetype i = next++; i < paths.size(); i = next++)
                works[i] = testPort(paths.at(i));
        };
        std::vector<std::unique_ptr<WorkerThread>> checkers;
        for (qsizetype w = 0; w < std::min<qsizetype>(paths.size(), kParallelPortChecks); ++w) {
            checkers.push_back(std::make_unique<WorkerThread>(QStringLiteral("port-check")));
            checkers.back()->start(checkWhileAny);
        }
        for (const auto& checker : checkers)
            checker->join();
        MainThread::post([stop, works, then] {
            if (!stop.stop_requested()) // the window is gone
                then(works);
        });
    });
}

bool Gsm_Bulk_Sms_Wnd::testPort(const QString& path) { return ModemCheck::answers(path); }

void Gsm_Bulk_Sms_Wnd::GSM_Chk_Port_And_Send_Msg() {
    const QString chosen = currentDeviceChoice();
    setPleaseWait(true);
    m_sendingPorts.clear();
    m_sendingPortChoice.clear();
    QStringList paths;
    if (chosen != kAllDeviceChoice) {
        if (selection().port_val_str_array.contains(chosen))
            paths << chosen;
    } else {
        paths = selection().port_val_str_array;
        paths.removeAll(kAllDeviceChoice);
    }
    testPorts(paths, [this, chosen, paths](const QList<bool>& works) {
        for (qsizetype i = 0; i < paths.size(); ++i)
            if (works.at(i))
                m_sendingPorts.append(paths.at(i));
        bool goesOn = false;
        Guard::run("Gsm_Bulk_Sms_Wnd::GSM_Chk_Port_And_Send_Msg",
                   [&] { goesOn = chooseSendingPort(chosen, paths, works); });
        if (!goesOn) {
            m_sendInProgress = false;
            m_replies.update();
            return;
        }
        // The prescribed second before the job opens. The flow ends once the job holds the
        // ports: no reading of replies comes between.
        Clock::after(1s, this, [this] {
            sendingJob().Open_SMS_Sending_Dialog();
            m_sendInProgress = false;
            m_replies.update();
        });
    });
}

bool Gsm_Bulk_Sms_Wnd::chooseSendingPort(const QString& chosen, const QStringList& paths,
                                         const QList<bool>& works) {
    if (chosen != kAllDeviceChoice) {
        if (!paths.isEmpty() && !works.first()) {
            setPleaseWait(false);
            op().Show_MessageBox(
                describeDevice(chosen) +
                QStringLiteral("\nDevice is not connected properly or Device is not functioning.\n\n"
                               "Please use Mobile Phone Connection Wizard for finding device or "
                               "establishing connection."));
            return false;
        }
    } else {
        QString failures;
        const int devices = int(paths.size());
        int failed = 0;
        for (qsizetype i = 0; i < paths.size(); ++i) {
            if (!works.at(i)) {
                ++failed;
                failures += describeDevice(paths.at(i)) + QLatin1Char('\n');
            }
        }
        setPleaseWait(false);
        if (failed > 0 && failed < devices &&
            !op().Show_YES_NO_MessageBox(
                failures +
                QStringLiteral("\nDevice not connected properly or Device is not functioning.\n\nPlease use "
                               "Mobile Phone Connection Wizard for finding device or establishing "
                               "connection.\n\nOR\n\nDo you want to continue sending process with other "
                               "connected device?")))
            return false;
        if (failed > 0 && failed == devices)
            op().Show_MessageBox(failures +
                                 QStringLiteral("\n All Device not connected properly or Device is not "
                                                "functioning.\n\nPlease use Mobile Phone Connection Wizard "
                                                "for finding device or establishing connection."));
    }
    setPleaseWait(false);

    if (m_sendingPorts.size() < 2) {
        m_sendingPortChoice = m_sendingPorts.value(0);
    } else {
        m_sendingPorts.append(kAllDeviceChoice);
        m_sendingPortChoice =
            chosen == kAllDeviceChoice || !m_sendingPorts.contains(chosen) ? kAllDeviceChoice : chosen;
        if (chosen != kAllDeviceChoice && !m_sendingPorts.contains(chosen))
            m_sendingPortChoice = m_sendingPorts.first();
    }
    if (const QString refusal = textModeRefusal(); !refusal.isEmpty()) {
        op().Show_MessageBox(refusal);
        return false;
    }
    emit changed();
    return true;
}

QString Gsm_Bulk_Sms_Wnd::textModeRefusal() const {
    RunSettings settings;
    settings.plainPunctuation = plainPunctuation();
    settings.footer = footer();
    settings.unicode = unicode();
    QList<OutgoingMessage> messages;
    for (const Record& row : list().records())
        messages << outgoingMessage(recipientNumber(row), row.value(kMessageKey), settings);
    QList<TextModeLimits::Port> ports;
    for (const QString& path : m_sendingPorts)
        if (path != kAllDeviceChoice &&
            (m_sendingPortChoice == kAllDeviceChoice || path == m_sendingPortChoice))
            ports << TextModeLimits::Port{path, smsModeFromText(deviceDetail(path, kSmsModeKey))};
    QStringList offeringPdu;
    for (const QString& path : selection().port_val_str_array)
        if (deviceDetail(path, kSupportedSmsModesKey).contains(kPduModeText))
            offeringPdu << path;
    return TextModeLimits::refusal(messages, ports, offeringPdu);
}
