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
    // A symbolic link to the pseudo-terminal, made once it serves and removed at exit, so that
    // a test can name the modem's path before it starts; with count > 1 each modem's link is
    // the path with "-1", "-2", ... added.
    QString linkPath;
    bool help = false;
    QString error; // empty when the arguments were understood
};

namespace SimOptionsParser {
// `arguments` includes the program name first, as QCoreApplication::arguments() gives it.
SimOptions parse(const QStringList& arguments);
QString usage();
} // namespace SimOptionsParser

} // namespace sim
