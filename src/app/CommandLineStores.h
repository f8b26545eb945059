#pragma once
// The commands around the stored lists: "bulksms sent-items --export FILE" and
// "bulksms templates --export FILE", and the report a send writes with --report.
#include "stores/ExportFormats.h"

#include <QString>
#include <QStringList>

int runSentItems(const QStringList& arguments);
int runTemplates(const QStringList& arguments);

// The report filter named on the command line ("all", "sent", "unsent"): 0, 1, 2; -1 otherwise.
int reportFilterOf(const QString& name);

// The commands' summary printed for an unknown command.
QString commandUsage();
