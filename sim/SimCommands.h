#pragma once
// The commands on the SIM's message store, as 27.005 words their answers: "+CPMS" (memories
// and their counts), "+CMGL" (list by status), "+CMGR" (read one, which marks it read),
// "+CMGD" (delete one, or by flag), "+CMGW" (the prompt to write one). Answers follow the
// message format ("+CMGF") and, in text mode, the character set ("+CSCS") and "+CSDH".
#include "AtParser.h"
#include "ModemCommands.h"
#include "SimStore.h"

#include <QList>

#include <optional>
#include <utility>

namespace sim {

class SimCommands {
public:
    SimCommands(SimStore& store, const ModemSettings& settings) : m_store(store), m_settings(settings) {}

    // The answer to a store command; nothing for other commands.
    std::optional<CommandResult> run(const AtCommand& command);
    // What deletions took out since last asked, by index.
    QList<std::pair<int, SimEntry>> takeDeleted() { return std::exchange(m_deleted, {}); }

    // A message's text as text mode shows it under the character set: 7-bit texts converted
    // to the set, 8-bit and UCS2 data as hex of their octets.
    static QString textModeBody(const SimEntry& entry, const QString& charset);

private:
    CommandResult preferredStorage(const AtCommand& command) const;
    CommandResult list(const AtCommand& command);
    CommandResult read(const AtCommand& command);
    CommandResult remove(const AtCommand& command);
    CommandResult write(const AtCommand& command) const;
    // The header line of an entry: "+CMGL: <index>,..." (listed) or "+CMGR: ..." (read).
    QString header(const SimEntry& entry, int index, bool listed) const;
    // A whole-number index in range; -1 when it is none.
    int indexOf(const QString& text) const;

    SimStore& m_store;
    const ModemSettings& m_settings;
    QList<std::pair<int, SimEntry>> m_deleted;
};

} // namespace sim
