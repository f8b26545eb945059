#pragma once
// The connection steps before the Android device search: enabling USB debugging (with the
// phone makers' own help pages) and allowing the computer's key on the phone (with a picture
// of the phone's prompt, on request). Continue ends with 1, Cancel with 0, Back closes
// without a code.
#include "core/DialogController.h"

#include <QList>
#include <QStringList>

class Operator;

class Connection_Info : public DialogController {
    Q_OBJECT
public:
    // A maker's public page on turning on the developer options and USB debugging.
    struct HelpPage {
        QString maker;
        QString url;
    };
    // The pages the step buttons open, in the order of the buttons.
    static const QList<HelpPage>& helpPages();

    // What the phone's authorisation prompt says, as the picture shows it.
    struct Prompt {
        QString title, fingerprintLine, fingerprint, alwaysAllow, cancel, allow;
    };
    static Prompt authorisationPrompt();

    explicit Connection_Info(Operator& op, QObject* parent = nullptr);

    QString heading() const;
    QStringList steps() const;

    // Opens the help page of the step button `index` in the browser.
    void Open_Help_Page(int index);

    // The authorisation help (the picture of the phone's "Allow USB debugging?" prompt and
    // what to do when it does not appear), shown and hidden on request.
    bool authorisationHelpShown() const { return m_authorisationHelpShown; }
    QString authorisationHelp() const;
    QString authorisationHelpButtonText() const;
    void Show_RSA_Help_Btn();

    void Continue_Btn() { endModal(1); }
    void Cancel_Btn() { endModal(0); }
    void Back_Btn() { endModal(NoCode); }

private:
    Operator& m_op;
    bool m_authorisationHelpShown = false;
};
