#pragma once
// One phone as a device of a sending run: the companion app takes each message as it comes
// (its text in a file copied to the phone, or in the start command) or a whole list at once
// (single-shot). The phone sends by itself: a message it took is handed over, never "sent".
#include "PhoneInbox.h"
#include "PhoneSentBox.h"
#include "core/DataFolder.h"
#include "device/SendingDevice.h"

#include <atomic>
#include <functional>

class Operator;

class PhoneDevice : public SendingDevice {
public:
    // How one message reaches the app: in "message.txt" (Standard) or in the start command (Classic).
    enum class Mode { Standard, Classic };
    // What the operator chose when the empty list could not be copied before single-shot sending.
    enum class ListCopyChoice { OneByOne, End, ContinueAnyway };
    // ... and when a message could not be copied: its text goes in the start command, or the run ends.
    enum class MessageCopyChoice { TextInStartCommand, End };

    // The run is the window controller's: the device asks it through these.
    struct Hooks {
        std::function<void()> stopRun;            // the operator chose to end the run
        std::function<void()> switchedToOneByOne; // single-shot turned into standard one-by-one
        // Ask the operator about a failed copy (on the sending thread); without them a yes/no
        // question asks, its yes (one by one; the text in the start command from now on) kept
        // for the device's run.
        std::function<ListCopyChoice()> listCopyFailed;
        std::function<MessageCopyChoice(const QString& number)> messageCopyFailed;
    };

    // Files for the phone are written in the data folder before they are copied;
    // serialFilter: the serial the device list is narrowed to ("" = every phone).
    PhoneDevice(Operator& op, DataFolder folder, QString serial, Mode mode, Hooks hooks,
                QString serialFilter = {});

    QString name() const override { return m_serial; }
    QString prepare(bool deliveryReports) override;
    SendOutcome send(const OutgoingMessage& message, std::stop_token stop) override;
    std::optional<QList<SendOutcome>> sendBatch(const QList<OutgoingMessage>& messages,
                                                std::stop_token stop) override;
    void close() override;
    // Replies from the phone's inbox (PhoneDeviceInbox.cpp): read when asked `now`, and at
    // least once a minute; a phone that refuses is logged once.
    QList<IncomingMessage> takeReceived(bool now) override;
    void forgetReceived(const QList<IncomingMessage>& kept) override;
    QString takeReceivingNotice() override;

    Mode mode() const { return m_mode; }
    // prepare() found no single phone ready.
    bool notConnected() const { return m_notConnected; }
    // Where this device writes a file before copying it to the phone as fileName: its own
    // place, so that no phone ever copies the file another device is writing.
    QString staged(const QString& fileName) const;

private:
    // Starts the app with the message in "message.txt" (or, after a failed copy and the operator's
    // leave, in the start command); an outcome when the message never reached the start.
    std::optional<SendOutcome> startFromFile(const OutgoingMessage& message, QString& output);
    SendOutcome judged(const QString& output, const QString& recipients);
    // A message the phone took, as its SMS provider tells of it since.
    SendOutcome confirmed(SendOutcome handed, const OutgoingMessage& message, const std::stop_token& stop);
    // The messages of one hand-over, each as the phone's SMS provider tells of it.
    QList<SendOutcome> confirmedAll(const QList<OutgoingMessage>& messages, const std::stop_token& stop,
                                    bool throughList);
    void stopConfirming(const QString& why);
    // A file for the phone could not be written: the run stops before the phone sends a stale one.
    SendOutcome dataNotWritten(const QString& why);
    std::optional<QList<SendOutcome>> handOverList(const QList<OutgoingMessage>& messages,
                                                   const std::stop_token& stop);
    SendOutcome stamped(SendOutcome outcome) const;
    void call(const std::function<void()>& hook) const;

    Operator& m_op;
    const DataFolder m_folder;
    const QString m_serial;
    const QString m_serialFilter;
    std::atomic<Mode> m_mode;
    const Hooks m_hooks;
    const QString m_stagingTag;
    std::atomic<bool> m_notConnected{false};
    // Asks about a failed copy, through the hooks or a question of its own.
    ListCopyChoice askAboutListCopy();
    MessageCopyChoice askAboutMessageCopy(const QString& number);

    bool m_textInStartCommand = false; // the question's yes to the first failed copy
    PhoneSentBox m_sentBox;
    PhoneInbox m_inbox;
    bool m_inboxRefusalTold = false;
    QString m_receivingNotice;
    std::chrono::steady_clock::time_point m_nextInboxRead;
    bool m_confirming = false; // the phone lets this computer read its messages
};

// What an app start's output says of the message: LineFailed (the phone is gone; the start may
// have reached it), NotHandedOver (the app did not start), Refused (the start failed) or
// HandedToPhone.
SendOutcome judgeStartOutput(const QString& output);
