#pragma once
// The example window of the messages-from-a-spreadsheet wizard: an illustration and an OK button.
#include "core/DialogController.h"

class Excel_SMS_Example : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;
    void OKPressed() { endModal(1); }
};
