// The Android window's Send button: its checks in order, then a run of the sending engine
// through the chosen phone (single-shot as one batch, else one message at a time), with the
// progress window, Stop, delayed delivery, sent items and templates.
#include "Bulk_SMSAppDelegate.h"
#include "SendingItemRows.h"
#include "SendingReportExport.h"
#include "android/AndroidDevices.h"
#include "android/PhoneDevice.h"
#include "android/windows/OneByOneCopyFailure.h"
#include "android/windows/SingleShotCopyFailure.h"
#include "core/DataFolder.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "list/NumberList.h"
#include "text/SmsParts.h"

#include <algorithm>

namespace {

const QString kInitializing = QStringLiteral("Initializing Mobile device to send sms...");
const QString kInProgress = QStringLiteral("Message sending is in progress...");
const QString kCompleted = QStringLiteral("Message Sending Process Completed.");
const QString kStoppedRun = QStringLiteral("Message sending was stopped.");
const QString kPhoneLeft = QStringLiteral("Message sending ended: a phone left the run.");
const QString kNoPhone = QStringLiteral("Message sending failed: no phone was connected.");

// Whether any phone of a run was found: the last of them not connected tells the window.
struct PhonesFound {
    explicit PhonesFound(int phones) : unanswered(phones) {}
    std::atomic<int> unanswered;
    std::shared_ptr<std::atomic<bool>> noneConnected;
};

// A phone of one run.
class RunPhone : public PhoneDevice {
public:
    RunPhone(Operator& op, const DataFolder& folder, const QString& name, Mode mode, Hooks hooks,
             const QString& serialFilter, std::shared_ptr<PhonesFound> found)
        : PhoneDevice(op, folder, name, mode, std::move(hooks), serialFilter), m_found(std::move(found)) {}
    QString prepare(bool deliveryReports) override {
        QString why = PhoneDevice::prepare(deliveryReports);
        if (this->notConnected() && --m_found->unanswered == 0)
            *m_found->noneConnected = true;
        return why;
    }

private:
    std::shared_ptr<PhonesFound> m_found;
};

// Whether some message did not go out (numbers left out on purpose are no failures).
bool leftUnsent(const QList<SendingItem>& items) {
    return std::any_of(items.cbegin(), items.cend(), [](const SendingItem& item) {
        return !item.delivered() && !leftOutOnPurpose(item.status);
    });
}

} // namespace

// The questions Send and Send later ask of the list and its texts, in order: false when one
// of them ends it (a list without messages is refused: a phone sends none).
bool Bulk_SMSAppDelegate::askSendQuestions() {
    if (!listReadyToSend())
        return false;
    captureCurrentMessage();
    if (!Check_Delayed_Delivery_Choices() || !Check_Quiet_Hours())
        return false;
    if (!Send_Msg_Info_Check())
        return false;
    if (Blank_Msg_Chk()) {
        op().Show_MessageBox(kBlankListRefusal);
        return false;
    }
    return true;
}

void Bulk_SMSAppDelegate::Send_SMS_Btn() {
    if (m_sendInProgress)
        return;
    if (selection().sel_port_name_str.isEmpty() || deviceCaption() == kNoDeviceSelectedCaption) {
        op().Show_MessageBox(kNoPhoneSelectedMessage);
        return;
    }
    if (!askSendQuestions())
        return;
    // The rows as they will go, the composer's text applied: nobody the last run reached is
    // texted again without a word.
    if (!m_carried.resuming() && !m_lastRun.choose(op(), list().records()))
        return;
    if (!m_carried.resuming() && !unfinishedRunDiscarded(op(), dataFolder(), kAndroidRoad))
        return;
    if (!Fill_Exclusion_Num_List())
        return; // its people would be messaged
    startRun(m_carried.resuming() ? list().records() : m_lastRun.chosenRows(), std::nullopt);
}

void Bulk_SMSAppDelegate::startRun(const RecordList& records,
                                   const std::optional<CampaignToSend>& scheduled) {
    if (m_run)
        m_run->join();
    m_attached = scheduled.has_value();
    m_sendInProgress = true;
    m_replies.update(); // the phones are the run's from now on
    dataFolder().Check_Path_And_Create_Files();
    m_runEnd = RunEnd::None;
    m_sentCount = 0;
    m_deviceLeft = false;
    m_endedByOperator = false;
    m_notConnected = std::make_shared<std::atomic<bool>>(false);
    m_progress.clearStop();
    m_countdown.Pause_Timer_Running = false;
    // A scheduled campaign is sent from the store: the list and the operator's typing stay.
    const int total = scheduled ? int(scheduled->total) : int(records.size());
    if (!m_attached) {
        setNumberField(QString());
        emit sendingRowShown(m_lastRun.listRowOf(0));
    }
    m_progress.start([&](AndroidSendingProgress::State& s) {
        s.visible = true;
        s.singleShot = m_singleShot;
        s.total = total;
        s.totalText = QString::number(total);
        s.statusText = kInitializing;
    });
    m_busy.startTimerThread();
    DelayedDeliveryPause::Hooks hooks;
    hooks.stopActivity = [this] { m_busy.stop(); };
    hooks.startActivity = [this] { m_busy.startTimerThread(); };
    Campaign campaign = scheduled ? Campaign{runSettingsOf(*scheduled), {}, 0, scheduled->id}
                                  : Campaign{runSettings(), {}, m_carried.take()};
    campaign.rows.reserve(records.size());
    for (const Record& record : records)
        campaign.rows.append({recipientNumber(record), record.value(kMessageKey)});
    m_campaign = std::make_unique<CampaignRun>(dataFolder(), std::move(campaign), phoneOpeners(), op(),
                                               m_countdown, hooks);
    m_run = &m_campaign->run();
    watch(*m_run);
    m_progress.setRunControls([this](bool on) { m_run->hold(on); }, [this] { m_run->stop(); });
    m_campaign->start();
}

RunSettings Bulk_SMSAppDelegate::runSettings() {
    RunSettings settings;
    settings.schedule = delaySchedule();
    settings.skipDuplicates = skipDuplicates();
    settings.exclusion = exclusion();
    if (settings.exclusion)
        for (const Record& record : exclusionSet().records())
            settings.excludedNumbers.insert(recipientNumber(record));
    settings.saveSentItems = saveSentItems();
    settings.saveTemplates = saveTemplates();
    settings.sentItemsPath = dataFolder().SentItemAnd_File_Path();
    settings.batch = m_singleShot;
    settings.footer = footer();
    settings.road = kAndroidRoad;
    settings.loadedDevice = selection().sel_port_name_str;
    settings.country = defaultCountry();
    settings.sendWindow = sendWindow();
    return settings;
}

QList<DeviceOpener> Bulk_SMSAppDelegate::phoneOpeners() {
    const PhoneDevice::Mode mode = m_phone.AND_SMS_sending_mode == int(AndroidSendingMode::Classic)
                                       ? PhoneDevice::Mode::Classic
                                       : PhoneDevice::Mode::Standard;
    PhoneDevice::Hooks hooks;
    hooks.stopRun = [this] {
        m_endedByOperator = true;
        m_progress.requestStop();
    };
    hooks.switchedToOneByOne = [this] {
        MainThread::invokeAndWait([this] {
            One_By_One_Radio();
            Standard_Radio();
        });
    };
    hooks.listCopyFailed = [this] {
        SingleShotCopyFailure dialog;
        const int code = op().runModal(dialog);
        return code == SingleShotCopyFailure::kOneByOne ? PhoneDevice::ListCopyChoice::OneByOne
               : code == SingleShotCopyFailure::kEnd    ? PhoneDevice::ListCopyChoice::End
                                                        : PhoneDevice::ListCopyChoice::ContinueAnyway;
    };
    // The dialog's "for all" box holds for this send, on every phone of it.
    auto textInStartCommandForAll = std::make_shared<std::atomic<bool>>(false);
    hooks.messageCopyFailed = [this, textInStartCommandForAll](const QString& number) {
        if (*textInStartCommandForAll)
            return PhoneDevice::MessageCopyChoice::TextInStartCommand;
        OneByOneCopyFailure dialog(number);
        if (op().runModal(dialog) != 1)
            return PhoneDevice::MessageCopyChoice::End;
        if (dialog.forAll())
            *textInStartCommandForAll = true;
        return PhoneDevice::MessageCopyChoice::TextInStartCommand;
    };
    const QList<TickedPhone> phones = selectedPhones();
    auto found = std::make_shared<PhonesFound>(int(phones.size()));
    found->noneConnected = m_notConnected;
    QList<DeviceOpener> openers;
    for (const TickedPhone& phone : phones)
        openers.append([this, mode, hooks, phone, found](std::stop_token) -> std::unique_ptr<SendingDevice> {
            return std::make_unique<RunPhone>(op(), dataFolder(), phone.caption, mode, hooks, phone.serial,
                                              found);
        });
    return openers;
}

QList<TickedPhone> Bulk_SMSAppDelegate::selectedPhones() const {
    if (selection().sel_port_name_str.isEmpty() || deviceCaption() == kNoDeviceSelectedCaption)
        return {};
    // Ticked phones are each addressed by serial; else the one phone found (within --serial).
    QList<TickedPhone> phones = m_phone.phones;
    if (phones.isEmpty())
        phones.append({m_phone.serialFilter, selection().sel_port_name_str});
    return phones;
}

void Bulk_SMSAppDelegate::watch(SendingRun& run) {
    connect(&run, &SendingRun::loaded, this, [this](const QList<SendingItem>& loaded) {
        // A campaign taken up from the store loads nothing: its items are the store's.
        const QList<SendingItem> items = loaded.isEmpty() && m_attached ? m_run->record().all() : loaded;
        RecordList rows;
        rows.reserve(items.size());
        for (const SendingItem& item : items)
            rows << itemRecord(item);
        m_progress.showRows(rows);
    });
    connect(&run, &SendingRun::itemChanged, this, &Bulk_SMSAppDelegate::showItem);
    connect(&run, &SendingRun::itemsStopped, this,
            [this](const QList<int>& indexes, const QList<SendingItem>& items) {
                for (qsizetype i = 0; i < indexes.size(); ++i)
                    m_progress.showRow(indexes.at(i), itemRecord(items.at(i)));
            });
    connect(&run, &SendingRun::sendingStarted, this, [this] {
        m_progress.update([](AndroidSendingProgress::State& s) {
            s.stopEnabled = true;
            s.statusText = kInProgress;
        });
    });
    connect(&run, &SendingRun::deviceNote, this, [this](const QString& phone, const QString& note) {
        m_deviceLeft = true;
        m_progress.phoneNote(phone, note);
    });
    connect(&run, &SendingRun::deviceNotice, this,
            [this](const QString& phone, const QString& notice) { m_progress.phoneNotice(phone, notice); });
    connect(&run, &SendingRun::recipientsWaiting, this, [this](const QString& note) {
        m_progress.update([note](AndroidSendingProgress::State& s) { s.waiting = note; });
    });
    connect(&run, &SendingRun::devicesReleased, this, &Bulk_SMSAppDelegate::afterRun);
    m_progress.setSendRest([this] {
        m_progress.Close_Btn();
        m_lastRun.sendNotYetSentNext();
        Send_SMS_Btn();
    });
    m_progress.setReportExport([this] {
        exportSendingReport(op(), itemReport(m_run->record().all()), [this](bool shown) {
            m_progress.update([shown](AndroidSendingProgress::State& s) { s.pleaseWait = shown; });
        });
    });
}

void Bulk_SMSAppDelegate::showItem(int index, const SendingItem& item, bool counted) {
    m_progress.showRow(index, itemRecord(item));
    const int total = m_progress.state().total;
    if (item.useStatus == UseStatus::Sending) {
        if (!m_attached)
            emit sendingRowShown(m_lastRun.listRowOf(index));
        // The phone sends a long message by itself: its parts are counted, not followed.
        const int parts = SmsParts::costOf(item.message, false).parts;
        m_progress.phoneSending(
            item.usePort, parts > 1 ? QStringLiteral("%1 (a message of %2 parts)").arg(item.number).arg(parts)
                                    : item.number);
        m_progress.update([&](AndroidSendingProgress::State& s) {
            s.done = index + 1;
            s.counterText = QStringLiteral("%1 / %2 Message").arg(index + 1).arg(total);
            s.currentText = item.number;
        });
        return;
    }
    if (!counted)
        return;
    if (leftOutOnPurpose(item.status)) {
        const QString note = item.number + QLatin1Char(' ') + QStringLiteral("is ") + item.status;
        m_progress.update([note](AndroidSendingProgress::State& s) { s.currentText = note; });
    } else if (item.delivered()) {
        ++m_sentCount;
    }
}

void Bulk_SMSAppDelegate::afterRun() {
    m_busy.stop();
    m_countdown.endCountdown();
    const QString failure = m_run->dataFailure();
    const bool stopped = m_progress.stopRequested() || m_run->stopRequested();
    if (!failure.isEmpty())
        m_runEnd = RunEnd::DataNotWritten;
    else if (*m_notConnected)
        m_runEnd = RunEnd::NotConnected;
    else if (m_endedByOperator && m_singleShot && m_sentCount == 0)
        m_runEnd = RunEnd::Abandoned;
    else if (stopped)
        m_runEnd = RunEnd::Stopped;
    else if (m_deviceLeft && leftUnsent(m_run->record().all()))
        m_runEnd = RunEnd::DeviceError; // else the other phones sent everything it left
    else
        m_runEnd = RunEnd::Completed;
    const QList<SendingItem> all = m_run->record().all();
    // A run none of whose messages reached a phone (its list copy refused, say) is not "Completed":
    // why was told as it happened.
    const bool anyReached = std::any_of(all.cbegin(), all.cend(), [](const SendingItem& item) {
        const RowFate fate = rowFate(item);
        return fate != RowFate::NotSent && fate != RowFate::Passed;
    });
    if (m_runEnd == RunEnd::Completed && !anyReached && !all.isEmpty())
        m_runEnd = RunEnd::NothingReached;
    // A scheduled campaign's recipients are not the list's rows: the list's last run stays.
    if (!m_attached)
        m_lastRun.remember(all, list());
    const int notYetSent = m_attached ? 0 : notYetSentCount(all);
    m_progress.update([notYetSent](AndroidSendingProgress::State& s) {
        s.sendRestText = notYetSent > 0 ? notYetSentOffer(notYetSent) : QString();
    });
    m_progress.finish(!failure.isEmpty()                   ? failure
                      : m_runEnd == RunEnd::Completed      ? kCompleted
                      : m_runEnd == RunEnd::NotConnected   ? kNoPhone
                      : m_runEnd == RunEnd::DeviceError    ? kPhoneLeft
                      : m_runEnd == RunEnd::Stopped        ? stoppedSummary(all)
                      : m_runEnd == RunEnd::NothingReached ? QStringLiteral("No message reached the phone.")
                                                           : kStoppedRun);
    m_campaign->end();
    if (!failure.isEmpty())
        op().Show_MessageBox(failure);
    else if (m_runEnd == RunEnd::Completed && m_run->record().size() > 0)
        op().Show_MessageBox(kCompleted);
    m_sendInProgress = false;
    m_replies.update();
}

void Bulk_SMSAppDelegate::waitForSend() {
    // The join returns once the run's threads have ended and what they handed over, its end
    // (afterRun) among it, has run.
    if (m_run)
        m_run->join();
}
