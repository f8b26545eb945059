// A whole sending run: N recipients over 8 virtual modems, the clock shrunk so that the
// prescribed waits (rests, read time-outs) cost next to nothing. Prints items per second and
// the time per item for growing N: the product's own cost per item must stay flat.
#include "SendingSetup.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/Log.h"
#include "core/Operator.h"
#include "sending/windows/Gsm_Bulk_Sms_Wnd.h"
#include "sending/windows/SMS_Sending.h"
#include "sim/VirtualModem.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace {

class BenchOperator : public Operator {
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
            if (job->statusLine() == kFinish && !job->running())
                loop.quit();
        });
        poll.start(5);
        loop.exec();
        return 1;
    }
};

double run(int recipients, std::vector<std::unique_ptr<sim::VirtualModem>>& modems) {
    BenchOperator op;
    Gsm_Bulk_Sms_Wnd window(op, DataFolder::fromEnvironment());
    selectVirtualModems(window, modems);
    fillRecipients(window, recipients);
    QElapsedTimer timer;
    timer.start();
    sendAndWait(window);
    const double seconds = timer.nsecsElapsed() / 1e9;
    int sent = 0;
    for (const SendingItem& item : window.sendingJob().items())
        sent += item.status == QLatin1String("Message sent successfully.");
    std::printf("%6d recipients: %6.2f s, %7.1f items/s, %6.2f ms per item, %d sent\n", recipients, seconds,
                recipients / seconds, seconds * 1000.0 / recipients, sent);
    std::fflush(stdout);
    return seconds;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    setLogToStandardError(qEnvironmentVariableIsSet("BENCH_VERBOSE"));
    Clock::setScale(qEnvironmentVariableIntValue("BENCH_SCALE_MICRO") > 0
                        ? qEnvironmentVariableIntValue("BENCH_SCALE_MICRO") / 1e6
                        : 0.002); // the answer wait (60 s) stays above a busy machine's answer time
    QTemporaryDir home;
    qputenv("BULKSMS_DATA_HOME", QFile::encodeName(home.path()));
    const DataFolder folder = DataFolder::fromEnvironment();
    folder.adoptForProcess();
    folder.Check_Path_And_Create_Files();

    std::vector<std::unique_ptr<sim::VirtualModem>> modems;
    for (int i = 0; i < 8; ++i) {
        sim::ModemIdentity id;
        id.imei = QString::number(359000000000000LL + i);
        sim::ModemBehaviour behaviour;
        behaviour.networkDelayMs = 0;
        behaviour.echo = false;
        modems.push_back(std::make_unique<sim::VirtualModem>(id, behaviour));
        if (!modems.back()->start())
            return 1;
    }
    const int sizes[] = {1250, 2500, 5000, 10000};
    const int only = qEnvironmentVariableIntValue("BENCH_ONLY");
    for (int n : sizes)
        if (only == 0 || only == n)
            run(n, modems);
    return 0;
}
