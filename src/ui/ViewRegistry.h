#pragma once
// Which Qt dialog shows which dialog controller. Registration is explicit (one list in
// ViewRegistry.cpp) so that no view is lost to the linker.
#include <QString>

#include <functional>

class DialogController;
class QDialog;
class QWidget;

namespace ViewRegistry {

using Factory = std::function<QDialog*(DialogController&, QWidget* parent)>;

// Registers the factory for controllers whose class name (QMetaObject) is className;
// memoryKey, when given, is the settings key its view's size is kept under (WindowMemory).
void add(const char* className, Factory factory, const QString& memoryKey = QString());

// A new view for the controller, or nullptr when none is registered.
QDialog* createView(DialogController& dialog, QWidget* parent);

// The settings key the controller's view keeps its size under; empty: it opens at its own size.
QString memoryKey(const DialogController& dialog);

// Registers every dialog view of the application.
void registerStandardViews();

} // namespace ViewRegistry
