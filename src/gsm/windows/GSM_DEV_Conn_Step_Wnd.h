#pragma once
// The introduction before the GSM device search: how to attach a modem. Continue ends
// with 1, Cancel with 0, Back closes without a code.
#include "core/DialogController.h"

#include <QStringList>

class GSM_DEV_Conn_Step_Wnd : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;

    QString heading() const;
    QStringList steps() const;

    void Continue_Btn() { endModal(1); }
    void Cancel_Btn() { endModal(0); }
    void Back_Btn() { endModal(NoCode); }
};
