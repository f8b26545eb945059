#include "Selected_Device_Details_GSM.h"

#include "GSM_Device_List_Wnd.h"
#include "core/Clock.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "device/DeviceRecord.h"
#include "gsm/ModemAnswers.h"
#include "services/SendModeTrial.h"
#include "text/NumberRules.h"

namespace {
const QString kRowKeys[] = {kPortNameKey,      kPortDetailKey, kDefaultSmscKey,       kCustomSmscKey,
                            kUseCustomSmscKey, kSmsModeKey,    kSupportedSmsModesKey, kModelKey};
const QString kSmscHelp = QStringLiteral("\n\nYou can find SMSC Number in 'SMS Service Center' Details in "
                                         "the SMS Settings of your Mobile Device.");
const QString kDefaultMissingOnOk =
    QStringLiteral(
        "Default SMSC Number could not be located for this device.\nPlease enter SMSC number manually in "
        "'Custom SMSC no.' Field for this Device.") +
    kSmscHelp;
const QString kCustomMissingOnOk =
    QStringLiteral(
        "Custom SMSC Number could not be located for this device.\nPlease enter SMSC number manually in "
        "'Custom SMSC no.' Field for this Device.") +
    kSmscHelp;
const QString kTestMessage = QStringLiteral("Test Message From Ostrel Bulk SMS Software.");
} // namespace

Selected_Device_Details_GSM::Selected_Device_Details_GSM(Operator& op, DeviceSelection& selection,
                                                         std::optional<DeviceSettingsMemory> memory,
                                                         QObject* parent)
    : DialogController(parent), m_op(op), m_selection(selection), m_memory(std::move(memory)),
      m_rows({kPortNameKey, kModelKey}) {}

Selected_Device_Details_GSM::~Selected_Device_Details_GSM() { m_worker.join(); }

Record Selected_Device_Details_GSM::Create_Port_List(const Record& deviceRecord) {
    Record row;
    for (const QString& key : kRowKeys)
        row.insert(key, deviceRecord.value(key));
    row.insert(kDeviceTickedKey, QStringLiteral("0"));
    return row;
}

void Selected_Device_Details_GSM::fillRows() {
    RecordList rows;
    for (const Record& record : m_selection.port_det_str_array)
        rows << Create_Port_List(record);
    m_rows.setRecords(rows);
    m_shownRow = -1;
    if (!m_rows.isEmpty())
        showDevice(0);
    emit changed();
}

int Selected_Device_Details_GSM::Open_Gsm_Ph_Det_List_Wnd() {
    fillRows();
    return m_op.runModal(*this);
}

QString Selected_Device_Details_GSM::shownPath() const {
    return m_shownRow >= 0 && m_shownRow < m_rows.size() ? m_rows.at(m_shownRow).value(kPortDetailKey)
                                                         : QString();
}

void Selected_Device_Details_GSM::showDevice(int row) {
    if (m_testing || row < 0 || row >= m_rows.size())
        return;
    m_shownRow = row;
    const Record& r = m_rows.at(row);
    m_defaultSmsc = r.value(kDefaultSmscKey);
    m_customSmscChecked = r.value(kUseCustomSmscKey) == QLatin1String("Y");
    m_customSmscText = m_customSmscChecked ? r.value(kCustomSmscKey) : QString();
    const SmsMode mode = smsModeFromText(r.value(kSmsModeKey));
    m_modeSelection = mode == SmsMode::Text ? 2 : 1;
    m_limits = m_memory ? m_memory->limitsOf(selectedRecord(shownPath())) : DeviceLimits{};
    emit changed();
}

void Selected_Device_Details_GSM::Update_Column_Value(const QString& path, const QString& key,
                                                      const QString& value) {
    for (int row = 0; row < m_rows.size(); ++row) {
        if (m_rows.at(row).value(kPortDetailKey) != path)
            continue;
        Record copy = m_rows.at(row);
        copy.insert(key, value);
        m_rows.replace(row, copy);
    }
    GSM_Device_List_Wnd::Update_Column_Value_For_Main_array(m_selection, path, key, value);
}

// ---- modes and service centre, as in the device window ----

Record Selected_Device_Details_GSM::selectedRecord(const QString& path) const {
    for (const Record& record : m_selection.port_det_str_array)
        if (record.value(kPortDetailKey) == path)
            return record;
    return {};
}

void Selected_Device_Details_GSM::keepSettings(const QString& path, const Record& before) {
    const Record now = selectedRecord(path);
    if (!m_memory || now.isEmpty() || DeviceSettingsMemory::sameSettings(before, now))
        return;
    QString why;
    if (!m_memory->keep(now, &why))
        m_op.Show_MessageBox(DeviceSettingsMemory::notKeptMessage(why));
}

void Selected_Device_Details_GSM::setMode(SmsMode mode) {
    const QString path = shownPath();
    const Record before = selectedRecord(path);
    if (m_customSmscChecked)
        storeCustomSmsc();
    m_modeSelection = mode == SmsMode::Pdu ? 1 : 2;
    if (!path.isEmpty()) {
        Update_Column_Value(path, kSmsModeKey, smsModeText(mode));
        keepSettings(path, before);
    }
    emit changed();
}

void Selected_Device_Details_GSM::PDU_Mode_Radio() { setMode(SmsMode::Pdu); }

void Selected_Device_Details_GSM::Text_Mode_Radio() {
    m_op.Show_MessageBox(kTextModeNotice);
    setMode(SmsMode::Text);
}

bool Selected_Device_Details_GSM::validSmsc(const QString& number) {
    if (!isUsableSmscNumber(number)) {
        m_op.Show_MessageBox(kInvalidSmsc);
        emit customSmscFocusRequested();
        return false;
    }
    return true;
}

bool Selected_Device_Details_GSM::storeCustomSmsc() {
    if (!validSmsc(m_customSmscText))
        return false;
    const QString path = shownPath();
    if (!path.isEmpty()) {
        Update_Column_Value(path, kUseCustomSmscKey, QStringLiteral("Y"));
        Update_Column_Value(path, kCustomSmscKey, m_customSmscText);
    }
    return true;
}

bool Selected_Device_Details_GSM::update_custom_smsc() {
    const QString path = shownPath();
    const Record before = selectedRecord(path);
    if (!storeCustomSmsc())
        return false;
    keepSettings(path, before);
    return true;
}

void Selected_Device_Details_GSM::Custom_SMSC_Pressed(bool on) {
    m_customSmscChecked = on;
    emit changed();
    if (on) {
        update_custom_smsc();
        return;
    }
    const QString path = shownPath();
    if (!path.isEmpty()) {
        const Record before = selectedRecord(path);
        Update_Column_Value(path, kUseCustomSmscKey, QStringLiteral("N"));
        Update_Column_Value(path, kCustomSmscKey, m_defaultSmsc);
        keepSettings(path, before);
    }
}

// ---- one test message ----

void Selected_Device_Details_GSM::Send_Test_SMS_Pressed() {
    if (m_testing)
        return;
    if (m_rows.isEmpty()) {
        m_op.Show_MessageBox(kDeviceListEmpty);
        return;
    }
    if (m_shownRow < 0 || m_shownRow >= m_rows.size()) {
        m_op.Show_MessageBox(kSelectDevice);
        return;
    }
    if (m_customSmscChecked && !update_custom_smsc())
        return;
    const QString number = Trim_Str(m_testNumber);
    QString checked = number;
    if (checked.startsWith(QLatin1Char('+')))
        checked = QStringLiteral("00") + checked.mid(1);
    if (checked.contains(QLatin1Char('+')) || Check_Ph_Number(checked, false)) {
        m_op.Show_MessageBox(QStringLiteral("Phone number entered to receive test message does not seem to "
                                            "be valid. Please enter a valid phone "
                                            "number to receive test message."));
        return;
    }
    const Record row = m_rows.at(m_shownRow);
    const QString smsc =
        row.value(kUseCustomSmscKey) == QLatin1String("Y") ? row.value(kCustomSmscKey) : QString();
    if (smsc.isEmpty() && row.value(kDefaultSmscKey).isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Default SMSC Number could not be located for this "
                                            "device.\nPlease enter SMSC number manually in 'Custom "
                                            "SMSC No.' Field for this Device.\n\nYou can find SMSC Number in "
                                            "'SMS Service Center' Details in the SMS "
                                            "Settings of your Device."));
        return;
    }
    if (smsModeFromText(row.value(kSmsModeKey)) == SmsMode::Unknown) {
        m_op.Show_MessageBox(QStringLiteral("SMS Mode details should not be blanked."));
        return;
    }
    m_testing = true;
    emit changed();
    m_worker.start([this, row, smsc, number](std::stop_token) { Send_Test_SMS_fun(row, smsc, number); });
}

void Selected_Device_Details_GSM::Send_Test_SMS_fun(const Record& row, const QString& smsc,
                                                    const QString& number) {
    const QString path = row.value(kPortDetailKey);
    QString capability;
    for (const Record& record : MainThread::invokeAndWait([this] { return m_selection.port_det_str_array; }))
        if (record.value(kPortDetailKey) == path)
            capability = record.value(kSmsCapableKey);
    QString status;
    Guard::run("Send_Test_SMS_fun", [&] {
        const int lineFd = m_session.OpenSerialPort(path);
        int fd = -1;
        if (lineFd != -1) {
            m_session.CloseSerialPort(lineFd);
            m_session.initPort_with_decp(path, fd);
        }
        if (fd < 0 || m_session.port() == nullptr) {
            m_op.Show_MessageBox(QStringLiteral(
                "\nSelected device is not working properly. Please use Mobile Phone Connection "
                "Wizard for finding device or establishing connection."));
            return;
        }
        m_session.port()->setReadTimeout(1.0);
        if (!m_session.Check_Connection(fd)) {
            m_op.Show_MessageBox(QStringLiteral("Selected device is not working properly."));
            return;
        }
        if (capability == QLatin1String("Not Detected") &&
            !m_op.Show_YES_NO_MessageBox(SendModeTrial::kNotSmsCapable +
                                         QStringLiteral("\n\nAre you sure you want to continue?")))
            return;
        m_session.ATZ_reset_Modem(fd);
        const SmsMode mode = smsModeFromText(row.value(kSmsModeKey));
        if (mode == SmsMode::Pdu)
            m_session.Prepare_Modem_For_PDU_SMS(fd);
        else
            m_session.Prepare_Modem_For_Text_SMS(fd);
        m_session.port()->setReadTimeout(5.0);
        // A text-mode message through the custom centre leaves the modem's own behind.
        const QString defaultSmsc = row.value(kDefaultSmscKey);
        m_session.setDefaultSmscLookup([defaultSmsc](const QString&) { return QString(defaultSmsc); });
        status = QStringLiteral("Error : +CMS ERROR: 500.");
        bool sent = false;
        if (m_session.formatRefused())
            status = QStringLiteral("Error : %1.").arg(ModemAnswers::formatRefusal(mode == SmsMode::Pdu));
        else if (mode == SmsMode::Pdu)
            sent = m_session.Send_PDU_SMS(fd, number, kTestMessage, smsc, false, false, status, capability);
        else
            sent = m_session.Send_Text_SMS(fd, number, kTestMessage, smsc, false, false, path, status,
                                           capability);
        m_session.setDefaultSmscLookup({});
        if (sent)
            Clock::sleep(std::chrono::seconds(1));
    });
    m_session.closePort();
    onMain([this] { m_testing = false; });
    if (!status.isEmpty())
        m_op.Show_MessageBox(status);
}

// ---- the automated test and closing ----

void Selected_Device_Details_GSM::Automate_Button_Presses() {
    if (m_testing)
        return;
    if (m_customSmscChecked && !update_custom_smsc())
        return;
    if (m_shownRow < 0 || m_shownRow >= m_rows.size()) {
        m_op.Show_MessageBox(m_rows.isEmpty() ? kDeviceListEmpty : kSelectDevice);
        return;
    }
    const QString path = shownPath();
    Record device = m_rows.at(m_shownRow);
    for (const Record& record : m_selection.port_det_str_array)
        if (record.value(kPortDetailKey) == path)
            device = record; // the whole record: capability, maker and the rest of its details
    Automated_GSM_Sending window(m_op, m_memory);
    window.open({device}, [this](const QString& p, const QString& key, const QString& value) {
        Update_Column_Value(p, key, value);
    });
    m_op.runModal(window);
    showDevice(m_shownRow); // the mode buttons follow what was applied
}

void Selected_Device_Details_GSM::OK_Button_Presses() {
    if (m_testing)
        return;
    if (m_customSmscChecked && !update_custom_smsc())
        return;
    for (const Record& row : m_rows.records()) {
        const bool useCustom = row.value(kUseCustomSmscKey) == QLatin1String("Y");
        const QString smsc = useCustom ? row.value(kCustomSmscKey) : QString();
        const bool noDefault = row.value(kDefaultSmscKey).isEmpty();
        const QString port = row.value(kPortNameKey) + QStringLiteral("\r\n");
        if (smsc.isEmpty() && noDefault) {
            m_op.Show_MessageBox(port + kDefaultMissingOnOk);
            return;
        }
        if (useCustom && smsc.isEmpty()) {
            m_op.Show_MessageBox(port + kCustomMissingOnOk);
            return;
        }
    }
    endModal(1);
}

void Selected_Device_Details_GSM::setLimits(const DeviceLimits& limits) {
    const Record device = selectedRecord(shownPath());
    if (!m_memory || device.isEmpty() || limits == m_limits)
        return;
    if (m_memory->keepLimitsOrTell(device, limits, m_op))
        m_limits = limits;
    emit changed();
}
