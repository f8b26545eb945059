#pragma once
#include "list/windows/Load_Num_Info.h"

#include <QDialog>

class LoadNumInfoView : public QDialog {
    Q_OBJECT
public:
    LoadNumInfoView(Load_Num_Info& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Load_Num_Info& m_controller;
};
