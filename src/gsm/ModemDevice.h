#pragma once
// A GSM modem as a sending run sees it: one MFCSMS session on one port, handed messages one
// at a time in the mode its device record names. The session belongs to the caller (the pool
// of sessions outlives every run); the device only uses it between open() and close().
#include "SmsMode.h"
#include "device/SendingDevice.h"

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>
#include <utility>

class ConcatenatedSmsAssembler;
class MFCSMS;

// What the device record says of the modem, as the run found it when it started.
struct ModemDetails {
    SmsMode mode = SmsMode::Unknown;
    QString smsc;        // the custom service centre; "" for the modem's own
    QString capability;  // "SMS_CAPABLE": "Not Detected" makes an accepted message "sent to device"
    QString defaultSmsc; // the modem's own service centre, which text mode sets back after a custom one
    QString simKey;      // "iccid:<digits>" or "imei:<digits>": whose replies these are; "" unknown
};

class ModemDevice final : public SendingDevice {
public:
    // Proves the line (a raw open and close of the device), opens the session's port on it
    // (or keeps the one already open there) and checks that the modem answers. nullptr when
    // it cannot be used; *lineNotWorking (when given) then says whether the line itself failed,
    // which the operator is told, rather than the modem behind it.
    static std::unique_ptr<ModemDevice> open(MFCSMS& session, const QString& path,
                                             const ModemDetails& details, bool* lineNotWorking = nullptr);
    // The same through a session of the device's own, which ends with the device: each run
    // opens its modems afresh and shares no session with another run.
    static std::unique_ptr<ModemDevice> open(const QString& path, const ModemDetails& details,
                                             bool* lineNotWorking = nullptr);
    ~ModemDevice() override;

    QString name() const override { return m_path; }
    QString receiverKey() const override { return m_details.simKey.isEmpty() ? m_path : m_details.simKey; }
    // Sets the modem's message format; "" when it took it, else why it cannot send
    // ("the device refused PDU Mode (AT+CMGF=0)"). A modem of unknown mode stays: its
    // messages end "not sent" one by one, and endOfRunNotice() says why.
    QString prepare(bool deliveryReports) override;
    // In text mode a single part only (TextModeLimits.h).
    bool canCarry(const OutgoingMessage& message) const override;
    SendOutcome send(const OutgoingMessage& message, std::stop_token stop) override;

    bool deliveryReports() const override { return m_reportsRouted; }
    QString noDeliveryReportsReason() const override;
    QList<DeliveryReport> takeDeliveryReports() override;
    // Reads the line for this long in real time (already scaled), as the session does.
    void listenForDeliveryReports(std::chrono::milliseconds duration) override;
    // Replies: the modem's storage read when it announced one, and at least once a minute;
    // a place is freed once what lay there is kept (ModemDevice_Inbox.cpp).
    QList<IncomingMessage> takeReceived(bool now) override;
    void forgetReceived(const QList<IncomingMessage>& kept) override;
    bool stillAnswers() override;
    QString endOfRunNotice() const override;
    // Closes the session's port.
    void close() override;

    const ModemDetails& details() const { return m_details; }
    // While prepare() waits for a modem still searching for a network: `waiting` is told so
    // (a status line for the operator; "" once the wait is over), and `stop` ends the wait.
    void setNetworkWait(std::stop_token stop, std::function<void(const QString& status)> waiting) {
        m_stop = std::move(stop);
        m_waiting = std::move(waiting);
    }

private:
    ModemDevice(MFCSMS& session, QString path, ModemDetails details, int fd);

    std::unique_ptr<MFCSMS> m_ownSession; // when the device opened its own
    MFCSMS& m_session;
    const QString m_path;
    const ModemDetails m_details;
    const int m_fd;
    bool m_reportsRouted = false;
    std::stop_token m_stop;
    std::function<void(const QString&)> m_waiting;
    bool m_prepared = false; // a run readied it (prepare)
    QList<IncomingMessage> readInbox();
    QString takeReceivingNotice() override { return std::exchange(m_receivingNotice, {}); }
    QList<IncomingMessage> readInboxAsText();
    std::unique_ptr<ConcatenatedSmsAssembler> m_parts; // long replies still short of parts
    bool m_inboxRefusalLogged = false;
    QString m_receivingNotice; // once, when the modem refuses to list its messages
    bool m_listRefusalTold = false;
    void listRefused();
    std::chrono::steady_clock::time_point m_nextInboxRead;
};
