#include "PhoneModeTrials.h"

#include "android/AdbRunner.h"
#include "android/AndroidModeTrial.h"
#include "core/Clock.h"
#include "core/TroubleshootingLog.h"
#include "device/TestCaseRecord.h"

#include <array>
#include <utility>

using namespace std::chrono_literals;

namespace {

struct CaseKind {
    const char* label;
    const QString& mode; // the mode's name, as the table and the test message show it
    const char* code;
};
const std::array<CaseKind, PhoneModeTrials::kCaseCount> kCases{{
    {"Case 1:", AndroidModeTrial::kSingleShot, "SS"},
    {"Case 2:", AndroidModeTrial::kStandard, "OBOS"},
    {"Case 3:", AndroidModeTrial::kClassic, "OBOC"},
}};

const QString kSuccess = QStringLiteral("Success");
const QString kFail = QStringLiteral("Fail");

AndroidModeTrial::Outcome tryCase(int index, const DataFolder& folder, const QString& number,
                                  const QString& text) {
    switch (index) {
    case 0: return AndroidModeTrial::singleShot(folder, number, text);
    case 1: return AndroidModeTrial::standard(folder, number, text);
    default: return AndroidModeTrial::classic(number, text);
    }
}

} // namespace

RecordList PhoneModeTrials::caseRows(const QString& device) {
    RecordList rows;
    for (const CaseKind& kind : kCases)
        rows << Record{{kPhoneCaseLabelKey, QString::fromLatin1(kind.label)},
                       {kCaseDescriptionKey, kind.mode},
                       {kCaseStatusKey, QString()},
                       {kCaseMessageKey, AndroidModeTrial::caseText(kind.mode, device)},
                       {kCaseCodeKey, QString::fromLatin1(kind.code)}};
    return rows;
}

PhoneModeTrials::PhoneModeTrials(Operator& op, DataFolder folder, QString serialFilter)
    : m_op(op), m_folder(std::move(folder)), m_serialFilter(std::move(serialFilter)) {}

PhoneSearch::Outcome PhoneModeTrials::run(const Trial& trial, const Progress& progress) {
    const AdbTarget target(m_serialFilter);
    const PhoneSearch::Outcome ready = PhoneSearch(m_op, m_folder, PhoneQuery{m_serialFilter, {}}).recheck();
    if (ready != PhoneSearch::Outcome::Connected)
        return ready;
    for (int i = 0; i < kCaseCount; ++i) {
        if (trial.stop && trial.stop()) {
            for (int rest = i; rest < kCaseCount; ++rest)
                progress.ended(rest, QStringLiteral("Stopped"), QString());
            break;
        }
        runCase(i, trial, progress);
        if (i + 1 < kCaseCount)
            Clock::sleep(1s);
    }
    return ready;
}

void PhoneModeTrials::runCase(int index, const Trial& trial, const Progress& progress) {
    const QString& mode = kCases.at(index).mode;
    const QString title = QStringLiteral("Execute Case %1: %2").arg(index + 1).arg(mode);
    progress.starting(index, title);
    Write_In_Troubleshoot_File(
        QString(title).replace(QStringLiteral("Execute Case"), QStringLiteral("Mode")) +
        QStringLiteral("\n") + QString(39, QLatin1Char('-')) + QStringLiteral("\n") +
        QStringLiteral("Timestamp:\t") + Get_Date_Time_Val() + QStringLiteral("\n") + trial.details +
        QStringLiteral("\n") + QStringLiteral("Test Number : ") + trial.number + QStringLiteral("\n"));
    const AndroidModeTrial::Outcome outcome =
        tryCase(index, m_folder, trial.number, AndroidModeTrial::caseText(mode, trial.device));
    const QString status = outcome.worked() ? kSuccess : kFail;
    if (outcome.copied)
        Write_In_Troubleshoot_File(
            QStringLiteral("Launch Case %1 : %2\n%3\n").arg(index + 1).arg(status, outcome.output.trimmed()));
    else
        Write_In_Troubleshoot_File(
            QStringLiteral("Case %1 Failed the file could not be copied to the phone's storage\n")
                .arg(index + 1));
    if (!outcome.fileError.isEmpty())
        Write_In_Troubleshoot_File(outcome.fileError + QLatin1Char('\n'));
    progress.ended(index, status, outcome.fileError);
}
