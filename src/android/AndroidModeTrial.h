#pragma once
// The three ways the companion app can send, each tried once with one test message: the
// list file (single-shot), the message file (standard one-by-one) and the text in the start
// command (classic one-by-one). The search window's test message and the automated mode test
// both use them.
#include <QString>

class DataFolder;

namespace AndroidModeTrial {

inline const QString kSingleShot = QStringLiteral("Single-shot Execution Mode");
inline const QString kStandard = QStringLiteral("One-by-One Contact Process - Standard Mode");
inline const QString kClassic = QStringLiteral("One-by-One Contact Process - Classic Mode");
inline const QString kInvalidTestNumber = QStringLiteral(
    "Phone number entered to receive test message does not seem to be valid. Please enter a valid "
    "phone number to receive test message.");

// A case's text: its description, " is working for Device Model: " and the device.
QString caseText(const QString& description, const QString& device);

// The trimmed test number, or "" with the refusal in `problem`.
QString checkedTestNumber(const QString& typed, QString& problem);

struct Outcome {
    bool copied = true; // the file the path needs reached the phone (classic needs none)
    bool started = false;
    QString fileError; // "<file>: <reason>" when the file for the phone could not be written
    QString output;    // what the start of the app printed
    // The app was started and did not report an error.
    bool worked() const;
};

// Each runs on the calling (worker) thread, removes what it put on the phone and the
// computer, and waits as the sending does after a start.
Outcome singleShot(const DataFolder& folder, const QString& number, const QString& text);
Outcome standard(const DataFolder& folder, const QString& number, const QString& text);
Outcome classic(const QString& number, const QString& text);

} // namespace AndroidModeTrial
