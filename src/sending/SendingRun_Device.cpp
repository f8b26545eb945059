// One device's worker: it readies its device, then claims the run's items one at a time (or
// all at once for a device that takes batches), hands each over and records the outcome the
// moment the device answers, until nothing is left, Stop is asked or the device leaves.
#include "SendingRun.h"

#include "core/Clock.h"
#include "core/Guard.h"
#include "core/Log.h"
#include "core/TextUtils.h"
#include "core/WallClock.h"
#include "stores/SentItemFile.h"
#include "stores/TemplateFile.h"
#include "text/GsmAlphabet.h"
#include "text/NumberRules.h"
#include "text/SmsParts.h"

#include <QDateTime>
#include <QRandomGenerator>

#include <algorithm>

using namespace std::chrono_literals;

struct SendingRun::Worker {
    SendingDevice& device;
    QString name;
    std::stop_token stop;
    DelayedDeliveryPause* pause = nullptr;
    bool reportsRouted = false;
    int refusalsInARow = 0;
    QSet<QString> refusedNumbers; // of the refusals in a row
    QString waitNote;             // who waits for their send window, as last told
    qint64 restingUntil = 0;      // at its limits until then (as last told)
};

OutgoingMessage outgoingMessage(const QString& number, const QString& text, const RunSettings& settings) {
    const QString composed = SmsParts::withFooter(text, settings.footer, kMaxMessageLength);
    return {number, settings.plainPunctuation ? SmsParts::withPlainPunctuation(composed) : composed,
            settings.flash, settings.unicode};
}

OutgoingMessage SendingRun::outgoing(const SendingItem& item) const {
    return outgoingMessage(item.number, item.message, m_settings);
}

bool SendingRun::carries(const SendingDevice& device, const QString& text) const {
    const OutgoingMessage message = outgoingMessage({}, text, m_settings);
    if (device.canCarry(message))
        return true;
    if (m_devicesToCome > 0 || m_adding > 0)
        return false; // one still to open may carry it
    std::lock_guard lock(m_devicesMutex);
    return std::none_of(m_devices.cbegin(), m_devices.cend(), [&](const SendingDevice* other) {
        return other != &device && other->canCarry(message);
    });
}

void SendingRun::runDevice(const std::shared_ptr<SendingDevice>& device) {
    Worker worker{*device, device->name(), m_stop.get_token(), nullptr, false, 0, {}, {}};
    Guard::run("SendingRun::sendFrom", [&] { sendFrom(worker); });
    {
        std::lock_guard lock(m_devicesMutex);
        m_devices.removeOne(device.get());
    }
    device->close();
    --m_activeDevices;
    release(device->endOfRunNotice());
}

void SendingRun::sendFrom(Worker& worker) {
    if (worker.stop.stop_requested() || !m_record->anyWaitingOrSending() || !m_record->anyWaiting())
        return;
    toWindow(&SendingRun::activity, 0);
    if (const QString refusal = worker.device.prepare(m_settings.deliveryReports); !refusal.isEmpty()) {
        // Its messages wait for the other devices.
        leave(worker.name, QStringLiteral("Left the run: %1.").arg(refusal));
        return;
    }
    keepReceived(worker, true); // what waited on the device since it was last read
    m_record->setDeviceKey(worker.name, worker.device.receiverKey());
    // The run goes on while a device may still hear of its messages' delivery.
    worker.reportsRouted = m_settings.deliveryReports && worker.device.deliveryReports();
    struct Reporting {
        std::atomic<int>& devices;
        bool on;
        ~Reporting() {
            if (on)
                --devices;
        }
    } reporting{m_reportingDevices, worker.reportsRouted};
    if (worker.reportsRouted)
        ++m_reportingDevices;
    if (m_settings.deliveryReports && !worker.reportsRouted)
        leave(worker.name, worker.device.noDeliveryReportsReason());

    DelayedDeliveryPause pause(m_settings.schedule, m_pause, m_pauseCounter, m_pauseHooks, worker.stop);
    worker.pause = &pause;
    if (m_settings.batch)
        sendBatch(worker);
    const bool failed = !sendEach(worker);
    if (worker.reportsRouted && !failed)
        awaitReports(worker);
    if (!failed)
        keepReceived(worker, true);
    for (int index : m_record->endReportWait(worker.name))
        show(index, false);
    checkRecord();
}

bool SendingRun::sendEach(Worker& worker) {
    const auto excluded = [this](const QString& number) {
        return m_settings.exclusion && m_settings.excludedNumbers.contains(number);
    };
    const auto finishedOnTheWay = [this](const RunRecord::Claim& claim) {
        checkRecord();
        show(claim.index, true);
    };
    while (m_record->anyWaitingOrSending() && !worker.stop.stop_requested()) {
        if (m_pause.Pause_Timer_Running) {
            Clock::sleep(1s);
            continue;
        }
        if (!waitWhileHeld(worker.stop))
            break;
        if (restsForItsLimits(worker))
            continue; // its items go to the other devices meanwhile
        const auto claim = m_record->claimNext(
            worker.name, m_settings.skipDuplicates, excluded, finishedOnTheWay, devicesInRun() <= 1,
            [&](const QString& text) { return carries(worker.device, text); });
        if (!claim) {
            checkRecord(); // the claim itself may be what could not be kept
            if (QString note = m_record->waitNote(); note != worker.waitNote) {
                worker.waitNote = note;
                toWindow(&SendingRun::recipientsWaiting, note);
            }
            // A retry waits for its pause, or the other devices hold the last items. The device
            // stays until every item is finished: what another holds may come back to wait
            // (refused, or never handed over), and it must find a device still in the run.
            Clock::sleepUnless(1s, [&worker] { return worker.stop.stop_requested(); });
            continue;
        }
        bool ok = true;
        if (!Guard::run("SendingRun::sendOne", [&] { ok = sendOne(worker, *claim); })) {
            // The device ends here; its item does not stay "Sending..." for ever.
            SendOutcome broken = SendOutcome::of(Outcome::LineFailed, kStatusConnectionError);
            broken.device = worker.name;
            Guard::run("SendingRun::sendOne", [&] {
                if (m_record->finish(claim->index, broken, doneOn(worker), false)) {
                    checkRecord();
                    show(claim->index, true);
                }
            });
            leave(worker.name, QStringLiteral("Left the run: %1").arg(kStatusConnectionError));
            return false;
        }
        if (!ok)
            return false;
    }
    return true;
}

// A device at one of its limits rests (told once each time it reaches them) and looks again
// every second.
bool SendingRun::restsForItsLimits(Worker& worker) {
    const DeviceLimits limits = m_settings.deviceLimits.value(worker.device.receiverKey(), m_settings.limits);
    if (!limits.counted())
        return false;
    const qint64 until = m_record->limitedUntil(worker.name, limits, ::Clock::nowMs());
    if (until == 0) {
        worker.restingUntil = 0;
        return false;
    }
    if (worker.restingUntil == 0)
        toWindow(&SendingRun::deviceNotice, worker.name,
                 QStringLiteral("At its limit of messages; resting until %1.")
                     .arg(QDateTime::fromMSecsSinceEpoch(until).toString(QStringLiteral("HH:mm:ss"))));
    worker.restingUntil = until;
    Clock::sleepUnless(1s, [&worker] { return worker.stop.stop_requested(); });
    return true;
}

// The random rest between two messages of a device, when the settings ask for one.
void SendingRun::restBetweenMessages(Worker& worker) {
    const DeviceLimits l = m_settings.deviceLimits.value(worker.device.receiverKey(), m_settings.limits);
    if (l.gapMax <= 0)
        return;
    const int seconds = l.gapMin + int(QRandomGenerator::global()->bounded(l.gapMax - l.gapMin + 1));
    Clock::sleepUnless(std::chrono::seconds(seconds), [&worker] { return worker.stop.stop_requested(); });
}

QString SendingRun::doneOn(const Worker& worker) { return QStringLiteral("Done (%1)").arg(worker.name); }

bool SendingRun::sendOne(Worker& worker, const RunRecord::Claim& claim) {
    if (!waitWhileHeld(worker.stop)) {
        m_record->giveBack(claim.index, {}, {}); // never handed over: it is marked when the run ends
        show(claim.index, false);
        return true;
    }
    show(claim.index, false);
    toWindow(&SendingRun::activity, 100);
    m_record->handing(claim.index, worker.name);
    if (!m_record->failure().isEmpty()) {
        m_record->giveBack(claim.index, {}, {});
        checkRecord();
        return true;
    }
    const OutgoingMessage message = outgoing(claim.item);
    worker.device.setPartProgress([this, index = claim.index](int part, int parts) {
        toWindow(&SendingRun::partSending, index, part, parts);
    });
    SendOutcome outcome = worker.device.send(message, worker.stop);
    outcome.device = worker.name;
    if (outcome.outcome == Outcome::NotHandedOver) {
        // It certainly did not leave: another device takes it without it costing an attempt.
        m_record->giveBack(claim.index, outcome.text(), worker.name);
        checkRecord();
        show(claim.index, false);
        leave(worker.name,
              outcome.reason.isEmpty() || outcome.reason == kStatusConnectionError
                  ? QStringLiteral("Left the run: the device stopped answering (%1).").arg(outcome.text())
                  : QStringLiteral("Left the run: %1").arg(outcome.text()));
        return false;
    }
    return afterAnswer(worker, claim, message, outcome);
}

bool SendingRun::afterAnswer(Worker& worker, const RunRecord::Claim& claim, const OutgoingMessage& message,
                             const SendOutcome& outcome) {
    const bool refused = outcome.retryable();
    if (refused) {
        ++worker.refusalsInARow;
        worker.refusedNumbers.insert(claim.item.number);
    } else {
        worker.refusalsInARow = 0;
        worker.refusedNumbers.clear();
    }
    // A device refused message after message (no credit, barred SIM) leaves the run; what it
    // refused goes to the others.
    const bool givesUp = refused && worker.refusalsInARow >= kRefusalsBeforeADeviceLeaves &&
                         worker.refusedNumbers.size() >= kRefusalsBeforeADeviceLeaves;
    const bool otherDevices = devicesInRun() > 1;
    // The outcome is kept before anything else happens: a crash in what follows must not
    // leave a message the network took as of unknown fate.
    if (refused && !worker.stop.stop_requested() &&
        (claim.item.attempts <= m_settings.retries || (givesUp && otherDevices))) {
        m_record->retryLater(claim.index, outcome,
                             std::chrono::steady_clock::now() +
                                 Clock::scaled(kRetryPause * claim.item.attempts));
        checkRecord();
        show(claim.index, false);
    } else if (!finishSent(worker, claim, message, outcome)) {
        return !outcome.deviceFailed();
    }
    // A device that took a message and never answered is asked once more: silent again, it
    // has fallen silent, and nothing more is handed to it.
    if (outcome.outcome == Outcome::Unknown && !worker.device.stillAnswers()) {
        leave(worker.name,
              QStringLiteral("Left the run: the device fell silent after taking a message (marked \"%1\").")
                  .arg(kStatusUnknown));
        return false;
    }
    Clock::sleepUnless(1s, [&worker] { return worker.stop.stop_requested(); });
    restBetweenMessages(worker);
    applyReports(worker);
    keepReceived(worker, false);
    if (givesUp) {
        leave(worker.name, QStringLiteral("Left the run after %1 refusals in a row (last: %2).")
                               .arg(worker.refusalsInARow)
                               .arg(outcome.text()));
        return false;
    }
    const bool ok = !outcome.deviceFailed();
    worker.pause->afterMessageFinished(m_record->allFinished(), !ok, m_record->anyWaitingOrSending());
    if (!ok)
        leave(worker.name, QStringLiteral("Left the run: %1").arg(outcome.text()));
    return ok;
}

bool SendingRun::finishSent(Worker& worker, const RunRecord::Claim& claim, const OutgoingMessage& message,
                            const SendOutcome& outcome) {
    if (!m_record->finish(claim.index, outcome, doneOn(worker), worker.reportsRouted))
        return false;
    checkRecord();
    // A modem codes what the run hands it; a phone chooses its coding itself.
    if (m_settings.road == kGsmRoad && !m_settings.unicode && Check_UNICODE_Message(message.text) &&
        outcome.delivered())
        ++m_sentAsUnicode;
    show(claim.index, true);
    QString why;
    if (m_settings.saveSentItems && m_settings.dataFolder &&
        !appendSentItem(*m_settings.dataFolder, m_settings.sentItemsPath,
                        {claim.item.number, message.text, m_date, outcome.text()}, &why))
        stopForData(QStringLiteral("Sending stopped: the sent items could not be saved (%1).")
                        .arg(why.isEmpty() ? m_settings.sentItemsPath : why));
    if (m_templates && !Trim_Str(message.text).isEmpty())
        m_templates->appendTemplateIfNew(message.text);
    return true;
}

void SendingRun::sendBatch(Worker& worker) {
    QList<RunRecord::Claim> claims;
    const auto excluded = [this](const QString& number) {
        return m_settings.exclusion && m_settings.excludedNumbers.contains(number);
    };
    const auto finishedOnTheWay = [this](const RunRecord::Claim& claim) {
        checkRecord();
        show(claim.index, true);
    };
    while (claims.size() < m_batchShare) {
        const auto claim =
            m_record->claimNext(worker.name, m_settings.skipDuplicates, excluded, finishedOnTheWay, true);
        if (!claim)
            break;
        claims << *claim;
    }
    if (claims.isEmpty()) {
        checkRecord();
        return;
    }
    QList<OutgoingMessage> messages;
    for (const RunRecord::Claim& claim : claims) {
        m_record->handing(claim.index, worker.name);
        show(claim.index, false);
        messages << outgoing(claim.item);
    }
    toWindow(&SendingRun::activity, 100);
    std::optional<QList<SendOutcome>> outcomes;
    if (m_record->failure().isEmpty() && waitWhileHeld(worker.stop))
        outcomes = worker.device.sendBatch(messages, worker.stop);
    if (outcomes && outcomes->size() != claims.size()) {
        // The device took the batch but cannot say what became of each message: none is sent
        // again, for that could text somebody twice.
        Show_NSLog_Message(QStringLiteral("%1: %2 outcomes for a batch of %3")
                               .arg(worker.name)
                               .arg(outcomes->size())
                               .arg(claims.size()));
        outcomes = QList<SendOutcome>(claims.size(), SendOutcome::of(Outcome::Unknown));
    }
    if (!outcomes) {
        // Not taken as a batch: each waits to go on its own (or to be marked when the run ends).
        for (const RunRecord::Claim& claim : claims) {
            m_record->giveBack(claim.index, QStringLiteral("not taken as a batch"), {});
            show(claim.index, false);
        }
        checkRecord();
        return;
    }
    for (qsizetype i = 0; i < claims.size(); ++i) {
        SendOutcome outcome = outcomes->at(i);
        outcome.device = worker.name;
        finishSent(worker, claims.at(i), messages.at(i), outcome);
    }
}

void SendingRun::applyReports(Worker& worker) {
    for (const DeliveryReport& report : worker.device.takeDeliveryReports()) {
        const std::optional<int> index = m_record->report(worker.name, report);
        if (!index) {
            Show_NSLog_Message(QStringLiteral("%1: a report for reference %2 matches no message of this run")
                                   .arg(worker.name)
                                   .arg(report.reference));
            continue;
        }
        checkRecord();
        show(*index, false);
    }
}

// Replies that reached the device go to the record; the device forgets them only once they
// are kept, so a failure leaves them where they were, to be read again.
void SendingRun::keepReceived(Worker& worker, bool now) {
    const QList<IncomingMessage> received = worker.device.takeReceived(now);
    if (!received.isEmpty() && m_record->keepReceived(worker.device.receiverKey(), received))
        worker.device.forgetReceived(received);
    if (const QString notice = worker.device.takeReceivingNotice(); !notice.isEmpty())
        toWindow(&SendingRun::deviceNotice, worker.name, notice);
}

void SendingRun::awaitReports(Worker& worker) {
    const auto until = std::chrono::steady_clock::now() + Clock::scaled(kDeliveryReportWait);
    while (!worker.stop.stop_requested() && m_record->awaitingReports(worker.name) > 0 &&
           std::chrono::steady_clock::now() < until) {
        toWindow(&SendingRun::waitingForReports, m_record->awaitingReports());
        worker.device.listenForDeliveryReports(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::scaled(std::chrono::seconds(1))));
        applyReports(worker);
    }
    toWindow(&SendingRun::waitingForReports, 0);
}
