#pragma once
// A campaign run from the command line, through modems or a phone alike: its progress on
// standard error, Ctrl-C as its Stop, the run's end once every device let it go (the words
// the job window shows at its end), the line per recipient and the summary (RunReport), and
// the report file when one was asked for.
#include "RunReport.h"
#include "services/CampaignRun.h"
#include "stores/ExportFormats.h"

#include <optional>

class Operator;

struct CommandRunOptions {
    RunReport::Format format = RunReport::Format::Lines;
    QString reportPath; // "" for none
    ExportFormat reportFormat = ExportFormat::Text;
    int reportGroup = 0; // statusPassesFilter's
    RunReport::Scope scope = RunReport::Scope::Whole;
    bool stopOnSignal = true; // Ctrl-C stops the run (else the caller's handler does)
};

// Starts the run, waits for its end and returns the command's exit status.
int runCampaign(CampaignRun& campaign, Operator& op, const CommandRunOptions& options);
