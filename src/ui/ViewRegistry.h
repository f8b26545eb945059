#pragma once
// Which Qt dialog shows which dialog controller. Registration is explicit (one list in
// ViewRegistry.cpp) so that no view is lost to the linker.
#include <functional>

class DialogController;
class QDialog;
class QWidget;

namespace ViewRegistry {

using Factory = std::function<QDialog*(DialogController&, QWidget* parent)>;

// Registers the factory for controllers whose class name (QMetaObject) is className.
void add(const char* className, Factory factory);

// A new view for the controller, or nullptr when none is registered.
QDialog* createView(DialogController& dialog, QWidget* parent);

// Registers every dialog view of the application.
void registerStandardViews();

} // namespace ViewRegistry
