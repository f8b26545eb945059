#include "PhoneSearch.h"

#include "android/AdbRunner.h"
#include "android/AndroidSelection.h"
#include "core/Clock.h"
#include "core/DeviceSelection.h"
#include "device/DeviceRecord.h"

#include <utility>

using namespace std::chrono_literals;

void ChosenPhone::selectIn(DeviceSelection& selection, AndroidSelection& phone) const {
    selection.sel_port_name_str = caption;
    selection.sel_port_bsd_str = caption;
    selection.port_val_str_array = {caption};
    phone.AND_Sel_Dev_Details = details;
    phone.phones.clear(); // the one phone attached, as adb finds it
}

void selectPhones(const QList<ChosenPhone>& phones, DeviceSelection& selection, AndroidSelection& phone) {
    QStringList captions;
    QStringList details;
    phone.phones.clear();
    for (const ChosenPhone& chosen : phones) {
        captions << chosen.caption;
        details << chosen.details;
        phone.phones.append({chosen.serial, chosen.caption});
    }
    selection.sel_port_name_str = captions.join(QStringLiteral(", "));
    selection.sel_port_bsd_str = selection.sel_port_name_str;
    selection.port_val_str_array = captions;
    phone.AND_Sel_Dev_Details = details.join(QStringLiteral("\n\n"));
}

std::optional<PhoneSearch::Problem> PhoneSearch::problemOf(Outcome outcome) {
    if (outcome == Outcome::NoDevice)
        return Problem{QStringLiteral("Android device not found"),
                       QStringLiteral("1. Either Mobile Device is not connected properly or,") +
                           QStringLiteral("\n\n") + QStringLiteral("2. USB Debugging is not enabled or,") +
                           QStringLiteral("\n\n") +
                           QStringLiteral("3. ADB Drivers are not installed properly.")};
    if (outcome == Outcome::Unauthorized)
        return Problem{
            QStringLiteral("Allow USB permissions on your mobile"),
            QStringLiteral("Allow USB permissions from Pop-up message on your mobile screen.") +
                QStringLiteral("\n\n") +
                QStringLiteral("Ostrel Software app may not connect until you allow required permissions.") +
                QStringLiteral("\n\n") +
                QStringLiteral("Note: Make sure your mobile screen is unlocked. If you do not see Permission "
                               "message after several retries, try rebooting your mobile device.")};
    return std::nullopt;
}

PhoneSearch::PhoneSearch(Operator& op, DataFolder folder, PhoneQuery query, Progress* progress)
    : m_op(op), m_folder(std::move(folder)), m_query(std::move(query)), m_progress(progress) {}

void PhoneSearch::markLine(Line line, const QString& text, QChar mark) {
    if (m_progress != nullptr)
        m_progress->markLine(line, text, mark);
}

void PhoneSearch::phoneFound(const QString& deviceLine) {
    m_deviceLine = deviceLine;
    if (m_progress != nullptr)
        m_progress->phoneFound(deviceLine);
}

void PhoneSearch::addRows(const RecordList& rows) {
    m_rows += rows;
    if (m_progress != nullptr)
        m_progress->rowsRead(rows);
}

PhoneSearch::Outcome PhoneSearch::searchOnce() {
    const AdbTarget target(m_query.serialFilter);
    m_rows.clear();
    phoneFound(QString());
    QString tag;
    if (CheckConnection(tag, true, m_op, m_folder, m_query, this))
        return connectFoundPhone();
    if (stopAsked()) {
        markLine(Connection, QStringLiteral("Stopped"), QLatin1Char('A'));
        return Outcome::Stopped;
    }
    if (tag == QLatin1String("MORE"))
        return Outcome::More;
    if (m_deviceLine.trimmed().isEmpty())
        return Outcome::NoDevice;
    if (m_deviceLine.contains(QLatin1String("unauthorized"), Qt::CaseInsensitive))
        return Outcome::Unauthorized;
    return Outcome::Failed;
}

bool PhoneSearch::restUnlessStopped(std::chrono::milliseconds wait) {
    if (!Clock::sleepUnless(wait, [this] { return stopAsked(); }) || stopAsked()) {
        markLine(Connection, QStringLiteral("Stopped"), QLatin1Char('A'));
        return false;
    }
    return true;
}

PhoneSearch::Outcome PhoneSearch::connectFoundPhone() {
    // The rests let the operator read each line before the next one changes.
    if (!restUnlessStopped(1s))
        return Outcome::Stopped;
    markLine(Searching, QStringLiteral("Android device found"), QLatin1Char('T'));
    if (!restUnlessStopped(2s))
        return Outcome::Stopped;
    markLine(Permission, QStringLiteral("Waiting for user permissions"), QLatin1Char('A'));
    addRows({propertyRow(QStringLiteral("Device"), m_deviceLine)});
    Send_Permission_Command_To_Phone(m_query.stop);
    markLine(Permission, QStringLiteral("User permissions done"), QLatin1Char('T'));
    markLine(Connection, QStringLiteral("Connecting"), QLatin1Char('A'));
    RecordList properties;
    for (const Record& row : readDeviceProperties(m_folder, m_query.stop))
        if (!row.value(kPortNameKey).trimmed().isEmpty())
            properties.append(row);
    addRows(properties);
    markLine(Connection, QStringLiteral("Connected"), QLatin1Char('T'));
    return Outcome::Connected;
}

PhoneSearch::Outcome PhoneSearch::recheck() {
    const AdbTarget target(m_query.serialFilter);
    QString tag;
    if (CheckConnection(tag, false, m_op, m_folder, m_query, this))
        return Outcome::Connected;
    return tag == QLatin1String("MORE") ? Outcome::More : Outcome::Failed;
}

QString PhoneSearch::attachedSerial() const {
    const AdbTarget target(m_query.serialFilter);
    const QString list = Get_Android_Device_List(m_query);
    return list.section(QLatin1Char('\n'), 0, 0).trimmed().section(QLatin1Char('\t'), 0, 0);
}

QString phoneCaption(const RecordList& rows, const QString& deviceLine) {
    QString name = Get_Device_name_Detail(rows);
    if (name.isEmpty() || name.contains(QLatin1String("unknown"), Qt::CaseInsensitive))
        return deviceLine;
    return name;
}

ChosenPhone chosenPhone(const RecordList& rows, const QString& deviceLine, const QString& serial) {
    return ChosenPhone{serial, phoneCaption(rows, deviceLine), Sel_Dev_Detail_String_Creation(rows)};
}
