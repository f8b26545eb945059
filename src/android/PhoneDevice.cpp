#include "PhoneDevice.h"

#include "AdbRunner.h"
#include "AndroidDevices.h"
#include "CompanionApp.h"
#include "CompanionStart.h"
#include "PhoneStorage.h"
#include "core/Clock.h"
#include "core/DataFolder.h"
#include "core/FileUtils.h"
#include "core/Log.h"
#include "core/Operator.h"

#include <QCoreApplication>

#include <utility>

using namespace std::chrono_literals;

namespace {

const AdbStop kUninterrupted = [] { return false; }; // a message in hand is finished
// How long the phone has to send a message it took before its row says "not confirmed".
constexpr Clock::Duration kConfirmationWait = 20s;

const QString kAppNotStarted = QStringLiteral("The companion app could not be started on the phone.");
const QString kMessageNotCopied = QStringLiteral("The message could not be copied to the phone's storage.");
const QString kListNotCopied = QStringLiteral("The list could not be copied to the phone's storage.");

// The line of a failed start that says why (the whole output may hold a stack trace).
QString startError(const QString& output) {
    const QStringList lines = output.trimmed().split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString& line : lines)
        if (Find_Error_In_Stat_Activity(line))
            return line.trimmed();
    return lines.isEmpty() ? QString() : lines.last().trimmed();
}

// Whom a failed start left without a message, as the operator reads it.
QString recipientsOf(const QList<OutgoingMessage>& messages) {
    return messages.size() == 1 ? messages.first().number
                                : QStringLiteral("any of %1 numbers").arg(messages.size());
}

// Phones of one run, and runs of other senders, each stage their own copy of a file for the
// phone: one phone must never push the file another is writing.
QString stagingTag() {
    static std::atomic<int> devices{0};
    return QStringLiteral("%1-%2").arg(QCoreApplication::applicationPid()).arg(++devices);
}

} // namespace

SendOutcome judgeStartOutput(const QString& output) {
    // A start of the app always prints its intent; nothing at all means adb never ran.
    if (output.trimmed().isEmpty())
        return SendOutcome::of(Outcome::NotHandedOver,
                               QStringLiteral("adb gave no answer: the message did not reach the phone."));
    // adb says so before it reaches the phone: the start never left this computer.
    if (outputShowsLostDevice(output))
        return SendOutcome::of(Outcome::NotHandedOver, kStatusConnectionError);
    if (appDidNotStart(output))
        return SendOutcome::of(Outcome::NotHandedOver, kAppNotStarted);
    if (Find_Error_In_Stat_Activity(output))
        return SendOutcome::of(Outcome::Refused, startError(output));
    return SendOutcome::of(Outcome::HandedToPhone);
}

PhoneDevice::PhoneDevice(Operator& op, DataFolder folder, QString serial, Mode mode, Hooks hooks,
                         QString serialFilter)
    : m_op(op), m_folder(std::move(folder)), m_serial(std::move(serial)),
      m_serialFilter(std::move(serialFilter)), m_mode(mode), m_hooks(std::move(hooks)),
      m_stagingTag(stagingTag()) {}

QString PhoneDevice::staged(const QString& fileName) const {
    return m_folder.Created_Resource_Path() + QLatin1Char('/') + fileName + QLatin1Char('.') + m_stagingTag;
}

QString PhoneDevice::prepare(bool deliveryReports) {
    Q_UNUSED(deliveryReports); // the app sends by itself: the network's reports stay on the phone
    const AdbTarget target(m_serialFilter);
    QString tag;
    m_notConnected = !CheckConnection(tag, false, m_op, m_folder, PhoneQuery{m_serialFilter, {}});
    if (!m_notConnected) {
        Send_DEL_File_Command_To_Phone(); // nothing an earlier run copied there is sent again
        QString why;
        m_confirming = m_sentBox.open(&why);
        if (!m_confirming)
            stopConfirming(why);
        return {};
    }
    if (tag == QLatin1String("MORE"))
        return kMoreThanOnePhoneMessage; // the check has told the operator
    m_op.Show_MessageBox(kNoPhoneSelectedMessage);
    return kNoPhoneSelectedMessage;
}

SendOutcome PhoneDevice::send(const OutgoingMessage& message, std::stop_token stop) {
    // The phone takes a message in one start: a stop only cuts short the wait for its word.
    const AdbTarget target(m_serialFilter);
    QString output;
    if (m_mode == Mode::Classic)
        output = Send_AN_MSG_Command(message.number, message.text, false);
    else if (const std::optional<SendOutcome> early = startFromFile(message, output))
        return stamped(*early);
    return stamped(confirmed(judged(output, message.number), message, stop));
}

SendOutcome PhoneDevice::confirmed(SendOutcome handed, const OutgoingMessage& message,
                                   const std::stop_token& stop) {
    if (handed.outcome != Outcome::HandedToPhone)
        return handed;
    return confirmedAll({message}, stop, false).first();
}

QList<SendOutcome> PhoneDevice::confirmedAll(const QList<OutgoingMessage>& messages,
                                             const std::stop_token& stop, bool throughList) {
    QList<PhoneSentBox::Fate> fates(messages.size(), PhoneSentBox::Fate::NotConfirmed);
    if (m_confirming) {
        QList<std::pair<QString, QString>> handed;
        for (const OutgoingMessage& message : messages) {
            QString text = message.text;
            if (throughList) // the list file carries a line break as one mark, read back as LF
                text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
            handed.append({message.number, text});
        }
        // A list is sent one message after another: the wait grows with it.
        const Clock::Duration wait = kConfirmationWait + std::chrono::seconds(messages.size());
        QString why;
        fates = m_sentBox.confirmAll(
            handed, wait, [&stop] { return stop.stop_requested(); }, &why);
        if (fates.contains(PhoneSentBox::Fate::Unreadable))
            stopConfirming(why);
    }
    QList<SendOutcome> outcomes;
    for (const PhoneSentBox::Fate fate : std::as_const(fates))
        outcomes << (fate == PhoneSentBox::Fate::Sent
                         ? SendOutcome::of(Outcome::HandedToPhone, kStatusSentByPhone)
                     : fate == PhoneSentBox::Fate::Failed
                         ? SendOutcome::of(Outcome::NotSent, kStatusFailedInPhone)
                         : SendOutcome::of(Outcome::HandedToPhone, kStatusNotConfirmed));
    return outcomes;
}

void PhoneDevice::stopConfirming(const QString& why) {
    m_confirming = false;
    // Told once a run: every row from here on says it was not confirmed.
    m_op.Show_MessageBox(
        QStringLiteral("The phone does not let this computer read its messages, so what it did with each "
                       "message cannot be confirmed: those rows say \"%1\".\n\n%2")
            .arg(kStatusNotConfirmed, why));
}

std::optional<SendOutcome> PhoneDevice::startFromFile(const OutgoingMessage& message, QString& output) {
    const QString path = staged(kMessageFileName);
    if (QString why; !writeFileAtomically(path, message.text.toUtf8(), &why)) {
        // The phone would send whatever message file it holds: nothing is sent instead.
        Delete_File(path);
        return dataNotWritten(why);
    }
    const bool copied = copyToPhoneStorage(path, kMessageFileName, false, kUninterrupted);
    Delete_File(path);
    if (copied) {
        output = Send_AN_MSG_Command(message.number, QString(), false);
        return std::nullopt;
    }
    if (askAboutMessageCopy(message.number) == MessageCopyChoice::End) {
        call(m_hooks.stopRun);
        return SendOutcome::of(Outcome::NotHandedOver, kMessageNotCopied);
    }
    output = Send_AN_MSG_Command(message.number, message.text, false);
    return std::nullopt;
}

PhoneDevice::MessageCopyChoice PhoneDevice::askAboutMessageCopy(const QString& number) {
    if (m_hooks.messageCopyFailed)
        return m_hooks.messageCopyFailed(number);
    if (!m_textInStartCommand &&
        !m_op.Show_YES_NO_MessageBox(QStringLiteral(
            "The message could not be copied to the phone's storage.\n\nDo you want to send it, and every "
            "later message whose copy fails, with its text in the start command instead?")))
        return MessageCopyChoice::End;
    m_textInStartCommand = true;
    return MessageCopyChoice::TextInStartCommand;
}

PhoneDevice::ListCopyChoice PhoneDevice::askAboutListCopy() {
    if (m_hooks.listCopyFailed)
        return m_hooks.listCopyFailed();
    return m_op.Show_YES_NO_MessageBox(
               QStringLiteral("The list could not be copied to the phone's storage for single-shot "
                              "sending.\n\nDo you want to send the messages one by one instead?"))
               ? ListCopyChoice::OneByOne
               : ListCopyChoice::End;
}

SendOutcome PhoneDevice::judged(const QString& output, const QString& recipients) {
    SendOutcome outcome = judgeStartOutput(output);
    if (outcome.reason == kStatusConnectionError)
        m_op.Show_MessageBox(kStatusConnectionError);
    else if (outcome.outcome == Outcome::NotHandedOver && output.trimmed().isEmpty())
        m_op.Show_MessageBox(QStringLiteral("adb could not be started (%1); no message was sent to %2.")
                                 .arg(adbProgram(), recipients));
    else if (outcome.outcome == Outcome::NotHandedOver)
        m_op.Show_MessageBox(
            QStringLiteral("The companion app could not be started on the phone; no message "
                           "was sent to %1.\n\nSearch for the phone again so that the app is "
                           "installed.\n\n%2")
                .arg(recipients, output.trimmed()));
    return outcome;
}

SendOutcome PhoneDevice::dataNotWritten(const QString& why) {
    const QString text =
        QStringLiteral("Sending stopped: the message could not be written for the phone (%1).").arg(why);
    Show_NSLog_Message(text);
    call(m_hooks.stopRun);
    m_op.Show_MessageBox(text);
    return SendOutcome::of(Outcome::NotHandedOver, text);
}

std::optional<QList<SendOutcome>> PhoneDevice::sendBatch(const QList<OutgoingMessage>& messages,
                                                         std::stop_token stop) {
    const AdbTarget target(m_serialFilter);
    if (messages.isEmpty())
        return QList<SendOutcome>();
    const QString listPath = staged(kListFileName);
    // An empty list proves that the phone takes the file before anyone's number is written down.
    if (QString why; !writeFileAtomically(listPath, QByteArray(), &why))
        return QList<SendOutcome>(messages.size(), stamped(dataNotWritten(why)));
    if (!copyToPhoneStorage(listPath, kListFileName, false)) {
        Delete_File(listPath);
        switch (askAboutListCopy()) {
        case ListCopyChoice::OneByOne:
            m_mode = Mode::Standard;
            call(m_hooks.switchedToOneByOne);
            return std::nullopt;
        case ListCopyChoice::End: call(m_hooks.stopRun); return std::nullopt;
        case ListCopyChoice::ContinueAnyway:
            break; // the copy of the list itself is judged, and told, as it goes
        }
    }
    return handOverList(messages, stop);
}

std::optional<QList<SendOutcome>> PhoneDevice::handOverList(const QList<OutgoingMessage>& messages,
                                                            const std::stop_token& stop) {
    const QString listPath = staged(kListFileName);
    QByteArray content;
    for (const OutgoingMessage& message : messages)
        content += listFileLine(message.number, message.text);
    // The list reaches the phone only as written: a stale or cut file would text the wrong people.
    if (QString why; !writeFileAtomically(listPath, content, &why)) {
        Delete_File(listPath);
        return QList<SendOutcome>(messages.size(), stamped(dataNotWritten(why)));
    }
    SendOutcome outcome;
    if (!copyToPhoneStorage(listPath, kListFileName, false)) {
        // The phone holds the empty list: the app would send nothing.
        m_op.Show_MessageBox(kListNotCopied + QStringLiteral(" No message was sent."));
        outcome = SendOutcome::of(Outcome::NotHandedOver, kListNotCopied);
    } else {
        const QString output = ExecuteExternalFile(
            {QStringLiteral("shell"), QStringLiteral("am"), QStringLiteral("start"), QStringLiteral("-a"),
             QStringLiteral("android.intent.category.MAIN"), QStringLiteral("-n"), kCompanionActivity},
            kUninterrupted);
        // The app reads the file while it starts: the file stays for a while before it is removed.
        Clock::sleep(messages.size() < 11 ? 1s : 5s);
        outcome = judged(output, recipientsOf(messages));
    }
    Delete_File(listPath);
    Send_DEL_File_Command_To_Phone();
    // The phone took the list (the start is not cut short); a stop only ends the wait for its word.
    QList<SendOutcome> outcomes = outcome.outcome == Outcome::HandedToPhone
                                      ? confirmedAll(messages, stop, true)
                                      : QList<SendOutcome>(messages.size(), outcome);
    for (SendOutcome& each : outcomes)
        each = stamped(each);
    return outcomes;
}

void PhoneDevice::close() {
    const AdbTarget target(m_serialFilter);
    Send_DEL_File_Command_To_Phone();
}

SendOutcome PhoneDevice::stamped(SendOutcome outcome) const {
    outcome.device = m_serial;
    return outcome;
}

void PhoneDevice::call(const std::function<void()>& hook) const {
    if (hook)
        hook();
}
