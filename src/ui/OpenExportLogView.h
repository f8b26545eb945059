#pragma once
#include "stores/windows/ExportDialogs.h"

#include <QDialog>

// After an export: open the written file with the desktop's default application?
class OpenExportLogView : public QDialog {
    Q_OBJECT
public:
    OpenExportLogView(Open_Export_Log& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Open_Export_Log& m_controller;
};
