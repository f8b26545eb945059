#pragma once
// What a device did with one message, as a value: the engine decides on it (retry, leave,
// record) and the words the operator reads are made from it in one place, text().
#include <QList>
#include <QString>

enum class Outcome {
    Sent,          // the network accepted every part ("+CMGS" and "OK")
    SentToDevice,  // accepted by a device that cannot say more of it
    HandedToPhone, // the phone took the message to send itself (reason: what the phone said of it since)
    Refused,       // the network or the device turned it down: another attempt may succeed
    NotSent,       // turned down for good (the device cannot carry it as asked): no retry
    Unknown,       // handed over and never answered: it may have been sent, so never again
    Stopped,       // Stop came between the parts of a long message
    LineFailed,    // the device failed after taking the message: final, and the device leaves
    NotHandedOver, // the device failed before taking the message: it certainly did not leave
};

struct SendOutcome {
    Outcome outcome = Outcome::NotHandedOver;
    QString reason;        // the device's words: "+CMS ERROR: 38", "Device Connection Error!", ...
    QList<int> references; // the network's references of the accepted parts
    int part = 0;          // of a long message: the part the outcome belongs to (0: the whole)
    int parts = 1;         // how many parts the message went as
    QString device;        // the device that answered

    static SendOutcome of(Outcome outcome, const QString& reason = {}) {
        SendOutcome result;
        result.outcome = outcome;
        result.reason = reason;
        return result;
    }

    // The network (or the phone) has the message: never to be sent again.
    bool delivered() const {
        return outcome == Outcome::Sent || outcome == Outcome::SentToDevice ||
               outcome == Outcome::HandedToPhone;
    }
    bool retryable() const { return outcome == Outcome::Refused; }
    // The device is no longer fit to send: it leaves the run.
    bool deviceFailed() const { return outcome == Outcome::LineFailed || outcome == Outcome::NotHandedOver; }

    // The status the operator reads: "Message sent successfully.", "Part 2 of 3: +CMS ERROR: 38",
    // "Unknown (may have been sent)", "Stopped after part 1 of 3.", "Device Connection Error!", ...
    QString text() const;
};

// The outcome's words, and the words of the outcomes themselves.
inline const QString kStatusSent = QStringLiteral("Message sent successfully.");
inline const QString kStatusSentToDevice = QStringLiteral("Message sent to device.");
inline const QString kStatusHandedToPhone = QStringLiteral("Handed to the phone");
inline const QString kStatusUnknown = QStringLiteral("Unknown (may have been sent)");
inline const QString kStatusConnectionError = QStringLiteral("Device Connection Error!");

// The outcome's stable name in a run's record ("sent", "refused", ...), and back.
QString outcomeKey(Outcome outcome);
bool outcomeFromKey(const QString& key, Outcome* outcome);
