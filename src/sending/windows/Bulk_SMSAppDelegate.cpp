#include "Bulk_SMSAppDelegate.h"

#include "android/AndroidDevices.h"
#include "android/PhoneDevice.h"
#include "android/windows/Android_TroubleShooting.h"
#include "android/windows/Connection_Info.h"
#include "core/AppState.h"
#include "core/Operator.h"
#include <utility>

Bulk_SMSAppDelegate::Bulk_SMSAppDelegate(Operator& op, DataFolder folder, DefaultCountry* country,
                                         SpreadsheetLoads* spreadsheets, QObject* parent)
    : BulkSmsWindow(Kind::Android, op, std::move(folder), country, spreadsheets, parent),
      m_devices(op, dataFolder(), selection(), m_phone), m_progress(op),
      m_countdown(PauseCountdown::Variant::AndroidWindow,
                  [this](const QString& text) {
                      m_progress.update([text](AndroidSendingProgress::State& s) { s.pauseText = text; });
                  }),
      m_busy([this] {
          m_progress.update([](AndroidSendingProgress::State& s) { s.busy = nextActivityValue(s.busy); });
      }),
      m_scheduledSend(dataFolder(), kAndroidRoad,
                      {[this] { return m_sendInProgress.load(); },
                       [this] { return !selectedPhones().isEmpty(); },
                       [this](const CampaignToSend& due) { startRun({}, due); }}),
      m_replies(
          op, dataFolder(), kAndroidRoad,
          [this] {
              QStringList names;
              for (const TickedPhone& phone : selectedPhones())
                  names << phone.serial + QLatin1Char('\n') + phone.caption;
              return names;
          },
          [this] {
              // Only the inbox is read: the phone is never readied to send, nothing is asked.
              QList<DeviceOpener> openers;
              for (const TickedPhone& phone : selectedPhones())
                  openers << [&op = this->op(), folder = dataFolder(),
                              phone](std::stop_token) -> std::unique_ptr<SendingDevice> {
                      return std::make_unique<PhoneDevice>(op, folder, phone.caption,
                                                           PhoneDevice::Mode::Standard, PhoneDevice::Hooks{},
                                                           phone.serial);
                  };
              return openers;
          },
          [this] { return m_sendInProgress.load(); }) {
    connect(this, &MainWindowController::changed, &m_replies, &WindowReplies::update);
}

Bulk_SMSAppDelegate::~Bulk_SMSAppDelegate() {
    m_replies.hold();
    m_progress.requestStop();
    if (m_run)
        m_run->stop();
    m_busy.stop();
    m_countdown.endCountdown();
    m_run = nullptr;
    m_campaign.reset(); // its threads end here
}

QString Bulk_SMSAppDelegate::title() const { return kApplicationName + QStringLiteral(" - Android Phone"); }

int Bulk_SMSAppDelegate::runConnectionSteps() {
    Connection_Info steps(op());
    return op().runModal(steps);
}

void Bulk_SMSAppDelegate::windowDidLoad() {
    BulkSmsWindow::windowDidLoad();
    resetSendingOptions();
}

void Bulk_SMSAppDelegate::resetSendingOptions() {
    m_singleShot = false;
    m_classic = false;
    m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    setDelayedDeliveryEnabled(true);
    emit changed();
}

void Bulk_SMSAppDelegate::Single_Shot_Radio() {
    m_singleShot = true;
    m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::SingleShot);
    Delayed_Delivery_Chk(false);
    setDelayedDeliveryEnabled(false);
    emit changed();
}

void Bulk_SMSAppDelegate::One_By_One_Radio() {
    m_singleShot = false;
    if (!m_classic && m_phone.AND_SMS_sending_mode != int(AndroidSendingMode::Classic))
        m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    else
        m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::Classic);
    m_classic = m_phone.AND_SMS_sending_mode == int(AndroidSendingMode::Classic);
    setDelayedDeliveryEnabled(true);
    emit changed();
}

void Bulk_SMSAppDelegate::Standard_Radio() {
    m_classic = false;
    m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    emit changed();
}

void Bulk_SMSAppDelegate::Classic_Radio() {
    m_classic = true;
    m_phone.AND_SMS_sending_mode = int(AndroidSendingMode::Classic);
    emit changed();
    op().Show_MessageBox(QStringLiteral("Information:\n\nYou have selected 'Classic Mode' for sending "
                                        "Messages.\n\nSome Devices may not support "
                                        "non-English (Unicode) or Special character based SMS using this "
                                        "mode.\n\nIf you are facing difficulties in "
                                        "sending SMS using 'Classic Mode', please select 'Standard Mode'."));
}

void Bulk_SMSAppDelegate::Test_Btn() {
    const RepliesHeld held(m_replies); // its trial messages go through the phone
    Android_TroubleShooting window(op(), dataFolder(), m_phone, selection());
    window.open(deviceCaption());
    op().runModal(window);
    showSendingMode();
}

void Bulk_SMSAppDelegate::showSendingMode() {
    const int mode = m_phone.AND_SMS_sending_mode;
    m_singleShot = mode == int(AndroidSendingMode::SingleShot);
    m_classic = mode == int(AndroidSendingMode::Classic);
    if (m_singleShot)
        Delayed_Delivery_Chk(false);
    setDelayedDeliveryEnabled(!m_singleShot);
    emit changed();
}

void Bulk_SMSAppDelegate::Device_Details_Btn() {
    if (deviceCaption() == kNoDeviceSelectedCaption || m_phone.AND_Sel_Dev_Details.isEmpty())
        op().Show_MessageBox(kNoPhoneSelectedMessage);
    else
        op().Show_MessageBox(m_phone.AND_Sel_Dev_Details);
}

void Bulk_SMSAppDelegate::Check_Device_Status_Btn() {
    QString status;
    WorkerThread reader(QStringLiteral("adb-status"));
    reader.start([&status, query = PhoneQuery{m_phone.serialFilter, {}}](std::stop_token) {
        status = Get_Android_Device_Status(query);
    });
    reader.join();
    op().Show_MessageBox(status);
}

void Bulk_SMSAppDelegate::openDeviceSearchWindow(std::function<void(bool)> reported) {
    m_devices.Open_Ph_List_Wnd(std::move(reported));
}
