#include "Automated_GSM_Sending.h"

#include "GSM_Device_List_Wnd.h"
#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "text/NumberRules.h"

namespace {
const QStringList kDeviceColumns = {QStringLiteral("COM_PORT"), QStringLiteral("Model"),
                                    QStringLiteral("Setting_USE")};
const QStringList kCaseColumns = {QStringLiteral("Possible_Case"), QStringLiteral("Description"),
                                  QStringLiteral("Status")};
const QString kPath = QStringLiteral("PORT_DETAL");
const QString kHistory = QStringLiteral("History");
} // namespace

Automated_GSM_Sending::Automated_GSM_Sending(Operator& op, QObject* parent)
    : DialogController(parent), m_op(op), m_devices(kDeviceColumns), m_cases(kCaseColumns) {}

Automated_GSM_Sending::~Automated_GSM_Sending() {
    m_stop = true;
    m_worker.join();
}

Record Automated_GSM_Sending::rowFor(const Record& deviceRecord) {
    Record row = deviceRecord;
    row.insert(QStringLiteral("Setting_USE"), QString());
    row.insert(kHistory, QString());
    row.insert(QStringLiteral("Last_SMSC"), QString());
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
    return m_shownRow >= 0 && m_shownRow < m_devices.size() ? m_devices.at(m_shownRow).value(kPath)
                                                            : QString();
}

void Automated_GSM_Sending::showDevice(int row) {
    if (m_testing || row < 0 || row >= m_devices.size())
        return;
    m_shownRow = row;
    const Record& r = m_devices.at(row);
    m_defaultSmsc = r.value(QStringLiteral("DefSMSC"));
    m_customSmsc = r.value(QStringLiteral("UseCusSMSC")) == QLatin1String("Y")
                       ? r.value(QStringLiteral("CusSMSC"))
                       : QString();
    m_heading =
        QStringLiteral("Start Test for Device Connected at : \n%1").arg(r.value(QStringLiteral("COM_PORT")));
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
        m_cases.setRecords(
            SendModeTest::Fill_Test_case_List(r.value(QStringLiteral("SUPSMSMode")), !m_customSmsc.isEmpty(),
                                              r.value(QStringLiteral("Model")), r.value(kHistory)));
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
    if (row.value(QStringLiteral("SMS_CAPABLE")) == QLatin1String("Not Detected")) {
        m_op.Show_MessageBox(SendModeTest::kNotSmsCapable);
        return;
    }
    if (!validCustomSmsc())
        return;
    if (const QString problem = SendModeTest::testNumberProblem(m_testNumber); !problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    Record updated = row;
    updated.insert(QStringLiteral("Last_SMSC"), m_customSmsc);
    m_devices.replace(m_shownRow, updated);

    SendModeTest::Request request{row.value(kPath), m_customSmsc, row.value(QStringLiteral("DefSMSC")),
                                  Trim_Str(m_testNumber), m_cases.records()};
    m_stop = false;
    m_testing = true;
    m_selectedCase = -1;
    emit changed();
    const int shown = m_shownRow;
    m_worker.start(
        [this, request, shown](std::stop_token) mutable { Chk_Test_Automate_SMS_fun(request, shown); });
}

void Automated_GSM_Sending::Chk_Test_Automate_SMS_fun(SendModeTest::Request request, int row) {
    const SendModeTest::End end =
        SendModeTest::runShown(m_session, request, m_stop, QStringLiteral("Execute Case %1 : %2"),
                               {[this](const std::function<void()>& change) { onMain(change); }, m_cases,
                                m_information, m_caseProgress});
    if (end == SendModeTest::End::OpenFailed)
        m_op.Show_MessageBox(QStringLiteral("\nSelected device is not working properly."));
    const QString history = SendModeTest::historyOf(request.cases);
    onMain([this, row, history, end] {
        if (end != SendModeTest::End::OpenFailed && row < m_devices.size()) {
            Record r = m_devices.at(row);
            r.insert(kHistory, history);
            m_devices.replace(row, r);
        }
        m_testing = false;
        m_information.clear();
    });
}

void Automated_GSM_Sending::Stop_SMS_Pressed() {
    if (!m_testing || !m_op.Show_YES_NO_MessageBox(SendModeTest::kStopQuestion))
        return;
    m_stop = true;
}

void Automated_GSM_Sending::Use_Settings_Button_Presses() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTest::kStillRunning);
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
    const QString code = chosen.value(QStringLiteral("Case_Name"));
    if (SendModeTest::usesCustomSmsc(code) && !validCustomSmsc())
        return;
    if (!m_testNumber.trimmed().isEmpty()) {
        if (const QString problem = SendModeTest::testNumberProblem(m_testNumber); !problem.isEmpty()) {
            m_op.Show_MessageBox(problem);
            return;
        }
    }
    const Record row = m_devices.at(m_shownRow);
    const QString description = chosen.value(QStringLiteral("Description"));
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral("You have selected '") +
            QStringLiteral(
                "%1' settings for sending SMS using '%2' connected at %3.\n\nDo you want to continue "
                "with selected settings?")
                .arg(description, row.value(QStringLiteral("Model")), row.value(QStringLiteral("COM_PORT")))))
        return;

    const QString path = row.value(kPath);
    const QString mode = SendModeTest::modeOf(code) == SmsMode::Pdu ? kPduModeText : kTextModeText;
    const bool custom = SendModeTest::usesCustomSmsc(code);
    const QString smsc = custom ? m_customSmsc : row.value(QStringLiteral("DefSMSC"));
    if (m_writer) {
        m_writer(path, QStringLiteral("SMSMode"), mode);
        m_writer(path, QStringLiteral("UseCusSMSC"), custom ? QStringLiteral("Y") : QStringLiteral("N"));
        m_writer(path, QStringLiteral("CusSMSC"), smsc);
    }
    Record updated = row;
    updated.insert(QStringLiteral("SMSMode"), mode);
    updated.insert(QStringLiteral("UseCusSMSC"), custom ? QStringLiteral("Y") : QStringLiteral("N"));
    updated.insert(QStringLiteral("CusSMSC"), smsc);
    updated.insert(QStringLiteral("Setting_USE"), QStringLiteral("Y"));
    updated.insert(QStringLiteral("Last_SMSC"), custom ? m_customSmsc : QString());
    m_devices.replace(m_shownRow, updated);
    emit changed();
    m_op.Show_MessageBox(
        QStringLiteral("Selected connection settings '%1' for device '%2' have been applied successfully.")
            .arg(description, row.value(QStringLiteral("Model"))));
}

void Automated_GSM_Sending::Clear_Status_Button_Presses() {
    if (m_testing || m_shownRow < 0 || m_shownRow >= m_devices.size())
        return;
    bool anyStatus = false;
    for (const Record& c : m_cases.records())
        anyStatus = anyStatus || !c.value(QStringLiteral("Status")).isEmpty();
    if (!anyStatus)
        return;
    const Record row = m_devices.at(m_shownRow);
    if (!m_op.Show_YES_NO_MessageBox(
            QStringLiteral(
                "Are you sure you want to clear the last connection test results performed on \" %1 \"")
                .arg(row.value(QStringLiteral("Model")))))
        return;
    Record cleared = row;
    cleared.insert(kHistory, QString());
    m_devices.replace(m_shownRow, cleared);
    Fill_Test_case_List();
}

void Automated_GSM_Sending::Close_Button_Presses() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTest::kStillRunning);
        return;
    }
    QString pending;
    for (const Record& r : m_devices.records())
        if (r.value(QStringLiteral("Setting_USE")) != QLatin1String("Y"))
            pending += r.value(QStringLiteral("COM_PORT")) + QLatin1Char(',');
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
        m_op.Show_MessageBox(SendModeTest::kStillRunning);
        return;
    }
    if (m_shownRow < 0 || m_shownRow >= m_devices.size() || m_cases.isEmpty())
        return;
    QString path = m_op.chooseFileToSave({QStringLiteral("txt")});
    if (path.isEmpty())
        return;
    if (!path.endsWith(QStringLiteral(".txt"), Qt::CaseInsensitive))
        path += QStringLiteral(".txt");
    const QByteArray bytes = SendModeTest::reportBytes(
        GSM_Device_List_Wnd::deviceDetailText(m_devices.at(m_shownRow)), m_cases.records());
    QString why;
    if (!writeFileAtomically(path, bytes, &why))
        m_op.Show_MessageBox(errorInFileAccessing(why));
}
