#pragma once
#include "stores/windows/Update_Ex_Num.h"

#include <QDialog>

// The editor of one exclusion number.
class UpdateExNumView : public QDialog {
    Q_OBJECT
public:
    UpdateExNumView(Update_Ex_Num& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Update_Ex_Num& m_controller;
};
