#pragma once
// The send settings of each modem (its mode, the custom service centre box and number), kept
// across restarts by the SIM it holds: the settings file's "devices" object, one entry per SIM
// ("iccid:<digits>", or "imei:<digits>" for a modem that does not tell its SIM's number). A
// search lays them over what it probed, so a modem moved to another port keeps them, and a
// port that now holds another SIM does not pass them on.
// The file is untrusted: an entry with a mode the windows do not offer, a service centre that
// is no plausible number, or fields of the wrong kind is left out whole.
#include "core/DataFolder.h"
#include "core/Record.h"
#include "sending/DeviceLimits.h"

#include <QHash>
#include <QString>

class Operator;

class DeviceSettingsMemory {
public:
    struct Settings {
        QString mode; // "PDU Mode", "Text Mode", or "" for none
        bool useCustomSmsc = false;
        QString customSmsc; // "" unless useCustomSmsc
    };
    using Kept = QHash<QString, Settings>; // by keyOf()

    // Past this many SIMs the ones kept longest ago make room.
    static constexpr int kMaxDevices = 1000;

    explicit DeviceSettingsMemory(DataFolder folder);
    const DataFolder& folder() const { return m_folder; }

    // The SIM a device record stands for: "iccid:<digits>" when its ICCID was read, else
    // "imei:<digits>"; "" when it has neither in a plausible form.
    static QString keyOf(const Record& device);

    // The well-formed entries the file holds now (none when it is missing or unreadable).
    Kept read() const;
    // Writes the record's mode, custom box and custom number under its SIM's key at once (the
    // SIM's limits kept as they were). False, with why, when the file could not be written or
    // the record names no SIM.
    bool keep(const Record& device, QString* error = nullptr) const;
    // Writes the SIM's limits (its "limits": minute, hour, day; 0 none) beside the record's
    // mode and service centre, as keep() writes those. False, with why, as keep().
    bool keepLimits(const Record& device, const DeviceLimits& limits, QString* error = nullptr) const;
    // keepLimits(), the operator told notKeptMessage() when it failed: what a window does when
    // its limits change.
    bool keepLimitsOrTell(const Record& device, const DeviceLimits& limits, Operator& op) const;
    // The limits kept for the record's SIM (none when nothing is kept or it names no SIM).
    DeviceLimits limitsOf(const Record& device) const;

    // Lays the settings kept for the record's SIM over it: the mode only when the record still
    // offers it ("SUPSMSMode"). True when there were settings for it.
    static bool layOver(Record& device, const Kept& kept);
    // The three kept values of two records are the same.
    static bool sameSettings(const Record& a, const Record& b);

    // What the operator is told when keep() failed.
    static QString notKeptMessage(const QString& why);

private:
    // One write of the record's entry: its settings, and `limits` when given, else the entry's own.
    bool write(const Record& device, const DeviceLimits* limits, QString* error) const;

    DataFolder m_folder;
};

// The limits kept for single SIMs or phones, by the keys replies are filed under ("iccid:…",
// "imei:…", a phone's serial): Settings.json "devices" → key → "limits": {"minute": N,
// "hour": N, "day": N}. Entries of the wrong kind are left out.
QHash<QString, DeviceLimits> keptDeviceLimits(const DataFolder& folder);
