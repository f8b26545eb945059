#pragma once
// The automated send-mode test: one real message per combination of mode (PDU, text) and
// service centre (the modem's own, the custom one) that a device supports, to find out
// which settings work on it. The device window, the automated sending window and the
// test-device command all run it; this is what they share: the case list, the history kept
// in a record, the report file and the run itself.
#include "core/Record.h"
#include "core/RecordTable.h"
#include "gsm/SmsMode.h"

#include <QByteArray>
#include <QString>

#include <atomic>
#include <functional>

class MFCSMS;

namespace SendModeTrial {

// Case codes, in the order a run tries them.
inline const QString kPduCustom = QStringLiteral("PDU_CUS_SMSC");
inline const QString kPduDefault = QStringLiteral("PDU_DEF_SMSC");
inline const QString kTextCustom = QStringLiteral("TXT_CUS_SMSC");
inline const QString kTextDefault = QStringLiteral("TXT_DEF_SMSC");

inline const QString kConnectionErrorStatus = QStringLiteral("Device Connection Error");
inline const QString kStoppedStatus = QStringLiteral("Stopped");
inline const QString kStillRunning = QStringLiteral(
    "Device connection test is in progress. To perform this operation either stop the current process or "
    "wait for the test to be completed.");
inline const QString kStopQuestion = QStringLiteral(
    "Test SMS sending process has not been completed yet. Are you sure you want to stop the process?");
inline const QString kInvalidTestNumber =
    QStringLiteral("Please enter a valid phone number to receive test message.");
inline const QString kOpenFailed = QStringLiteral("\nSelected device is not working properly.");
inline const QString kNotSmsCapable =
    QStringLiteral("This Device cannot be used for sending Text messages as it does not seem to have SMS "
                   "Sending capabilities.");

QString descriptionOf(const QString& code);
SmsMode modeOf(const QString& code);
bool usesCustomSmsc(const QString& code);

// The case list of a device (Fill_Test_case_List): PDU cases when it supports PDU mode,
// text cases when it supports text mode, the custom-service-centre case of each only with a
// custom number. Each status comes from the history ("" when it names none).
RecordList Fill_Test_case_List(const QString& supportedModes, bool withCustomSmsc, const QString& model,
                               const QString& history);

// "%@||%@||" per case, in list order; and a case's status read back from such a text.
QString historyOf(const RecordList& cases);
QString statusInHistory(const QString& history, const QString& code);

// The report file (Save_SMS_Report_Pressed): a header, the device's details and every case,
// in UTF-8 with one byte-order mark, as every text report.
QByteArray reportBytes(const QString& deviceDetails, const RecordList& cases);

// A test recipient as typed: "" when it may receive the test messages, else the message
// that refuses it.
QString testNumberProblem(const QString& typed);

// What a run needs, copied for its thread.
struct Request {
    QString path;
    QString customSmsc;  // used by the custom cases
    QString defaultSmsc; // put back after a text-mode message through the custom one
    QString number;
    RecordList cases;
};

// What a run tells its window as it goes (called on the run's thread).
struct Progress {
    std::function<void(const QString& text)> announce;               // "Connecting Device", a case, ...
    std::function<void(int percent)> caseProgress;                   // 0 as a case starts, 100 as it ends
    std::function<void(int index, const QString& status)> caseEnded; // a status of the case list
};

enum class End { Completed, Stopped, OpenFailed, ConnectionFailed };

// Runs the cases in order through the session (opened on the request's path and closed
// again) until stop turns true, which ends the run after the case in progress. The cases
// come back with their statuses: those not run are "Stopped", or "Device Connection Error"
// when the device did not answer. `caseTitle` announces a case from its number and
// description ("Case %1 : %2").
End run(MFCSMS& session, Request& request, const std::atomic<bool>& stop, const Progress& progress,
        const QString& caseTitle);

// What a window shows of a run, each field changed only through `onMain` (on the main
// thread, where the window is read).
struct Shown {
    std::function<void(const std::function<void()>&)> onMain;
    RecordTable& cases;   // statuses emptied first, then filled in as the cases end
    QString& information; // the announced line
    int& caseProgress;    // the case's bar
};

// run() for a window: what it shows follows the run as it goes.
End runShown(MFCSMS& session, Request& request, const std::atomic<bool>& stop, const QString& caseTitle,
             const Shown& shown);

} // namespace SendModeTrial
