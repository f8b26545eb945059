#pragma once
#include "sheets/windows/Excel_SMS_Example.h"

#include <QDialog>

// An illustration of a sheet and the messages the wizard makes of it.
class ExcelSmsExampleView : public QDialog {
    Q_OBJECT
public:
    ExcelSmsExampleView(Excel_SMS_Example& controller, QWidget* parent);

protected:
    void reject() override { m_controller.OKPressed(); }

private:
    Excel_SMS_Example& m_controller;
};
