#pragma once
// Command-line flags of bulksms-modem-sim; they mirror ModemIdentity and ModemBehaviour.
#include "ModemConfig.h"

#include <QString>
#include <QStringList>

namespace sim {

struct SimOptions {
    ModemIdentity identity;
    ModemBehaviour behaviour;
    QString logPath;
    QString incomingPath; // a file of JSON lines the modems follow (IncomingFeed)
    int count = 1;
    bool help = false;
    QString error; // empty when the arguments were understood
};

namespace SimOptionsParser {
// `arguments` includes the program name first, as QCoreApplication::arguments() gives it.
SimOptions parse(const QStringList& arguments);
QString usage();
} // namespace SimOptionsParser

} // namespace sim
