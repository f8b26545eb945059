#include "SendOptions.h"

SendOptions::SendOptions() {
    parser.setApplicationDescription(QStringLiteral(
        "Sends one message to every recipient through GSM modems, as the GSM window does.\n"
        "Devices are given by path; each may carry its mode and a custom service centre:\n"
        "  --device /dev/ttyUSB0,mode=text,smsc=+447700900123\n"
        "Without --device every modem found is used (BULKSMS_EXTRA_MODEMS adds virtual ones).\n"
        "Exit status: 0 when everything sendable was sent (skipped and excluded numbers are no failures),\n"
        "1 when some failed, 2 on bad usage or input, 3 when nothing went out, 4 when sending stopped\n"
        "because data could not be written (the run's record, the sent items, the report) or a file\n"
        "of the data folder could not be read.\n"
        "The log (every AT command and answer) goes to the troubleshooting log, Troubleshooting_Log.txt\n"
        "beside the data folder (private to the user); --verbose copies it to standard error too."));
    parser.addHelpOption();
    // In the order --help has always listed them.
    parser.addOptions({to,
                       numbersFile,
                       sheet,
                       header,
                       numberColumn,
                       messageColumn,
                       templateText,
                       message,
                       messageFile,
                       device,
                       unicode,
                       flash,
                       skip,
                       exclusion,
                       pauseEvery,
                       pauseFor,
                       saveSent,
                       saveTemplates,
                       yes,
                       dryRun,
                       plainPunctuation,
                       retries,
                       json,
                       strict,
                       resume,
                       campaign,
                       resendUnknown,
                       report,
                       reportFilter,
                       discardUnfinished,
                       android,
                       serial,
                       allPhones,
                       mode,
                       country,
                       deliveryReports,
                       footer,
                       at,
                       window,
                       windowZone,
                       until,
                       perMinute,
                       perHour,
                       perDay,
                       randomGap,
                       takeNewDevices});
}
