// The test controls of the GSM device window: the automated send-mode test of the shown
// device, its report, and the automated sending window for every device found.
#include "GSM_Device_List_Wnd.h"

#include "core/FileUtils.h"
#include "core/MainThread.h"
#include "core/Operator.h"
#include "core/TextUtils.h"
#include "device/DeviceRecord.h"

void GSM_Device_List_Wnd::Fill_Test_case_List() {
    if (m_testing)
        return; // the run keeps its own copy; its statuses land here as they come
    if (m_prevIndex < 0 || m_prevIndex >= m_ports.size()) {
        m_cases.clear();
        return;
    }
    const Record& r = m_ports.at(m_prevIndex);
    m_defaultSmscField = r.value(kDefaultSmscKey);
    // The custom cases follow the record's number, ticked or not: after a search it is the
    // modem's own centre, named in the message, which is worth its own case.
    m_cases.setRecords(SendModeTrial::Fill_Test_case_List(r.value(kSupportedSmsModesKey),
                                                          !r.value(kCustomSmscKey).isEmpty(),
                                                          r.value(kModelKey), r.value(kTestHistoryKey)));
}

void GSM_Device_List_Wnd::Send_Test_SMS_Pressed() {
    if (m_testing || m_worker.isRunning())
        return; // the session is busy: a test, a search or a device's details
    if (m_ports.isEmpty()) {
        m_op.Show_MessageBox(kDeviceListEmpty);
        return;
    }
    if (m_prevIndex < 0 || m_prevIndex >= m_ports.size()) {
        m_op.Show_MessageBox(kSelectDevice);
        return;
    }
    const Record record = m_ports.at(m_prevIndex);
    if (record.value(kSmsCapableKey) == QLatin1String("Not Detected")) {
        m_op.Show_MessageBox(SendModeTrial::kNotSmsCapable);
        return;
    }
    if (m_customSmscChecked && !update_custom_smsc())
        return;
    if (const QString problem = SendModeTrial::testNumberProblem(m_testNumberText); !problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    const QString path = record.value(kPortDetailKey);
    const QString customSmsc = m_customSmscChecked ? m_customSmscText : QString();
    Update_Column_Value(path, kLastTestSmscKey, customSmsc);

    // Unticked, the custom cases still name a centre: the record's (the modem's own after a search).
    SendModeTrial::Request request{path, m_customSmscChecked ? customSmsc : record.value(kCustomSmscKey),
                                   record.value(kDefaultSmscKey), Trim_Str(m_testNumberText),
                                   m_cases.records()};
    m_stopTest = false;
    m_testing = true;
    emit changed();
    m_worker.start([this, request](std::stop_token) mutable { Chk_Test_Automate_SMS_fun(request); });
}

void GSM_Device_List_Wnd::Chk_Test_Automate_SMS_fun(SendModeTrial::Request request) {
    onMain([this] { m_progressSheet = true; });
    const SendModeTrial::End end =
        SendModeTrial::runShown(m_session, request, m_stopTest, QStringLiteral("Case %1 : %2"),
                                {[this](const std::function<void()>& change) { onMain(change); }, m_cases,
                                 m_testInformation, m_caseProgress});
    if (end == SendModeTrial::End::OpenFailed)
        m_op.Show_MessageBox(SendModeTrial::kOpenFailed);
    const QString history = SendModeTrial::historyOf(request.cases);
    const QString path = request.path;
    onMain([this, path, history, end] {
        if (end != SendModeTrial::End::OpenFailed) {
            Update_Column_Value(path, kTestHistoryKey, history);
            Update_Column_Value_For_Main_array(m_selection, path, kTestHistoryKey, history);
        }
        m_testing = false;
        m_progressSheet = false;
        m_testInformation.clear();
    });
}

void GSM_Device_List_Wnd::Stop_SMS_Pressed() {
    if (!m_testing || !m_op.Show_YES_NO_MessageBox(SendModeTrial::kStopQuestion))
        return;
    m_stopTest = true;
}

void GSM_Device_List_Wnd::Save_SMS_Report_Pressed() {
    if (m_testing) {
        m_op.Show_MessageBox(SendModeTrial::kStillRunning);
        return;
    }
    if (m_prevIndex < 0 || m_prevIndex >= m_ports.size() || m_cases.isEmpty())
        return;
    QString path = m_op.chooseFileToSave({QStringLiteral("txt")});
    if (path.isEmpty())
        return;
    if (!path.endsWith(QStringLiteral(".txt"), Qt::CaseInsensitive))
        path += QStringLiteral(".txt");
    const QByteArray bytes =
        SendModeTrial::reportBytes(deviceDetailText(m_ports.at(m_prevIndex)), m_cases.records());
    QString why;
    if (!writeFileAtomically(path, bytes, &why))
        m_op.Show_MessageBox(errorInFileAccessing(why));
}

Automated_GSM_Sending::SettingsWriter GSM_Device_List_Wnd::settingsWriter() {
    return [this](const QString& path, const QString& key, const QString& value) {
        Update_Column_Value(path, key, value);
        Update_Column_Value_For_Main_array(m_selection, path, key, value);
        // The shown device's settings follow at once.
        if (m_prevIndex >= 0 && m_prevIndex < m_ports.size() &&
            m_ports.at(m_prevIndex).value(kPortDetailKey) == path) {
            const Record& r = m_ports.at(m_prevIndex);
            const SmsMode mode = smsModeFromText(r.value(kSmsModeKey));
            if (mode != SmsMode::Unknown)
                m_modeSelection = mode == SmsMode::Pdu ? 1 : 2;
            m_customSmscChecked = r.value(kUseCustomSmscKey) == QLatin1String("Y");
            m_customSmscText = m_customSmscChecked ? r.value(kCustomSmscKey) : QString();
            Fill_Test_case_List();
            emit changed();
        }
    };
}

void GSM_Device_List_Wnd::Automate_Button_Presses() {
    if (m_searching) {
        m_op.Show_MessageBox(QStringLiteral(
            "Scanning process for finding connected Mobile devices has not been completed yet. To perform "
            "this "
            "operation either stop the current process or wait for the process to be completed."));
        return;
    }
    if (!m_searchedOnce) {
        m_op.Show_MessageBox(
            QStringLiteral("The scanning to find connected Mobile devices has not been performed "
                           "yet.\nPlease click on \"Search "
                           "Mobile Device Again\" button to find connected Mobile devices to continue."));
        return;
    }
    if (m_testing || m_worker.isRunning()) {
        m_op.Show_MessageBox(SendModeTrial::kStillRunning);
        return;
    }
    Automated_GSM_Sending window(m_op, m_memory);
    window.open(m_ports.records(), settingsWriter());
    window.beginModal();
    m_op.runModal(window);
}
