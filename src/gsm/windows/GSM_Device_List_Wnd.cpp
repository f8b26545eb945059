#include "GSM_Device_List_Wnd.h"

#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"
#include "gsm/ModemHotplug.h"
#include "gsm/SimAnswers.h"
#include "services/ModemCheck.h"
#include "services/ModemSearch.h"

namespace {
const QStringList kShownColumns = {kDeviceTickedKey, kPortNameKey};
} // namespace

GSM_Device_List_Wnd::GSM_Device_List_Wnd(Operator& op, DeviceSelection& selection,
                                         std::optional<DeviceSettingsMemory> memory, QObject* parent)
    : DialogController(parent), m_op(op), m_selection(selection), m_memory(std::move(memory)),
      m_ports(kShownColumns), m_cases({kModemCaseLabelKey, kCaseDescriptionKey, kCaseStatusKey}) {}

GSM_Device_List_Wnd::~GSM_Device_List_Wnd() {
    Stop_Modem_SRCH = true;
    m_stopTest = true;
    m_worker.requestStop();
    stopWatchingPlugging();
    waitForWorkers();
}

void GSM_Device_List_Wnd::waitForWorkers() {
    m_worker.join();
    for (const auto& probe : m_plugProbes)
        probe->join();
}

// ---- records ----

QString GSM_Device_List_Wnd::deviceName(const Record& record) {
    QString name = ModemSearch::nameOf(record);
    // What keeps a modem from sending (its SIM, the network), else roaming: on its row.
    if (const QString state = record.value(kPortStatusKey);
        !state.isEmpty() && !record.value(kImeiKey).isEmpty())
        return QStringLiteral("%1 — %2").arg(name, state);
    if (record.value(kNetworkKey) == SimAnswers::registrationText(SimAnswers::Registration::Roaming))
        return QStringLiteral("%1 — %2").arg(name, record.value(kNetworkKey));
    return name;
}

int GSM_Device_List_Wnd::rowOf(const QString& path) const {
    for (int row = 0; row < m_ports.size(); ++row)
        if (m_ports.at(row).value(kPortDetailKey) == path)
            return row;
    return -1;
}

QString GSM_Device_List_Wnd::Get_Sel_Port_Details(const QString& path, const QString& key) const {
    const int row = rowOf(path);
    return row < 0 ? QString() : m_ports.at(row).value(key);
}

void GSM_Device_List_Wnd::Update_Column_Value(const QString& path, const QString& key, const QString& value) {
    const int row = rowOf(path);
    if (row < 0)
        return;
    Record copy = m_ports.at(row);
    copy.insert(key, value);
    m_ports.replace(row, copy);
}

void GSM_Device_List_Wnd::Update_Column_Value_For_Main_array(DeviceSelection& selection, const QString& path,
                                                             const QString& key, const QString& value) {
    for (Record& record : selection.port_det_str_array)
        if (record.value(kPortDetailKey) == path)
            record.insert(key, value);
}

void GSM_Device_List_Wnd::Set_SMSC_Use_Status(const QString& path, const QString& status,
                                              const QString& smsc) {
    Update_Column_Value(path, kUseCustomSmscKey, status);
    Update_Column_Value(path, kCustomSmscKey, smsc);
    Update_Column_Value_For_Main_array(m_selection, path, kUseCustomSmscKey, status);
    Update_Column_Value_For_Main_array(m_selection, path, kCustomSmscKey, smsc);
}

void GSM_Device_List_Wnd::setRowTicked(int row, bool ticked) {
    if (row < 0 || row >= m_ports.size())
        return;
    Record copy = m_ports.at(row);
    copy.insert(kDeviceTickedKey, ticked ? QStringLiteral("1") : QStringLiteral("0"));
    m_ports.replace(row, copy);
}

// ---- showing a device ----

void GSM_Device_List_Wnd::showDevice(int row) {
    if (row < 0 || row >= m_ports.size() || m_worker.isRunning())
        return;
    m_prevIndex = row;
    const Record record = m_ports.at(row);
    const QString path = record.value(kPortDetailKey);
    m_comPortField = record.value(kPortNameKey);
    m_pathField = path;
    m_detailsText.clear();
    m_defaultSmscField.clear();
    m_heading.clear();
    m_limits = {};
    if (record.value(kImeiKey).isEmpty() && !record.value(kPortStatusKey).isEmpty()) {
        // A modem that answered on none of its ports: what the search found is all there is.
        m_detailsText = deviceDetailText(record);
        m_heading = record.value(kPortStatusKey);
        emit changed();
        return;
    }
    emit changed();

    m_worker.start([this, path](std::stop_token) {
        onMain([this] {
            m_progressSheet = true;
            m_customSmscText.clear();
        });
        if (OnGetSelected(path))
            onMain([this, path] { Get_And_Fill_Details(path); });
        m_session.closePort();
        onMain([this] { m_progressSheet = false; });
    });
}

bool GSM_Device_List_Wnd::OnGetSelected(const QString& path) {
    const int portFd = ModemCheck::open(m_session, path);
    if (portFd == -1 && m_session.port() == nullptr) {
        m_op.Show_MessageBox(
            QStringLiteral("Selected device is not working properly.\nCould not open device.\n"));
        return false;
    }
    if (portFd < 0 || !m_session.Check_Connection(portFd)) {
        m_op.Show_MessageBox(QStringLiteral("Selected device is not working properly."));
        return false;
    }
    return true;
}

QString GSM_Device_List_Wnd::deviceDetailText(const Record& record) { return ModemSearch::detailsOf(record); }

void GSM_Device_List_Wnd::Get_And_Fill_Details(const QString& path) {
    const int row = rowOf(path);
    if (row < 0)
        return;
    const Record r = m_ports.at(row);
    m_detailsText = deviceDetailText(r);
    m_defaultSmscField = r.value(kDefaultSmscKey);
    m_customSmscChecked = r.value(kUseCustomSmscKey) == QLatin1String("Y");
    m_customSmscText = m_customSmscChecked ? r.value(kCustomSmscKey) : QString();
    const SmsMode mode = smsModeFromText(r.value(kSmsModeKey));
    if (mode != SmsMode::Unknown)
        m_modeSelection = mode == SmsMode::Pdu ? 1 : 2;
    m_heading = QStringLiteral("SMS settings of %1 %2 at %3")
                    .arg(r.value(kManufacturerKey), r.value(kModelKey), r.value(kPortNameKey));
    m_testHeading = QStringLiteral("Test SMS sent from device %1 %2 at %3")
                        .arg(r.value(kManufacturerKey), r.value(kModelKey), r.value(kPortNameKey));
    m_settingsEnabled = true;
    m_limits = m_memory ? m_memory->limitsOf(r) : DeviceLimits{};
    Fill_Test_case_List();
}

// ---- modes and service centre ----

Record GSM_Device_List_Wnd::shownRecord() const {
    return m_prevIndex >= 0 && m_prevIndex < m_ports.size() ? m_ports.at(m_prevIndex) : Record();
}

void GSM_Device_List_Wnd::keepSettings(const QString& path, const Record& before) {
    const int row = rowOf(path);
    if (!m_memory || row < 0 || DeviceSettingsMemory::sameSettings(before, m_ports.at(row)))
        return;
    QString why;
    if (!m_memory->keep(m_ports.at(row), &why))
        m_op.Show_MessageBox(DeviceSettingsMemory::notKeptMessage(why));
}

void GSM_Device_List_Wnd::setMode(SmsMode mode) {
    const Record before = shownRecord();
    if (m_customSmscChecked)
        storeCustomSmsc();
    m_modeSelection = mode == SmsMode::Pdu ? 1 : 2;
    const QString path = before.value(kPortDetailKey);
    if (!path.isEmpty()) {
        Update_Column_Value(path, kSmsModeKey, smsModeText(mode));
        keepSettings(path, before);
    }
    emit changed();
}

void GSM_Device_List_Wnd::PDU_Mode_Radio() { setMode(SmsMode::Pdu); }

void GSM_Device_List_Wnd::Text_Mode_Radio() {
    m_op.Show_MessageBox(kTextModeNotice);
    setMode(SmsMode::Text);
}

bool GSM_Device_List_Wnd::validSmsc(const QString& number) {
    if (!isUsableSmscNumber(number)) {
        m_op.Show_MessageBox(kInvalidSmsc);
        emit customSmscFocusRequested();
        return false;
    }
    return true;
}

bool GSM_Device_List_Wnd::storeCustomSmsc() {
    if (!validSmsc(m_customSmscText))
        return false;
    if (m_prevIndex >= 0 && m_prevIndex < m_ports.size())
        Set_SMSC_Use_Status(m_ports.at(m_prevIndex).value(kPortDetailKey), QStringLiteral("Y"),
                            m_customSmscText);
    Fill_Test_case_List();
    return true;
}

bool GSM_Device_List_Wnd::update_custom_smsc() {
    const Record before = shownRecord();
    if (!storeCustomSmsc())
        return false;
    keepSettings(before.value(kPortDetailKey), before);
    return true;
}

void GSM_Device_List_Wnd::Custom_SMSC_Pressed(bool on) {
    m_customSmscChecked = on;
    emit changed();
    if (on) {
        update_custom_smsc();
        return;
    }
    const Record before = shownRecord();
    const QString path = before.value(kPortDetailKey);
    if (!path.isEmpty()) {
        Set_SMSC_Use_Status(path, QStringLiteral("N"), m_defaultSmscField);
        keepSettings(path, before);
    }
    Fill_Test_case_List();
}

// ---- stopping ----

void GSM_Device_List_Wnd::Stopmodem_Searching_pressed() {
    if (m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop scanning connected "
                           "device. Are you sure you want to continue?"))) {
        Stop_Modem_SRCH = true;
        m_worker.requestStop();
    }
}

void GSM_Device_List_Wnd::ContinueOfflinePressed() {
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("\nTerminating the current process will stop scanning connected "
                           "device. Are you sure you want to continue?")))
        return;
    Stop_Modem_SRCH = true;
    m_worker.requestStop();
    endModal(0);
}

void GSM_Device_List_Wnd::setLimits(const DeviceLimits& limits) {
    const Record device = shownRecord();
    if (!m_memory || device.isEmpty() || limits == m_limits)
        return;
    if (m_memory->keepLimitsOrTell(device, limits, m_op))
        m_limits = limits;
    emit changed();
}
