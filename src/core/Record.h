#pragma once
// One row of any table of the system: values keyed exactly as the system names them
// ("Number", "Message", "PORT_DETAL", ...). Each key is a named constant (k...Key) defined
// once, in a header of the layer that owns that kind of record; scripts/check-literal-keys
// keeps them from being written out anywhere else.
#include <QList>
#include <QMap>
#include <QString>

using Record = QMap<QString, QString>;
using RecordList = QList<Record>;
