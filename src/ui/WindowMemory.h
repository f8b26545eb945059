#pragma once
// A window opens as the operator left it: its size (and a main window its place too) and the
// positions of its named splitters, kept in the settings under one key per window. The
// settings are untrusted: a value Qt does not take back is passed over, and Qt moves a place
// that is on no screen any more back onto one.
#include "core/DataFolder.h"

#include <QString>

class QWidget;

namespace WindowMemory {

enum class Kept {
    SizeAndPlace, // a main window
    Size,         // a dialog: it still opens over the window it belongs to
};

// Restores window from key now, and keeps it there each time the window is hidden (its
// destruction while shown included). A failed write is only logged: it happens at close.
void follow(QWidget& window, const DataFolder& folder, const QString& key, Kept kept);

} // namespace WindowMemory
