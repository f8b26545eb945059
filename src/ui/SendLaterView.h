#pragma once
#include "sending/windows/SendLater.h"

#include <QDialog>

class SendLaterView : public QDialog {
    Q_OBJECT
public:
    SendLaterView(SendLater& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    SendLater& m_controller;
};
