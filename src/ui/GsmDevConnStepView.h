#pragma once
#include "StepsDialog.h"
#include "gsm/windows/GSM_DEV_Conn_Step_Wnd.h"

class GsmDevConnStepView : public StepsDialog {
    Q_OBJECT
public:
    GsmDevConnStepView(GSM_DEV_Conn_Step_Wnd& controller, QWidget* parent)
        : StepsDialog(controller.heading(), controller.steps(),
                      {[&controller] { controller.Back_Btn(); }, [&controller] { controller.Cancel_Btn(); },
                       [&controller] { controller.Continue_Btn(); }},
                      parent) {}
};
