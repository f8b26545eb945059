#pragma once
// Messages made per row of a workbook: a template whose <COL-n> placeholders take the row's
// n-th cell. The spreadsheet window and `bulksms send --template` both make them here.
#include <QString>
#include <QStringList>

// The most rows one load makes messages for.
inline constexpr int kMaxDynamicRows = 50000;

// The template with every <COL-n> (any case, 1 <= n <= values, n as written: <COL-01> is
// text) replaced by values[n-1].
QString fillTemplate(const QString& templ, const QStringList& values);
