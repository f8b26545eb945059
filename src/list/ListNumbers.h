#pragma once
// What a recipient list takes, apart from any window: a number as the list accepts it, and
// the numbers of the exclusion lists that are applied. The main windows and `bulksms send`
// both go through these.
#include "LoadCounters.h"
#include "text/NumberNormaliser.h"

#include <QStringList>

#include <optional>

class DataFolder;

// A number the list took: as written, and in E.164 (with a default country; else "").
struct AcceptedNumber {
    QString written;
    QString e164;
};

// raw normalised and checked (characters, a "+" only in front, valid for the default
// country); nullopt when the list refuses it. counts gains the numbers processed, valid and
// impossible.
std::optional<AcceptedNumber> acceptNumber(const QString& raw, const NumberNormaliser& numbers,
                                           LoadCounters& counts);

// Every number of the exclusion lists applied in the data folder, trimmed, in file order;
// nullopt (why says which file and the system's reason) when one of them cannot be read.
// A list name that could leave the folder is ignored (and logged).
std::optional<QStringList> appliedExclusionNumbers(const DataFolder& folder, QString& why);
