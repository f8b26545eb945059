#pragma once
// Asked when the empty list could not be copied to the phone before single-shot sending (the
// phone's storage refused it): OK sends one message at a time instead, Cancel ends the send,
// and "Continue anyway" hands the list over as if the copy had worked.
#include "core/DialogController.h"

#include <QString>

class SingleShotCopyFailure : public DialogController {
    Q_OBJECT
public:
    static constexpr int kOneByOne = 1;
    static constexpr int kEnd = 0;
    static constexpr int kContinueAnyway = 2; // any code but the two above continues

    using DialogController::DialogController;

    QString title() const { return QStringLiteral("The list could not be copied to the phone"); }
    QString text() const {
        return QStringLiteral(
            "The phone's storage did not take the list of messages, so the companion app may not be able "
            "to send them all at once.\n\nOK: send the messages one by one instead.\nCancel: end sending "
            "now.\nContinue anyway: hand the list over as if the copy had worked.");
    }

    void OK_Btn() { endModal(kOneByOne); }
    void Cancel_Btn() { endModal(kEnd); }
    void Continue_Anyway_Btn() { endModal(kContinueAnyway); }
};
