#pragma once
#include "list/windows/Send_Msg_Info.h"

#include <QDialog>

class SendMsgInfoView : public QDialog {
    Q_OBJECT
public:
    SendMsgInfoView(Send_Msg_Info& controller, QWidget* parent);

protected:
    void reject() override { m_controller.CancelPressed(); }

private:
    Send_Msg_Info& m_controller;
};
