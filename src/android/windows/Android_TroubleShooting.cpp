#include "Android_TroubleShooting.h"

#include "android/AndroidDevices.h"
#include "android/AndroidModeTrial.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/MainWindowController.h"
#include "core/Operator.h"
#include "device/TestCaseRecord.h"
#include "services/PhoneModeTrials.h"

#include <utility>

namespace {
const QStringList kCaseColumns = {kPhoneCaseLabelKey, kCaseDescriptionKey, kCaseStatusKey};
} // namespace

Android_TroubleShooting::Android_TroubleShooting(Operator& op, DataFolder folder, AndroidSelection& phone,
                                                 const DeviceSelection& selection, QObject* parent)
    : DialogController(parent), m_op(op), m_folder(std::move(folder)), m_phone(phone), m_selection(selection),
      m_cases(kCaseColumns) {}

Android_TroubleShooting::~Android_TroubleShooting() {
    m_stop = true;
    m_worker.join();
}

void Android_TroubleShooting::open(const QString& deviceCaption) {
    const int mode = m_phone.AND_SMS_sending_mode;
    m_mode = mode == int(AndroidSendingMode::SingleShot) ? 0
             : mode == int(AndroidSendingMode::Classic)  ? 3
                                                         : 1;
    m_testNumber.clear();
    m_information.clear();
    m_deviceLabel = deviceCaption;
    m_cases.setRecords(PhoneModeTrials::caseRows(deviceCaption));
    emit changed();
}

void Android_TroubleShooting::setStatus(int index, const QString& status) {
    onMain([this, index, status] {
        Record row = m_cases.at(index);
        row.insert(kCaseStatusKey, status);
        m_cases.replace(index, row);
    });
}

void Android_TroubleShooting::Start_Btn() {
    if (m_testing)
        return;
    if (m_selection.sel_port_name_str.isEmpty() || m_deviceLabel.isEmpty() ||
        m_deviceLabel == kNoDeviceSelectedCaption) {
        m_op.Show_MessageBox(kNoPhoneSelectedMessage);
        return;
    }
    QString problem;
    const QString number = AndroidModeTrial::checkedTestNumber(m_testNumber, problem);
    if (!problem.isEmpty()) {
        m_op.Show_MessageBox(problem);
        return;
    }
    m_information = QStringLiteral("Execute Case 1: ") + AndroidModeTrial::kSingleShot;
    RecordList cleared = m_cases.records();
    for (Record& row : cleared)
        row.insert(kCaseStatusKey, QString());
    m_cases.setRecords(cleared);
    m_testing = true;
    m_stop = false;
    emit changed();
    const QString device = m_deviceLabel;
    m_worker.start([this, number, device](std::stop_token) {
        Guard::run("Android_TroubleShooting::runCases", [&] { runCases(number, device); });
        onMain([this] { m_testing = false; });
    });
}

void Android_TroubleShooting::runCases(const QString& number, const QString& device) {
    const QString details = MainThread::invokeAndWait([this] { return m_phone.AND_Sel_Dev_Details; });
    const PhoneModeTrials::Trial trial{number, device, details, [this] { return m_stop.load(); }};
    const PhoneModeTrials::Progress progress{
        [this](int, const QString& title) { onMain([this, title] { m_information = title; }); },
        [this](int index, const QString& status, const QString& fileError) {
            if (!fileError.isEmpty())
                m_op.Show_MessageBox(errorInFileAccessing(fileError));
            setStatus(index, status);
        }};
    const PhoneSearch::Outcome ready =
        PhoneModeTrials(m_op, m_folder, m_phone.serialFilter).run(trial, progress);
    if (ready == PhoneSearch::Outcome::Connected)
        onMain([this] { m_information.clear(); });
    else if (ready != PhoneSearch::Outcome::More)
        m_op.Show_MessageBox(kNoPhoneSelectedMessage);
}

void Android_TroubleShooting::Single_Shot_Radio() {
    m_mode = 0;
    m_phone.AND_SMS_sending_mode = m_mode;
    emit changed();
}

void Android_TroubleShooting::Standard_Radio() {
    m_mode = 1;
    m_phone.AND_SMS_sending_mode = m_mode;
    emit changed();
}

void Android_TroubleShooting::Classic_Radio() {
    m_mode = 3;
    m_phone.AND_SMS_sending_mode = m_mode;
    emit changed();
    m_op.Show_MessageBox(QStringLiteral("Information:\n\nYou have selected 'Classic Mode' for sending "
                                        "Messages.\n\nSome Devices may not support "
                                        "non-English (Unicode) or Special character based SMS using this "
                                        "mode.\n\nIf you are facing difficulties in "
                                        "sending SMS using 'Classic Mode', please select 'Standard Mode'."));
}

void Android_TroubleShooting::OK_Btn() {
    if (m_testing)
        return;
    m_phone.AND_SMS_sending_mode = m_mode;
    endModal(1);
}

void Android_TroubleShooting::Close_Btn() {
    if (m_testing)
        return;
    endModal(0);
}
