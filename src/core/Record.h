#pragma once
// One row of any table of the system: values keyed exactly as the system names them
// ("Number", "Message", "PORT_DETAL", ...).
#include <QList>
#include <QMap>
#include <QString>

using Record = QMap<QString, QString>;
using RecordList = QList<Record>;
