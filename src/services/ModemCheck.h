#pragma once
// Checking a modem before it sends: the check of each modem chosen for a run (its record's
// service centre and mode, a working connection) and the check of a port before a run starts.
// They report what they found; the device window and the command line tell the operator.
#include "core/Record.h"

#include <QString>

class MFCSMS;
class Operator;

namespace ModemCheck {

// Opens a modem as every check does (line set-up, session port, 1 s read time-out): the
// session's descriptor, or -1.
int open(MFCSMS& session, const QString& path);

// Whether the modem on this port answers, through a session of its own (closed again).
bool answers(const QString& path);

// What keeps a chosen modem from sending, in the order it is looked for.
enum class Problem {
    None,
    NoServiceCentre,       // neither the modem's own service centre nor a custom one
    NoMode,                // its record names no SMS mode
    NotWorking,            // it cannot be opened or does not answer after a reset
    NoCustomServiceCentre, // a custom service centre is to be used but none is given
};

struct Verdict {
    Problem problem = Problem::None;
    // Its record says it cannot send messages; looked at only once it answered, and the
    // operator decides whether it is used all the same (before any problem after it is told).
    bool notSmsCapable = false;
};

// Checks a modem chosen for a run (a record of the search) through a session of its own;
// a modem without problem is readied for a run of several messages (AT+CMMS=2).
Verdict forRun(const Record& record);

// The operator's words for a problem ("" for None).
QString messageOf(Problem problem);

// Whether a modem chosen for a run joins it: checked (forRun), then the operator decides what
// the check leaves open. Alone, a modem with a problem ends the choice; one of several is
// skipped when the operator goes on without it.
enum class Choice { Accept, Skip, Stop };
Choice choose(Operator& op, const Record& record, int chosen);

} // namespace ModemCheck

// Whether a typed service centre number can be used (the same rules as a recipient's).
bool isUsableSmscNumber(const QString& number);
inline const QString kInvalidSmsc =
    QStringLiteral("The SMSC number does not seem to be valid. Please enter a valid SMSC number.");
