#pragma once
// Adding a file of numbers to an exclusion list without the window: the lines are read as
// the window's "Load from File" reads them, each number checked as the window checks a typed
// one, and the list created and applied when it is not yet, so the next send leaves its
// people out. Every rejected line is kept with its line number so that nobody who asked
// not to be messaged is lost without a word.
#include "StoreImport.h"

#include <QList>
#include <QString>
#include <QStringList>

class DataFolder;
class NumberNormaliser;

struct ExclusionImport {
    struct Rejected {
        int line = 0;
        QString text;
        QString why;
    };
    QStringList added;     // new numbers, in file order
    int alreadyListed = 0; // numbers the list (or the file, earlier) already had
    QList<Rejected> rejected;
};

// The numbers of the import lines that the list does not hold yet. Numbers are compared as
// the window compares them: by their international form when normaliser has a country.
ExclusionImport takeExclusionNumbers(const QList<ImportLine>& lines, const QStringList& listed,
                                     const NumberNormaliser& normaliser);

// What can be wrong with a list name for an import ("" when nothing).
QString exclusionListNameProblem(const QString& name);

// The names of the lists (the index), and the names applied when sending. A file that cannot
// be read gives none, and error (may be null) gets "<path>: <reason>" ("" when read).
QStringList exclusionListNames(const DataFolder& folder, QString* error = nullptr);
QStringList appliedExclusionListNames(const DataFolder& folder, QString* error = nullptr);

// The list's numbers ("" lines dropped); none for a list that does not exist, or whose file
// cannot be read (error then says why).
QStringList exclusionListNumbers(const DataFolder& folder, const QString& name, QString* error = nullptr);

// Appends numbers to the list called name: its file first, then the index and the applied
// names when it is not in them, each rewritten durably, so a list is never named without its
// file. False with "<path>: <reason>" in error when a file could not be read or written (a
// file that cannot be read is never rewritten: what it holds would be lost).
bool addToExclusionList(const DataFolder& folder, const QString& name, const QStringList& numbers,
                        QString* error);
