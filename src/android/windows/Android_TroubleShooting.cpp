#include "Android_TroubleShooting.h"

#include "android/AdbRunner.h"
#include "android/AndroidDevices.h"
#include "android/AndroidModeTrial.h"
#include "android/CompanionApp.h"
#include "core/Clock.h"
#include "core/FileUtils.h"
#include "core/Guard.h"
#include "core/MainThread.h"
#include "core/MainWindowController.h"
#include "core/Operator.h"
#include "core/TroubleshootingLog.h"
#include "device/TestCaseRecord.h"
#include <utility>

using namespace std::chrono_literals;

namespace {
struct CaseKind {
    const char* label;
    const QString& description;
    const char* name;
};
const CaseKind kCases[] = {
    {"Case 1:", AndroidModeTrial::kSingleShot, "SS"},
    {"Case 2:", AndroidModeTrial::kStandard, "OBOS"},
    {"Case 3:", AndroidModeTrial::kClassic, "OBOC"},
};
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
    RecordList rows;
    for (const CaseKind& kind : kCases)
        rows << Record{{kPhoneCaseLabelKey, QString::fromLatin1(kind.label)},
                       {kCaseDescriptionKey, kind.description},
                       {kCaseStatusKey, QString()},
                       {kCaseMessageKey, AndroidModeTrial::caseText(kind.description, deviceCaption)},
                       {kCaseCodeKey, QString::fromLatin1(kind.name)}};
    m_cases.setRecords(rows);
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
    QString tag;
    if (!CheckConnection(tag, false, m_op, m_folder, PhoneQuery{m_phone.serialFilter, {}})) {
        if (tag != QLatin1String("MORE"))
            m_op.Show_MessageBox(kNoPhoneSelectedMessage);
        return;
    }
    const QString details = MainThread::invokeAndWait([this] { return m_phone.AND_Sel_Dev_Details; });
    for (int i = 0; i < 3; ++i) {
        if (m_stop) {
            for (int rest = i; rest < 3; ++rest)
                setStatus(rest, QStringLiteral("Stopped"));
            break;
        }
        const QString title = QStringLiteral("Execute Case %1: %2").arg(i + 1).arg(kCases[i].description);
        onMain([this, title] { m_information = title; });
        Write_In_Troubleshoot_File(
            QString(title).replace(QStringLiteral("Execute Case"), QStringLiteral("Mode")) +
            QStringLiteral("\n") + QString(39, QLatin1Char('-')) + QStringLiteral("\n") +
            QStringLiteral("Timestamp:\t") + Get_Date_Time_Val() + QStringLiteral("\n") + details +
            QStringLiteral("\n") + QStringLiteral("Test Number : ") + number + QStringLiteral("\n"));
        const QString text = AndroidModeTrial::caseText(kCases[i].description, device);
        const AndroidModeTrial::Outcome outcome =
            i == 0   ? AndroidModeTrial::singleShot(m_folder, number, text)
            : i == 1 ? AndroidModeTrial::standard(m_folder, number, text)
                     : AndroidModeTrial::classic(number, text);
        const bool worked = outcome.worked();
        if (outcome.copied)
            Write_In_Troubleshoot_File(QStringLiteral("Launch Case %1 : %2\n%3\n")
                                           .arg(i + 1)
                                           .arg(worked ? QStringLiteral("Success") : QStringLiteral("Fail"))
                                           .arg(outcome.output.trimmed()));
        else
            Write_In_Troubleshoot_File(
                QStringLiteral("Case %1 Failed the file could not be copied to the phone's storage\n")
                    .arg(i + 1));
        if (!outcome.fileError.isEmpty()) {
            Write_In_Troubleshoot_File(outcome.fileError + QLatin1Char('\n'));
            m_op.Show_MessageBox(errorInFileAccessing(outcome.fileError));
        }
        setStatus(i, worked ? QStringLiteral("Success") : QStringLiteral("Fail"));
        if (i < 2)
            Clock::sleep(1s);
    }
    onMain([this] { m_information.clear(); });
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
