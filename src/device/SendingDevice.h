#pragma once
// A device a sending run hands messages to: a modem session or a phone. The engine knows
// devices only through this interface; each is used by one thread of the run at a time.
#include "IncomingMessage.h"
#include "SendOutcome.h"

#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

// The most devices one run sends through: the run's own bound, and the size of the pool of
// modem sessions a GSM run gives its ports.
inline constexpr int kMaxRunDevices = 32;

struct OutgoingMessage {
    QString number;
    QString text; // exactly what is to arrive (cut and punctuation already applied)
    bool flash = false;
    bool unicode = false; // the Unicode option; a text the GSM alphabet cannot carry goes as Unicode anyway
};

// What the network reported of one part's delivery.
struct DeliveryReport {
    int reference = -1; // the reference the network gave the part on submission
    int status = -1;    // TP-ST
};

class SendingDevice {
public:
    SendingDevice() = default;
    virtual ~SendingDevice() = default;
    SendingDevice(const SendingDevice&) = delete;
    SendingDevice& operator=(const SendingDevice&) = delete;

    // Its name in the run (the "Use Port" column): the port's path, the phone's serial.
    virtual QString name() const = 0;

    // Readies the device for the run's messages: "" when it can send, else why it cannot (it
    // then leaves the run and its messages go to the others). With `deliveryReports` it also
    // asks to be handed the network's reports; deliveryReports() then says whether it will be.
    virtual QString prepare(bool deliveryReports) = 0;

    // Whether the device sends the message as one message, as the recipient is to read it. The
    // run hands a device what it cannot carry only when no other device of the run can; the
    // device then answers it "not sent" with why.
    virtual bool canCarry(const OutgoingMessage& message) const {
        Q_UNUSED(message);
        return true;
    }

    // Hands one message over and waits for the device's answer; Stop cuts a long message
    // between its parts and the answer wait short.
    virtual SendOutcome send(const OutgoingMessage& message, std::stop_token stop) = 0;

    // Told as each part of a long message starts (part, parts), on the sending thread: what
    // the window shows while a message of many parts goes. Set by the run before send().
    void setPartProgress(std::function<void(int part, int parts)> progress) {
        m_partProgress = std::move(progress);
    }

    // A device that takes a whole run's messages in one go (a phone's single-shot mode): one
    // outcome per message, in order; nothing when it takes them one at a time after all.
    virtual std::optional<QList<SendOutcome>> sendBatch(const QList<OutgoingMessage>& messages,
                                                        std::stop_token stop) {
        Q_UNUSED(messages);
        Q_UNUSED(stop);
        return std::nullopt;
    }

    // Whether the network's reports reach the run through this device; when asked for and
    // not, why not.
    virtual bool deliveryReports() const { return false; }
    virtual QString noDeliveryReportsReason() const { return {}; }
    // Reports gathered since the last call; listening reads whatever the device says meanwhile.
    virtual QList<DeliveryReport> takeDeliveryReports() { return {}; }
    virtual void listenForDeliveryReports(std::chrono::milliseconds duration) { Q_UNUSED(duration); }

    // Whose the replies are, as the store files them: the SIM (its ICCID, else the modem's
    // IMEI), the phone's serial; the name where nothing steadier is known.
    virtual QString receiverKey() const { return name(); }
    // Messages the device received since the last call (replies). It holds them until
    // forgetReceived() says they are kept elsewhere; until then each call may give them again.
    // A device may look only now and then; `now` makes it look (at a run's start and end).
    virtual QList<IncomingMessage> takeReceived(bool now) {
        Q_UNUSED(now);
        return {};
    }
    virtual void forgetReceived(const QList<IncomingMessage>& kept) { Q_UNUSED(kept); }
    // Why its replies cannot be read, once: "" afterwards, and while they can.
    virtual QString takeReceivingNotice() { return {}; }

    // Whether the device still answers (asked after a message it never answered).
    virtual bool stillAnswers() { return true; }

    // What the operator is told when the run ends and this device was the last in it ("" when
    // nothing): a device that could not be readied says so.
    virtual QString endOfRunNotice() const { return {}; }

    // Gives the device back (the port closed, the phone's files removed).
    virtual void close() = 0;

protected:
    void partStarting(int part, int parts) const {
        if (m_partProgress)
            m_partProgress(part, parts);
    }

private:
    std::function<void(int part, int parts)> m_partProgress;
};
