#pragma once
#include "StepsDialog.h"
#include "android/Connection_Info.h"

class ConnectionInfoView : public StepsDialog {
    Q_OBJECT
public:
    ConnectionInfoView(Connection_Info& controller, QWidget* parent);
};
