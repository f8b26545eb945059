#pragma once
// Finding the phone adb sees and readying it for sending: the connection check with the
// companion app's installation, the app's permissions and the phone's properties, ending in a
// typed outcome. The device search window and the command line both run it; neither the
// search nor its outcome shows anything: the caller tells the operator (only the connection
// check itself still tells of an offline phone, several phones and a failed installation).
#include "android/AndroidDevices.h"
#include "android/CompanionApp.h"
#include "core/DataFolder.h"
#include "core/Record.h"

#include <QString>

#include <chrono>
#include <optional>

struct AndroidSelection;
struct DeviceSelection;
class Operator;

// The phone a search found and the operator chose.
struct ChosenPhone {
    QString serial;  // as adb names it
    QString caption; // the name the windows and the command line show
    QString details; // "Model Details:\n..." as the device details show them

    // Records the phone as the Android window's choice.
    void selectIn(DeviceSelection& selection, AndroidSelection& phone) const;
};

// Records several phones as the Android window's choice: a run sends through them all.
void selectPhones(const QList<ChosenPhone>& phones, DeviceSelection& selection, AndroidSelection& phone);

class PhoneSearch : private ConnectionStatusLines {
public:
    enum class Outcome { Connected, NoDevice, Unauthorized, More, Failed, Stopped };

    // What a search shows as it runs: the three status lines, the phone's line, and the rows
    // of the phone's properties as they are read (the "Device" row first). Called on the
    // searching thread.
    class Progress : public ConnectionStatusLines {
    public:
        virtual void rowsRead(const RecordList& rows) = 0;
    };

    // The box the operator is shown for a phone that is missing or has not allowed this
    // computer (NoDevice, Unauthorized); nothing for the other outcomes.
    struct Problem {
        QString title;
        QString text;
    };
    static std::optional<Problem> problemOf(Outcome outcome);

    // query: the phones looked at and the search's stop; progress may be null.
    PhoneSearch(Operator& op, DataFolder folder, PhoneQuery query, Progress* progress = nullptr);

    // One round on the calling (worker) thread: checks the connection (installing the app),
    // grants the app its permissions and reads the phone's properties.
    Outcome searchOnce();
    // Checks again, installing nothing, that the found phone is still the one ready (Select's
    // check): Connected, More, or Failed.
    Outcome recheck();
    // The serial adb names the single phone by ("" when none is attached).
    QString attachedSerial() const;

    // The phone's line as the last check read it ("Android Device ..."; "" when none).
    QString deviceLine() const { return m_deviceLine; }
    // The rows of the phone the last round connected.
    const RecordList& rows() const { return m_rows; }

private:
    Outcome connectFoundPhone();
    bool restUnlessStopped(std::chrono::milliseconds wait);
    bool stopAsked() const { return m_query.stop && m_query.stop(); }
    void markLine(Line line, const QString& text, QChar mark) override;
    void phoneFound(const QString& deviceLine) override;
    void addRows(const RecordList& rows);

    Operator& m_op;
    const DataFolder m_folder;
    const PhoneQuery m_query;
    Progress* m_progress;
    QString m_deviceLine;
    RecordList m_rows;
};

// The name of the phone the rows describe: its maker and model, or the phone's line when the
// properties name none.
QString phoneCaption(const RecordList& rows, const QString& deviceLine);
// The phone the rows describe, with its caption and details.
ChosenPhone chosenPhone(const RecordList& rows, const QString& deviceLine, const QString& serial = {});
