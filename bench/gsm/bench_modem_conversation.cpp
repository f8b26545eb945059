// The modem conversation at the real clock (scale 1), against virtual modems that answer
// with a latency like hardware: what a user waits for. Prints each figure beside its goal:
//   - seconds per message through one modem, for network delays L = 0, 1 and 3 s
//     (goal: at most L + 1.3 s);
//   - time from Send to the first message leaving, with 1 and with 8 modems
//     (goal: within 3 s with 8 modems);
//   - the device search over 8 modems (goal: all 8 found within 3 s).
// Usage: bench_modem_conversation [messages per delay, default 3]
// BENCH_VERBOSE=1 writes the session log to stderr.
#include "SendingSetup.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "core/WorkerThread.h"
#include "gsm/MFCSMS.h"
#include "gsm/windows/GSM_Device_List_Wnd.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sim/VirtualModem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <functional>
#include <memory>
#include <vector>

namespace {

using Modems = std::vector<std::unique_ptr<sim::VirtualModem>>;

Modems startModems(int count, int networkDelayMs) {
    Modems modems;
    for (int i = 0; i < count; ++i) {
        sim::ModemIdentity id;
        id.imei = QString::number(359000000000000LL + i);
        sim::ModemBehaviour behaviour; // echo on and the default answer latency, as hardware
        behaviour.networkDelayMs = networkDelayMs;
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
        if (!modems.back()->start()) {
            std::fprintf(stderr, "cannot open a pseudo-terminal\n");
            modems.clear();
            return modems;
        }
    }
    return modems;
}

const char* verdict(bool met) { return met ? "met" : "MISSED"; }

// N messages through one modem with the product's session, as the sending job drives it.
void perMessage(int networkDelayMs, int messages) {
    Modems modems = startModems(1, networkDelayMs);
    if (modems.empty())
        return;
    MFCSMS session;
    int fd = -1;
    session.initPort_with_decp(modems.front()->devicePath(), fd);
    if (session.port() != nullptr)
        session.port()->setReadTimeout(1.0); // as the sending job opens its ports
    if (fd < 0 || !session.Check_Connection(fd)) {
        std::printf("  L = %d s: the modem could not be opened\n", networkDelayMs / 1000);
        return;
    }
    session.Prepare_Modem_For_PDU_SMS(fd);
    QElapsedTimer timer;
    timer.start();
    int sent = 0;
    for (int i = 0; i < messages; ++i) {
        QString status;
        sent += session.Send_PDU_SMS(fd, QStringLiteral("+44770090%1").arg(i, 4, 10, QLatin1Char('0')),
                                     QStringLiteral("Bench message %1").arg(i), QString(), false, false,
                                     status, QString());
    }
    const double perMessage = timer.nsecsElapsed() / 1e9 / messages;
    session.closePort();
    const double goal = networkDelayMs / 1000.0 + 1.3;
    std::printf("  L = %d s: %6.2f s per message (%d of %d sent, %lld arrived)   goal <= %.1f s: %s\n",
                networkDelayMs / 1000, perMessage, sent, messages,
                static_cast<long long>(modems.front()->received().size()), goal, verdict(perMessage <= goal));
    std::fflush(stdout);
}

// Answers every question yes and runs the sending job's modal loop until the job is over,
// calling `tick` on every turn.
class SendingOperator : public Operator {
public:
    std::function<void()> tick;

protected:
    void showAlert(const QString&) override {}
    bool askYesNo(const QString&) override { return true; }
    QString openFileDialog(const QStringList&) override { return {}; }
    QString saveFileDialog(const QStringList&) override { return {}; }
    void openFile(const QString&) override {}
    void openUrl(const QString&) override {}
    void quit() override {}
    int showModal(DialogController& dialog) override {
        auto* job = qobject_cast<SMS_Sending*>(&dialog);
        if (job == nullptr)
            return 0;
        QEventLoop loop;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
            if (tick)
                tick();
            if (job->finished() && !job->running())
                loop.quit();
        });
        poll.start(5);
        loop.exec();
        return 1;
    }
};

// Send pressed with the recipients spread over the modems: when the network first hears of a
// message, and when the run is over. Prints the line's start; the caller adds its goal.
void sendRun(int modemCount, int recipients, int networkDelayMs, double& first, double& last, double& whole) {
    Modems modems = startModems(modemCount, networkDelayMs);
    if (modems.empty())
        return;
    SendingOperator op;
    Gsm_Bulk_Sms_Wnd window(op, DataFolder::fromEnvironment());
    selectVirtualModems(window, modems);
    fillRecipients(window, recipients);

    QElapsedTimer timer;
    first = -1;
    last = -1;
    op.tick = [&] {
        if (last >= 0)
            return;
        qsizetype received = 0;
        for (const auto& modem : modems)
            received += modem->received().size();
        if (received > 0 && first < 0)
            first = timer.nsecsElapsed() / 1e9;
        if (received >= recipients)
            last = timer.nsecsElapsed() / 1e9;
    };
    timer.start();
    sendAndWait(window);
    whole = timer.nsecsElapsed() / 1e9;
    op.tick();
    qsizetype arrived = 0;
    for (const auto& modem : modems)
        arrived += modem->received().size();
    std::printf("  %d modem%s, %2d recipients, L = %d s: first message after %6.2f s, last after %6.2f s, "
                "run %6.2f s, "
                "%lld of %d arrived",
                modemCount, modemCount == 1 ? " " : "s", recipients, networkDelayMs / 1000, first, last,
                whole, static_cast<long long>(arrived), recipients);
}

class SilentOperator : public Operator {
protected:
    void showAlert(const QString&) override {}
    bool askYesNo(const QString&) override { return false; }
    int showModal(DialogController&) override { return 0; }
    QString openFileDialog(const QStringList&) override { return {}; }
    QString saveFileDialog(const QStringList&) override { return {}; }
    void openFile(const QString&) override {}
    void openUrl(const QString&) override {}
    void quit() override {}
};

// The device window's search pass over 8 modems, on a worker as the window runs it.
void search(int modemCount) {
    Modems modems = startModems(modemCount, 0);
    if (modems.empty())
        return;
    QStringList paths;
    for (const auto& modem : modems)
        paths << modem->devicePath();
    SilentOperator op;
    DeviceSelection selection;
    GSM_Device_List_Wnd window(op, selection);
    WorkerThread worker(QStringLiteral("bench search"));
    QElapsedTimer timer;
    timer.start();
    worker.start([&](std::stop_token stop) { window.GetModemPath(paths, stop); });
    worker.join(); // keeps the main thread's events flowing for the window's updates
    const double seconds = timer.nsecsElapsed() / 1e9;
    const qsizetype found = window.nsPortListData().size();
    std::printf("  %d modems: %lld found in %6.2f s   goal all within 3.0 s: %s\n", modemCount,
                static_cast<long long>(found), seconds, verdict(found == modemCount && seconds <= 3.0));
    std::fflush(stdout);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    setLogToStandardError(qEnvironmentVariableIsSet("BENCH_VERBOSE"));
    Clock::setScale(1.0); // the real clock: every prescribed wait lasts its time
    const int messages = argc > 1 ? std::max(1, QString::fromLocal8Bit(argv[1]).toInt()) : 3;
    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(home.path()));
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    folder.Check_Path_And_Create_Files();

    QElapsedTimer all;
    all.start();
    std::printf("Per message through one modem (%d messages, network delay L):\n", messages);
    for (const int delayMs : {0, 1000, 3000})
        perMessage(delayMs, messages);
    std::printf("From Send (sending job, the recipients spread over the modems):\n");
    double first = 0, last = 0, whole = 0;
    sendRun(1, 1, 0, first, last, whole);
    std::printf("\n");
    sendRun(8, 8, 0, first, last, whole);
    std::printf("   goal first <= 3.0 s: %s\n", verdict(first >= 0 && first <= 3.0));
    sendRun(2, 20, 1000, first, last, whole);
    std::printf("   goal last <= 30 s: %s\n", verdict(last >= 0 && last <= 30.0));
    std::fflush(stdout);
    std::printf("Device search:\n");
    search(8);
    std::printf("Whole benchmark: %.1f s\n", all.nsecsElapsed() / 1e9);
    return 0;
}
