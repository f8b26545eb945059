#pragma once
// The question before a bulk load into a list that already has numbers: replace the
// list (Yes, code 1), keep it with the new numbers after it (No, code 0), or abandon (Cancel).
#include "core/DialogController.h"

#include <QString>

class Load_Num_Info : public DialogController {
    Q_OBJECT
public:
    static constexpr int CancelCode = 2;

    using DialogController::DialogController;

    QString questionText() const;

    void YesPressed() { endModal(1); }
    void NoPressed() { endModal(0); }
    void CancelPressed() { endModal(CancelCode); }
};
