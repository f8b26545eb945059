#pragma once
// A campaign run from the command line, through modems or a phone alike: its progress on
// standard error, Ctrl-C as its Stop, the run's end once every device let it go (the words
// the job window shows at its end), the line per recipient and the summary (RunReport), and
// the report file when one was asked for.
#include "RunReport.h"
#include "gsm/SmsMode.h"
#include "services/CampaignRun.h"
#include "services/DeviceSettingsMemory.h"
#include "stores/ExportFormats.h"

#include <QCommandLineOption>

#include <optional>

class Operator;

struct CommandRunOptions {
    RunReport::Format format = RunReport::Format::Lines;
    QString reportPath; // "" for none
    ExportFormat reportFormat = ExportFormat::Text;
    int reportGroup = 0; // statusPassesFilter's
    RunReport::Scope scope = RunReport::Scope::Whole;
    bool stopOnSignal = true; // Ctrl-C stops the run (else the caller's handler does)
    // --take-new-devices: modems plugged in while the run sends join it (NewModemIntake), each
    // with the settings kept for its SIM (else in runMode); each is told in one line on
    // standard error, or as a JSON event ("device-taken") on standard output with --json.
    bool takeNewDevices = false;
    DeviceSettingsMemory::Kept keptSettings;
    SmsMode runMode = SmsMode::Unknown;
};

// The option, as the commands that send through modems take it.
inline QCommandLineOption takeNewDevicesOption() {
    return {QStringLiteral("take-new-devices"),
            QStringLiteral(
                "Modems: take modems plugged in while sending into the run (one line says so for each).")};
}

// The mode of the modems a run opens, for a modem that joins it (Unknown when they differ).
SmsMode runModeOf(const QList<SmsMode>& modes);
// Sets how.takeNewDevices (when asked, and the run goes through modems) with the settings kept
// for the SIMs of the folder and the mode of the run's modems.
void takeNewDevices(CommandRunOptions& how, bool asked, const DataFolder& folder,
                    const QList<SmsMode>& modes);

// Starts the run, waits for its end and returns the command's exit status.
int runCampaign(CampaignRun& campaign, Operator& op, const CommandRunOptions& options);
