#pragma once
#include "gsm/windows/SimPinDialog.h"

#include <QDialog>

class QCheckBox;
class QLabel;
class QLineEdit;

class SimPinView : public QDialog {
    Q_OBJECT
public:
    SimPinView(SimPinDialog& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    void refresh();

    SimPinDialog& m_controller;
    QLabel* m_reason = nullptr;
    QLineEdit* m_pin = nullptr;
    QCheckBox* m_remember = nullptr;
};
