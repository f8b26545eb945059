#include "Bulk_SMSAppDelegate.h"

#include "android/AndroidDevices.h"
#include "android/AndroidState.h"
#include "android/Android_Ph_List_Wnd.h"
#include "android/Android_TroubleShooting.h"
#include "android/Connection_Info.h"
#include "core/AppState.h"
#include "core/Operator.h"

Bulk_SMSAppDelegate::Bulk_SMSAppDelegate(Operator& op, QObject* parent)
    : BulkSmsWindow(Kind::Android, op, parent), m_progress(op),
      m_countdown(PauseCountdown::Variant::AndroidWindow,
                  [this](const QString& text) {
                      m_progress.update([text](AndroidSendingProgress::State& s) { s.pauseText = text; });
                  }),
      m_busy([this] {
          m_progress.update([](AndroidSendingProgress::State& s) { s.busy = nextActivityValue(s.busy); });
      }) {}

Bulk_SMSAppDelegate::~Bulk_SMSAppDelegate() {
    m_progress.requestStop();
    if (m_run)
        m_run->stop();
    m_busy.stop();
    m_countdown.endCountdown();
    m_run.reset(); // its threads end here
}

QString Bulk_SMSAppDelegate::title() const { return kApplicationName + QStringLiteral(" - Android Phone"); }

int Bulk_SMSAppDelegate::runConnectionSteps() {
    Connection_Info steps;
    return op().runModal(steps);
}

void Bulk_SMSAppDelegate::windowDidLoad() {
    BulkSmsWindow::windowDidLoad();
    resetSendingOptions();
}

void Bulk_SMSAppDelegate::resetSendingOptions() {
    m_singleShot = false;
    m_classic = false;
    AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    setDelayedDeliveryEnabled(true);
    emit changed();
}

void Bulk_SMSAppDelegate::Single_Shot_Radio() {
    m_singleShot = true;
    AND_SMS_sending_mode = int(AndroidSendingMode::SingleShot);
    Delayed_Delivery_Chk(false);
    setDelayedDeliveryEnabled(false);
    emit changed();
}

void Bulk_SMSAppDelegate::One_By_One_Radio() {
    m_singleShot = false;
    if (!m_classic && AND_SMS_sending_mode != int(AndroidSendingMode::Classic))
        AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    else
        AND_SMS_sending_mode = int(AndroidSendingMode::Classic);
    m_classic = AND_SMS_sending_mode == int(AndroidSendingMode::Classic);
    setDelayedDeliveryEnabled(true);
    emit changed();
}

void Bulk_SMSAppDelegate::Standard_Radio() {
    m_classic = false;
    AND_SMS_sending_mode = int(AndroidSendingMode::Standard);
    emit changed();
}

void Bulk_SMSAppDelegate::Classic_Radio() {
    m_classic = true;
    AND_SMS_sending_mode = int(AndroidSendingMode::Classic);
    emit changed();
    op().Show_MessageBox(QStringLiteral("Information:\n\nYou have selected 'Classic Mode' for sending "
                                        "Messages.\n\nSome Devices may not support "
                                        "non-English (Unicode) or Special character based SMS using this "
                                        "mode.\n\nIf you are facing difficulties in "
                                        "sending SMS using 'Classic Mode', please select 'Standard Mode'."));
}

void Bulk_SMSAppDelegate::Test_Btn() {
    Android_TroubleShooting window(op());
    window.open(deviceCaption());
    op().runModal(window);
    showSendingMode();
}

void Bulk_SMSAppDelegate::showSendingMode() {
    const int mode = AND_SMS_sending_mode;
    m_singleShot = mode == int(AndroidSendingMode::SingleShot);
    m_classic = mode == int(AndroidSendingMode::Classic);
    if (m_singleShot)
        Delayed_Delivery_Chk(false);
    setDelayedDeliveryEnabled(!m_singleShot);
    emit changed();
}

void Bulk_SMSAppDelegate::Device_Details_Btn() {
    if (deviceCaption() == kNoDeviceSelectedCaption || AND_Sel_Dev_Details.isEmpty())
        op().Show_MessageBox(kNoPhoneSelectedMessage);
    else
        op().Show_MessageBox(AND_Sel_Dev_Details);
}

void Bulk_SMSAppDelegate::Check_Device_Status_Btn() {
    Stop_Modem_SRCH = 0;
    QString status;
    WorkerThread reader(QStringLiteral("adb-status"));
    reader.start([&status](std::stop_token) { status = Get_Android_Device_Status(); });
    reader.join();
    op().Show_MessageBox(status);
}

void Bulk_SMSAppDelegate::openDeviceSearchWindow(std::function<void(bool)> reported) {
    Android_Ph_List_Wnd::defaultInstance(op()).Open_Ph_List_Wnd(std::move(reported));
}
