#pragma once
#include "stores/windows/ExportDialogs.h"

#include <QDialog>

// Which items a report holds: all, the sent ones or the others.
class StatusExportOptionView : public QDialog {
    Q_OBJECT
public:
    StatusExportOptionView(Status_Export_Option& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Status_Export_Option& m_controller;
};
