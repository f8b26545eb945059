#pragma once
#include "list/windows/Fill_Msg_In_List.h"

#include <QDialog>

class FillMsgInListView : public QDialog {
    Q_OBJECT
public:
    FillMsgInListView(Fill_Msg_In_List& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Fill_Msg_In_List& m_controller;
};
