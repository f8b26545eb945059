#include "Gsm_Bulk_Sms_Wnd.h"

#include "SMS_Sending.h"
#include "core/AppState.h"
#include "core/Operator.h"
#include "device/DeviceRecord.h"
#include "gsm/SmsMode.h"
#include "gsm/windows/GSM_DEV_Conn_Step_Wnd.h"
#include "services/DeviceSettingsMemory.h"
#include <utility>

Gsm_Bulk_Sms_Wnd::Gsm_Bulk_Sms_Wnd(Operator& op, DataFolder folder, DefaultCountry* country,
                                   SpreadsheetLoads* spreadsheets, QObject* parent)
    : BulkSmsWindow(Kind::Gsm, op, std::move(folder), country, spreadsheets, parent),
      m_devices(op, selection(), DeviceSettingsMemory(dataFolder())),
      m_deviceDetails(op, selection(), DeviceSettingsMemory(dataFolder())),
      m_scheduledSend(
          dataFolder(), kGsmRoad,
          {[this] { return sendingUnderWay(); },
           [this] { return !selection().sel_port_bsd_str.isEmpty() && !deviceChoices().isEmpty(); },
           [this](const CampaignToSend& due) { sendScheduled(due); }}),
      m_replies(
          op, dataFolder(), kGsmRoad,
          [this] {
              if (selection().sel_port_bsd_str.isEmpty())
                  return QStringList();
              QStringList paths = selection().port_val_str_array;
              paths.removeAll(kAllDeviceChoice);
              return paths;
          },
          [this] {
              QList<ModemChoice> modems;
              for (const QString& path : selection().port_val_str_array)
                  if (path != kAllDeviceChoice)
                      modems << modemChoice(path);
              return modemOpeners(modems, {}); // a modem that does not open is only logged
          },
          [this] { return sendingUnderWay(); }) {
    connect(this, &MainWindowController::changed, &m_replies, &WindowReplies::update);
}

Gsm_Bulk_Sms_Wnd::~Gsm_Bulk_Sms_Wnd() {
    m_replies.hold();
    m_job.reset();
}

QString Gsm_Bulk_Sms_Wnd::title() const { return kApplicationName + QStringLiteral(" - GSM Modem"); }

int Gsm_Bulk_Sms_Wnd::runConnectionSteps() {
    GSM_DEV_Conn_Step_Wnd steps;
    return op().runModal(steps);
}

void Gsm_Bulk_Sms_Wnd::openDeviceSearchWindow(std::function<void(bool)> reported) {
    m_devices.Search_dev_Pressed();
    // Selecting devices (1) and going on without one (0) both end the choice; closing the
    // window otherwise lets the operator choose again.
    const int code = op().runModal(m_devices);
    reported(code == 1 || code == 0);
}

RunSettings Gsm_Bulk_Sms_Wnd::runSettings() const {
    RunSettings settings;
    settings.schedule = delaySchedule();
    settings.unicode = unicode();
    settings.plainPunctuation = plainPunctuation();
    settings.footer = footer();
    settings.retries = retries();
    settings.deliveryReports = deliveryReports();
    settings.flash = isFlashMessage();
    settings.skipDuplicates = skipDuplicates();
    settings.exclusion = exclusion();
    settings.saveSentItems = saveSentItems();
    settings.saveTemplates = saveTemplates();
    settings.sentItemsPath = dataFolder().SentItem_File_Path();
    settings.loadedDevice = selection().sel_port_bsd_str;
    settings.openingGap = std::chrono::seconds(2);
    settings.country = defaultCountry();
    settings.sendWindow = sendWindow();
    if (settings.exclusion)
        for (const Record& record : exclusionSet().records())
            settings.excludedNumbers.insert(recipientNumber(record));
    return settings;
}

SMS_Sending& Gsm_Bulk_Sms_Wnd::sendingJob() {
    if (!m_job)
        m_job = std::make_unique<SMS_Sending>(*this, op());
    return *m_job;
}

ModemChoice Gsm_Bulk_Sms_Wnd::modemChoice(const QString& path) const {
    ModemDetails details;
    details.mode = smsModeFromText(deviceDetail(path, kSmsModeKey));
    details.smsc = deviceDetail(path, kUseCustomSmscKey) == QLatin1String("N")
                       ? QString()
                       : deviceDetail(path, kCustomSmscKey);
    details.capability = deviceDetail(path, kSmsCapableKey);
    details.defaultSmsc = deviceDetail(path, kDefaultSmscKey);
    details.simKey = DeviceSettingsMemory::keyOf(
        {{kIccidKey, deviceDetail(path, kIccidKey)}, {kImeiKey, deviceDetail(path, kImeiKey)}});
    return {path, details};
}

QString Gsm_Bulk_Sms_Wnd::deviceDetail(const QString& path, const QString& key) const {
    for (const Record& record : selection().port_det_str_array)
        if (record.value(kPortDetailKey) == path)
            return record.value(key);
    return m_devices.Get_Sel_Port_Details(path, key);
}

void Gsm_Bulk_Sms_Wnd::Device_Details_Pressed() {
    if (selection().port_det_str_array.isEmpty()) {
        op().Show_MessageBox(QStringLiteral(
            "Either Mobile Device is not connected properly or No Mobile Phone Device is selected."
            "\n\nPlease use Mobile Phone Connection Wizard for finding device or establishing "
            "connection."));
        return;
    }
    const RepliesHeld held(m_replies); // its test messages and mode tests talk to the modems
    m_deviceDetails.Open_Gsm_Ph_Det_List_Wnd();
}

void Gsm_Bulk_Sms_Wnd::setPleaseWait(bool shown) {
    m_pleaseWait = shown;
    emit changed();
}

void Gsm_Bulk_Sms_Wnd::setRetries(int retries) {
    m_retries = qBound(0, retries, RunSettings::kMaxRetries);
    emit changed();
}

void Gsm_Bulk_Sms_Wnd::setTakeNewModems(bool on) {
    m_takeNewModems = on;
    emit changed();
}

void Gsm_Bulk_Sms_Wnd::setDeliveryReports(bool requested) {
    m_deliveryReports = requested;
    emit changed();
}
