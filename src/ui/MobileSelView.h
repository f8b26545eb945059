#pragma once
// The device-kind dialog: GSM modem, Android phone, or cancel.
#include "core/windows/Mobile_Sel_Wnd.h"

#include <QDialog>

class MobileSelView : public QDialog {
    Q_OBJECT
public:
    MobileSelView(Mobile_Sel_Wnd& controller, QWidget* parent);

protected:
    void reject() override;

private:
    Mobile_Sel_Wnd& m_controller;
};
