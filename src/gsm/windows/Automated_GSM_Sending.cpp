#include "Automated_GSM_Sending.h"

#include "GSM_Device_List_Wnd.h"
#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "device/DeviceRecord.h"
#include "device/TestCaseRecord.h"
#include "text/NumberRules.h"

namespace {
const QStringList kDeviceColumns = {kPortNameKey, kModelKey, kSettingAppliedKey};
const QStringList kCaseColumns = {kModemCaseLabelKey, kCaseDescriptionKey, kCaseStatusKey};
} // namespace

Automated_GSM_Sending::Automated_GSM_Sending(Operator& op, std::optional<DeviceSettingsMemory> memory,
                                             QObject* parent)
    : DialogController(parent), m_op(op), m_memory(std::move(memory)), m_devices(kDeviceColumns),
      m_cases(kCaseColumns) {}

Automated_GSM_Sending::~Automated_GSM_Sending() {
    m_stop = true;
    m_worker.join();
}

Record Automated_GSM_Sending::rowFor(const Record& deviceRecord) {
    Record row = deviceRecord;
    row.insert(kSettingAppliedKey, QString());
    row.insert(kAutomatedTestHistoryKey, QString());
    row.insert(kLastTestSmscKey, QString());
    return row;
}

void Automated_GSM_Sending::open(const RecordList& deviceRecords, SettingsWriter writer) {
    m_writer = std::move(writer);
    RecordList rows;
    for (const Record& record : deviceRecords)
        rows << rowFor(record);
    m_devices.setRecords(rows);
    m_shownRow = -1;
    m_testNumber.clear();
    m_cases.clear();
    if (!m_devices.isEmpty())
        showDevice(0);
    emit changed();
}

QString Automated_GSM_Sending::shownPath() const {
    return m_shownRow >= 0 && m_shownRow < m_devices.size() ? m_devices.at(m_shownRow).value(kPortDetailKey)
                                                            : QString();
}

void Automated_GSM_Sending::showDevice(int row) {
    if (m_testing || row < 0 || row >= m_devices.size())
        return;
    m_shownRow = row;
    const Record& r = m_devices.at(row);
    m_defaultSmsc = r.value(kDefaultSmscKey);
    m_customSmsc = r.value(kUseCustomSmscKey) == QLatin1String("Y") ? r.value(kCustomSmscKey) : QString();
    m_heading = QStringLiteral("Start Test for Device Connected at : \n%1").arg(r.value(kPortNameKey));
    m_information.clear();
    m_caseProgress = 0;
    Fill_Test_case_List();
}

void Automated_GSM_Sending::setCustomSmscText(const QString& text) {
    if (m_testing)
        return;
    m_customSmsc = Trim_Str(text);
    Fill_Test_case_List();
}

void Automated_GSM_Sending::Fill_Test_case_List() {
    m_selectedCase = -1;
    if (m_shownRow < 0 || m_shownRow >= m_devices.size()) {
        m_cases.clear();
    } else {
        const Record& r = m_devices.at(m_shownRow);
        m_cases.setRecords(SendModeTrial::Fill_Test_case_List(r.value(kSupportedSmsModesKey),
                                                              !m_customSmsc.isEmpty(), r.value(kModelKey),
                                                              r.value(kAutomatedTestHistoryKey)));
    }
    emit changed();
}

bool Automated_GSM_Sending::validCustomSmsc() {
    if (m_customSmsc.isEmpty())
        return true;
    if (isUsableSmscNumber(m_customSmsc))
        return true;
    m_op.Show_MessageBox(kInvalidSmsc);
    return false;
}

void Automated_GSM_Sending::Send_Test_SMS_Pressed() {
    if (m_testing)
        return;
    if (m_devices.isEmpty()) {
        m_op.Show_MessageBox(kDeviceListEmpty);
        return;
    }
    if (m_shownRow < 0) {
        m_op.Show_MessageBox(kSelectDevice);
        return;
    }
    const Record row = m_devices.at(m_shownRow);
    if (row.value(kSmsCapableKey) == QLatin1String("Not Detected")) {
        m_op.Show_MessageBox(SendModeTrial::kNotSmsCapable);
        return;
    }
    if (!validCustomSmsc())
        return;
    if (const QString problem = SendModeTrial::testNumberProblem(m_testNumber); !problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    Record updated = row;
    updated.insert(kLastTestSmscKey, m_customSmsc);
    m_devices.replace(m_shownRow, updated);

    SendModeTrial::Request request{row.value(kPortDetailKey), m_customSmsc, row.value(kDefaultSmscKey),
                                   Trim_Str(m_testNumber), m_cases.records()};
    m_stop = false;
    m_testing = true;
    m_selectedCase = -1;
    emit changed();
    const int shown = m_shownRow;
    m_worker.start(
        [this, request, shown](std::stop_token) mutable { Chk_Test_Automate_SMS_fun(request, shown); });
}

void Automated_GSM_Sending::Chk_Test_Automate_SMS_fun(SendModeTrial::Request request, int row) {
    const SendModeTrial::End end =
        SendModeTrial::runShown(m_session, request, m_stop, QStringLiteral("Execute Case %1 : %2"),
                                {[this](const std::function<void()>& change) { onMain(change); }, m_cases,
                                 m_information, m_caseProgress});
    if (end == SendModeTrial::End::OpenFailed)
        m_op.Show_MessageBox(SendModeTrial::kOpenFailed);
    const QString history = SendModeTrial::historyOf(request.cases);
    onMain([this, row, history, end] {
        if (end != SendModeTrial::End::OpenFailed && row < m_devices.size()) {
            Record r = m_devices.at(row);
            r.insert(kAutomatedTestHistoryKey, history);
            m_devices.replace(row, r);
        }
        m_testing = false;
        m_information.clear();
    });
}

void Automated_GSM_Sending::Stop_SMS_Pressed() {
    if (!m_testing || !m_op.Show_YES_NO_MessageBox(SendModeTrial::kStopQuestion))
        return;
    m_stop = true;
}

void Automated_GSM_Sending::Use_Settings_Button_Presses() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTrial::kStillRunning);
        return;
    }
    if (m_devices.isEmpty()) {
        m_op.Show_MessageBox(kDeviceListEmpty);
        return;
    }
    if (m_shownRow < 0 || m_shownRow >= m_devices.size()) {
        m_op.Show_MessageBox(kSelectDevice);
        return;
    }
    if (m_cases.isEmpty()) {
        m_op.Show_MessageBox(QStringLiteral("Case list is empty."));
        return;
    }
    if (m_selectedCase < 0 || m_selectedCase >= m_cases.size()) {
        m_op.Show_MessageBox(
            QStringLiteral("Please select at least one connection settings for sending SMS."));
        return;
    }
    const Record chosen = m_cases.at(m_selectedCase);
    const QString code = chosen.value(kCaseCodeKey);
    if (SendModeTrial::usesCustomSmsc(code) && !validCustomSmsc())
        return;
    if (!m_testNumber.trimmed().isEmpty()) {
        if (const QString problem = SendModeTrial::testNumberProblem(m_testNumber); !problem.isEmpty()) {
            m_op.Show_MessageBox(problem);
            return;
        }
    }
    const Record row = m_devices.at(m_shownRow);
    const QString description = chosen.value(kCaseDescriptionKey);
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("You have selected '") +
            QStringLiteral(
                "%1' settings for sending SMS using '%2' connected at %3.\n\nDo you want to continue "
                "with selected settings?")
                .arg(description, row.value(kModelKey), row.value(kPortNameKey))))
        return;

    const QString path = row.value(kPortDetailKey);
    const QString mode = SendModeTrial::modeOf(code) == SmsMode::Pdu ? kPduModeText : kTextModeText;
    const bool custom = SendModeTrial::usesCustomSmsc(code);
    const QString smsc = custom ? m_customSmsc : row.value(kDefaultSmscKey);
    if (m_writer) {
        m_writer(path, kSmsModeKey, mode);
        m_writer(path, kUseCustomSmscKey, custom ? QStringLiteral("Y") : QStringLiteral("N"));
        m_writer(path, kCustomSmscKey, smsc);
    }
    Record updated = row;
    updated.insert(kSmsModeKey, mode);
    updated.insert(kUseCustomSmscKey, custom ? QStringLiteral("Y") : QStringLiteral("N"));
    updated.insert(kCustomSmscKey, smsc);
    updated.insert(kSettingAppliedKey, QStringLiteral("Y"));
    updated.insert(kLastTestSmscKey, custom ? m_customSmsc : QString());
    m_devices.replace(m_shownRow, updated);
    emit changed();
    m_op.Show_MessageBox(
        QStringLiteral("Selected connection settings '%1' for device '%2' have been applied successfully.")
            .arg(description, row.value(kModelKey)));
    QString why;
    if (m_memory && !m_memory->keep(updated, &why))
        m_op.Show_MessageBox(DeviceSettingsMemory::notKeptMessage(why));
}

void Automated_GSM_Sending::Clear_Status_Button_Presses() {
    if (m_testing || m_shownRow < 0 || m_shownRow >= m_devices.size())
        return;
    bool anyStatus = false;
    for (const Record& c : m_cases.records())
        anyStatus = anyStatus || !c.value(kCaseStatusKey).isEmpty();
    if (!anyStatus)
        return;
    const Record row = m_devices.at(m_shownRow);
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral(
                "Are you sure you want to clear the last connection test results performed on \" %1 \"")
                .arg(row.value(kModelKey))))
        return;
    Record cleared = row;
    cleared.insert(kAutomatedTestHistoryKey, QString());
    m_devices.replace(m_shownRow, cleared);
    Fill_Test_case_List();
}

void Automated_GSM_Sending::Close_Button_Presses() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTrial::kStillRunning);
        return;
    }
    QString pending;
    for (const Record& r : m_devices.records())
        if (r.value(kSettingAppliedKey) != QLatin1String("Y"))
            pending += r.value(kPortNameKey) + QLatin1Char(',');
    if (!pending.isEmpty() &&
        !m_op.Show_YES_NO_MessageBox(QStringLiteral("You have not selected any connection settings yet ") +
                                     QStringLiteral("%1.\nAre you sure to continue?")
                                         .arg(QStringLiteral("for device connected at ") + pending)))
        return;
    endModal(1);
}

void Automated_GSM_Sending::More_Info_SMSC_Pressed() {
    m_op.Show_MessageBox(QStringLiteral(
        "You can find SMSC Number in 'SMS Service Center' Details in the SMS Settings of your "
        "Device.\n\nCorrect "
        "SMS Service Center number starts with '+' or '00' before your country code (e.g. +65 or 0044). "
        "Contact "
        "your service provider to know their SMSC number, if you cannot locate it in SMS Settings of your "
        "Device."));
}

void Automated_GSM_Sending::Save_SMS_Report_Pressed() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTrial::kStillRunning);
        return;
    }
    if (m_shownRow < 0 || m_shownRow >= m_devices.size() || m_cases.isEmpty())
        return;
    QString path = m_op.chooseFileToSave({QStringLiteral("txt")});
    if (path.isEmpty())
        return;
    if (!path.endsWith(QStringLiteral(".txt"), Qt::CaseInsensitive))
        path += QStringLiteral(".txt");
    const QByteArray bytes = SendModeTrial::reportBytes(
        GSM_Device_List_Wnd::deviceDetailText(m_devices.at(m_shownRow)), m_cases.records());
    QString why;
    if (!writeFileAtomically(path, bytes, &why))
        m_op.Show_MessageBox(errorInFileAccessing(why));
}
