#pragma once
// Reading a text, RTF or CSV file for the template and exclusion-number imports: the
// pieces each value comes from. Text and RTF give a piece per line; a CSV line gives its
// comma-separated pieces, and a CSV line without a comma gives nothing.
#include <QList>
#include <QString>
#include <QStringList>

// One line of an import file and the pieces it gives.
struct ImportLine {
    int number = 0; // 1-based
    QString text;
    QStringList pieces;
};

// The file's lines (LF, CR LF or CR ended); false when the file cannot be read or is not text.
bool readImportLines(const QString& path, QList<ImportLine>& lines);

// Every line's pieces in file order; false when the file cannot be read or is not text
// (pieces is then empty).
bool readImportPieces(const QString& path, QStringList& pieces);

// The extensions the import file choosers offer.
QStringList storeImportExtensions();
