#pragma once
// Reading a text, RTF or CSV file for the template and exclusion-number imports: the
// pieces each value comes from. Text and RTF split at line feeds; CSV splits at "\r" and
// then at ",", and a CSV piece without a comma gives nothing.
#include <QString>
#include <QStringList>

// False when the file cannot be read or is not text (pieces is then empty).
bool readImportPieces(const QString& path, QStringList& pieces);

// The extensions the import file choosers offer.
QStringList storeImportExtensions();
