#include "Senders.h"

#include "BenchSupport.h"
#include "sending/SendingRun.h"

#include <QElapsedTimer>
#include <QEventLoop>

namespace {

class InstantDevice : public SendingDevice {
public:
    explicit InstantDevice(QString name) : m_name(std::move(name)) {}
    QString name() const override { return m_name; }
    QString prepare(bool) override { return {}; }
    SendOutcome send(const OutgoingMessage&, std::stop_token) override {
        return SendOutcome::of(Outcome::Sent);
    }
    void close() override {}

private:
    const QString m_name;
};

// A run as its window holds it: its own pause countdown beside it.
struct Sender {
    PauseCountdown pause{PauseCountdown::Variant::SendingJob, [](const QString&) {}};
    std::unique_ptr<SendingRun> run;
};

} // namespace

SendersRan runSenders(std::vector<std::unique_ptr<RunRecord>> records, int devicesEach, int stopAfter) {
    bench::BenchOperator op;
    QEventLoop loop;
    SendersRan ran;
    int released = 0;
    std::vector<std::unique_ptr<Sender>> senders;
    for (std::unique_ptr<RunRecord>& record : records) {
        QList<DeviceOpener> openers;
        for (int d = 0; d < devicesEach; ++d)
            openers << [name = QStringLiteral("sender%1-device%2").arg(senders.size() + 1).arg(d + 1)](
                           std::stop_token) { return std::make_unique<InstantDevice>(name); };
        auto sender = std::make_unique<Sender>();
        sender->run = std::make_unique<SendingRun>(RunSettings{}, openers, std::move(record), op,
                                                   sender->pause, DelayedDeliveryPause::Hooks{});
        SendingRun* run = sender->run.get();
        QObject::connect(run, &SendingRun::itemChanged, run, [&](int, const SendingItem&, bool counted) {
            if (counted && ++ran.finished == stopAfter)
                for (const std::unique_ptr<Sender>& each : senders)
                    each->run->stop();
        });
        QObject::connect(run, &SendingRun::devicesReleased, run, [&] {
            if (++released == int(senders.size()))
                loop.quit();
        });
        senders.push_back(std::move(sender));
    }
    QElapsedTimer timer;
    timer.start();
    for (const std::unique_ptr<Sender>& sender : senders)
        sender->run->start({});
    loop.exec();
    ran.seconds = double(timer.nsecsElapsed()) / 1e9;
    for (const std::unique_ptr<Sender>& sender : senders) {
        sender->run->join();
        sender->run->endRecord();
    }
    return ran;
}
