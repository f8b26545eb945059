#pragma once
// A message a device received (someone's reply), as the device read it. The device keeps it
// (a modem on its SIM) until whoever stores it says it is kept: a message is never lost
// between the two, and one read twice (after a crash) is recognised by its content.
#include <QList>
#include <QString>

struct IncomingMessage {
    QString sender;    // as the network gave it: a number, or a name
    QString text;      // the parts that arrived, in order
    qint64 sentAt = 0; // the network's time stamp, ms since the epoch (UTC); 0 when unknown
    // A long message: its reference and part count; the parts that arrived (1-based).
    int reference = -1;
    int parts = 1;
    QList<int> partsArrived;
    bool complete = true; // false: parts were still missing when the wait for them ended
    QList<int> places;    // where the device holds it (a modem's storage indexes)
};
