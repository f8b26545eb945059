#pragma once
// Lines of a text as people's files have them: ended by CR LF (Windows), LF (Linux, macOS)
// or CR alone (old Macintosh, some spreadsheet exports), mixed even. A reader that splits on
// one of them reads a file of another as one long line, and its numbers are lost.
#include <QString>
#include <QStringList>

namespace TextLines {

// The lines, without their endings; a last line without an ending is a line too.
QStringList split(const QString& text);

} // namespace TextLines
