#pragma once
// The inbox's options: the reply window, the operator's stop words, the notification and the footer.
#include "sending/windows/InboxOptions.h"

#include <QDialog>

class InboxOptionsView : public QDialog {
    Q_OBJECT
public:
    InboxOptionsView(InboxOptions& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    InboxOptions& m_controller;
};
