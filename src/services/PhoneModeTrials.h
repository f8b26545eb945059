#pragma once
// The automated mode test of a phone: three cases, one per way the companion app sends
// (single-shot, standard and classic one-by-one), each tried once with one test message, in
// order. The Android window's test and "bulksms test-device --android" both run it; the
// caller shows what it reports.
#include "PhoneSearch.h"
#include "core/DataFolder.h"
#include "core/Record.h"

#include <QString>

#include <functional>

class Operator;

class PhoneModeTrials {
public:
    static constexpr int kCaseCount = 3;
    // The case table for the phone named device: each case's label, code, mode and
    // test message, with an empty status.
    static RecordList caseRows(const QString& device);

    struct Trial {
        QString number;             // receives the test messages (checked by the caller)
        QString device;             // the phone's caption, named in each message
        QString details;            // the phone's model details, for the troubleshooting log
        std::function<bool()> stop; // looked at between cases
    };
    // What a run tells as it goes, on the running thread.
    struct Progress {
        std::function<void(int index, const QString& title)> starting; // "Execute Case 1: ..."
        // status: "Success", "Fail" or "Stopped"; fileError: "<file>: <reason>" when a file for
        // the phone could not be written here ("" otherwise).
        std::function<void(int index, const QString& status, const QString& fileError)> ended;
    };

    PhoneModeTrials(Operator& op, DataFolder folder, QString serialFilter);

    // On the calling (worker) thread: checks the phone as Select does (PhoneSearch::recheck)
    // and, when it is Connected, runs the cases; on a stop the cases not run end "Stopped".
    // Returns the check's outcome.
    PhoneSearch::Outcome run(const Trial& trial, const Progress& progress);

private:
    void runCase(int index, const Trial& trial, const Progress& progress);

    Operator& m_op;
    const DataFolder m_folder;
    const QString m_serialFilter;
};
