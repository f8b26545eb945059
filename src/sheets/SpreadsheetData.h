#pragma once
// What every spreadsheet reader returns and the writer takes: rows of strings, from 0.
#include <QList>
#include <QStringList>

using SpreadsheetData = QList<QStringList>;
