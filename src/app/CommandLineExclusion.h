#pragma once
// "bulksms exclusion import FILE [--list NAME]" adds a file's numbers to an exclusion list
// (created and applied when needed); "bulksms exclusion list [NAME] [--json]" shows the
// lists, or one list's numbers.
#include <QStringList>

int runExclusion(const QStringList& arguments);
