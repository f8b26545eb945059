#pragma once
// The connection steps before the Android device search: enabling USB debugging and
// allowing the computer's key on the phone. Continue ends with 1, Cancel with 0, Back
// closes without a code.
#include "core/DialogController.h"

#include <QStringList>

class Connection_Info : public DialogController {
    Q_OBJECT
public:
    using DialogController::DialogController;

    QString heading() const;
    QStringList steps() const;

    // The authorisation help (the phone's "Allow USB debugging?" prompt), shown on request.
    bool authorisationHelpShown() const { return m_authorisationHelpShown; }
    QString authorisationHelp() const;
    void Show_RSA_Help_Btn();

    void Continue_Btn() { endModal(1); }
    void Cancel_Btn() { endModal(0); }
    void Back_Btn() { endModal(NoCode); }

private:
    bool m_authorisationHelpShown = false;
};
