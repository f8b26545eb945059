#pragma once
#include "stores/windows/ExportDialogs.h"

#include <QDialog>

// The format of an export: text, HTML or workbook.
class ExportOptionView : public QDialog {
    Q_OBJECT
public:
    ExportOptionView(Export_Option& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Export_Option& m_controller;
};
