#pragma once
// Finding the modems attached: the ports are grouped by modem (gsm/ModemPortGroups.h), every
// port of a modem is opened at once and asked whether it can send messages and for its IMEI;
// the first port in the modem's order that answers is read for the rest (its SIM's ICCID
// among it) and described in one record per modem (the keys of device/DeviceRecord.h). The device window and
// the command line both search through here; what the operator is told of the outcome is theirs to show.
#include "DeviceSettingsMemory.h"
#include "core/Record.h"
#include "gsm/ModemDiscovery.h"
#include "gsm/ModemPortGroups.h"
#include "gsm/PortHolders.h"
#include "gsm/SimUnlock.h"

#include <QStringList>

#include <functional>
#include <stop_token>

namespace ModemSearch {

// What a search tells its caller as the rows change, on the probes' threads, one call at a time
// and in the order of the changes: a list that makes the same changes keeps the rows as the
// search has them. Any of them may be left empty.
struct Listener {
    std::function<void()> portOpened;                             // one more port answered the line
    std::function<void()> modemProbed;                            // one more modem's probe is over
    std::function<void(int row, const Record& record)> inserted;  // a modem found: its port and IMEI
    std::function<void(int row, const Record& record)> described; // the row's whole record
    std::function<void(int row)> removed; // an earlier port of the same modem takes its place
    // Where the PIN of a locked SIM comes from; left empty: the keyring alone, nobody asked.
    SimPins pins;
};

// How each port searched came out, in words a person or a script reads.
inline const QString kPortReady = QStringLiteral("ready");              // a modem that can send
inline const QString kPortHeld = QStringLiteral("held");                // another process has it
inline const QString kPortDenied = QStringLiteral("no permission");     // this user may not open it
inline const QString kPortNotOpened = QStringLiteral("not opened");     // the open failed
inline const QString kPortSilent = QStringLiteral("no answer");         // opened, no modem that sends
inline const QString kPortSameModem = QStringLiteral("same modem");     // another port of a modem listed
inline const QString kPortNotSearched = QStringLiteral("not searched"); // the search was stopped first

struct PortOutcome {
    QString path;
    QString state = kPortNotSearched;
    PortHolders::Finding holders; // who has it (held), or who likely has it (not opened, no answer)
    ModemDiscovery::UsbPlace place;
};

struct Result {
    RecordList modems;        // one per modem that answered, in discovery order
    RecordList unanswered;    // modems of a known slot none of whose ports answered (no IMEI)
    QStringList denied;       // the ports this user may not open
    bool noPort = false;      // there was nothing to probe
    QList<PortOutcome> ports; // every port searched, in discovery order
    // What the operator is told of it: that nothing was found, the ports denied, the ports
    // other programs hold and what to do.
    QStringList alerts() const;
    // The USB ids of the modems ModemManager holds (or likely holds): those a udev rule could
    // free.
    QList<std::pair<QString, QString>> takenByModemManager() const;
};

// Writes the udev rule that frees the modems ModemManager took to `file` and says how to
// install it: the file, the command and the rule. "" when no modem needs it; the reason when
// the file could not be written.
QString modemManagerRuleAdvice(const Result& result, const QString& file);

// Modems answer at their own pace and a modem bank holds up to 32 modules: all of them are
// probed side by side (each with all its ports), so the search takes about as long as its
// slowest modem.
inline constexpr int kParallelModems = 32;

// The status of a modem none of whose ports (named) answered.
QString noAnswerStatus(const QStringList& portNames);

// Probes the modems (search(), below, for paths); two modems of one IMEI (ports the grouping
// could not join) give one row, the first in discovery order keeping it. A modem of a known
// slot none of whose ports answers gives a row that says so (in `unanswered`, and told to the
// listener in its place). A stop lets the probes under way end and starts no more (the first
// modem is probed whatever the stop). The settings kept for a modem's SIM are laid over what
// it was probed for (DeviceSettingsMemory::layOver) before its record is told.
Result searchModems(const QList<ModemPortGroups::Group>& modems, std::stop_token stop = {},
                    const Listener& listener = {}, const DeviceSettingsMemory::Kept& kept = {});

// searchModems() over the paths grouped by ModemPortGroups::groupsOf.
Result search(const QStringList& paths, std::stop_token stop = {}, const Listener& listener = {},
              const DeviceSettingsMemory::Kept& kept = {});

// How a person reads a modem: its model and port ("E173 on ttyUSB0"), the port alone until
// the model is known.
QString nameOf(const Record& modem);

// The details text of a modem ("COM Port : ...\r\n..."), as the device window and the test
// report show it; then "ICCID : ..." when the SIM's number was read, "Network : ..." (roaming,
// searching) when the modem is not simply on its home network, "Slot : ..." for a modem
// on a known USB slot and "Status : ..." for one that did not answer.
QString detailsOf(const Record& modem);

// search() over the modem ports attached, then those of BULKSMS_EXTRA_MODEMS.
Result findModems(std::stop_token stop = {}, const Listener& listener = {},
                  const DeviceSettingsMemory::Kept& kept = {});

} // namespace ModemSearch
