#pragma once
#include "StepsDialog.h"
#include "android/windows/Connection_Info.h"

class ConnectionInfoView : public StepsDialog {
    Q_OBJECT
public:
    ConnectionInfoView(Connection_Info& controller, QWidget* parent);
};
