#include "ScriptedDevice.h"

#include <utility>

class ScriptedDevice::Handle : public SendingDevice {
public:
    explicit Handle(ScriptedDevice& device) : d(device) {}
    QString name() const override { return d.m_name; }
    QString prepare(bool) override {
        std::lock_guard lock(d.m_mutex);
        ++d.m_prepared;
        return {};
    }
    SendOutcome send(const OutgoingMessage& message, std::stop_token stop) override {
        std::optional<SendOutcome> scripted;
        {
            std::lock_guard lock(d.m_mutex);
            d.m_calls.append({message.number, message.text, std::this_thread::get_id(), stop.stop_requested(),
                              std::chrono::steady_clock::now()});
            if (!d.script.isEmpty())
                scripted = d.script.takeFirst();
        }
        SendOutcome outcome = scripted   ? *scripted
                              : d.answer ? d.answer(message, stop)
                                         : SendOutcome::of(Outcome::Sent);
        std::lock_guard lock(d.m_mutex);
        if (d.reportsDelivery && outcome.delivered()) {
            outcome.references = {++d.m_nextReference};
            if (d.reportStatus.contains(message.number))
                d.m_owed.append({d.m_nextReference, d.reportStatus.value(message.number)});
        }
        return outcome;
    }
    std::optional<QList<SendOutcome>> sendBatch(const QList<OutgoingMessage>& messages,
                                                std::stop_token) override {
        QStringList numbers;
        for (const OutgoingMessage& message : messages)
            numbers << message.number;
        {
            std::lock_guard lock(d.m_mutex);
            d.m_batches << numbers;
        }
        return d.batch ? d.batch(messages) : std::nullopt;
    }
    bool deliveryReports() const override { return d.reportsDelivery; }
    QString noDeliveryReportsReason() const override { return QStringLiteral("No delivery reports here."); }
    QList<DeliveryReport> takeDeliveryReports() override {
        std::lock_guard lock(d.m_mutex);
        return std::exchange(d.m_reported, {});
    }
    void listenForDeliveryReports(std::chrono::milliseconds duration) override {
        std::unique_lock lock(d.m_mutex);
        d.m_reported += std::exchange(d.m_owed, {});
        if (d.m_reported.isEmpty()) { // nothing more is coming: listen as a device would
            lock.unlock();
            std::this_thread::sleep_for(duration);
        }
    }
    bool stillAnswers() override { return d.stillAnswers; }
    void close() override {
        std::lock_guard lock(d.m_mutex);
        d.m_closed = true;
    }

private:
    ScriptedDevice& d;
};

DeviceOpener ScriptedDevice::opener() {
    return
        [this](std::stop_token) -> std::unique_ptr<SendingDevice> { return std::make_unique<Handle>(*this); };
}

QStringList ScriptedDevice::numbers() const {
    QStringList out;
    for (const Call& call : calls())
        out << call.number;
    return out;
}
