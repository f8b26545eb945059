#pragma once
// Asked when a message could not be copied to the phone in standard one-by-one sending: OK
// sends it with its text in the app's start command instead, Cancel ends the send. The "for
// all" box, ticked with OK, answers every later failed copy of the run the same way.
#include "core/DialogController.h"

#include <QString>

class OneByOneCopyFailure : public DialogController {
    Q_OBJECT
public:
    explicit OneByOneCopyFailure(QString number, QObject* parent = nullptr)
        : DialogController(parent), m_number(std::move(number)) {}

    QString title() const { return QStringLiteral("The message could not be copied to the phone"); }
    QString text() const {
        return QStringLiteral("The phone's storage did not take the message for %1.\n\nOK: send it with its "
                              "text in the companion app's start command (some phones lose non-English "
                              "or special characters that way).\nCancel: end sending now.")
            .arg(m_number);
    }
    QString forAllText() const {
        return QStringLiteral("Do the same for every later message whose copy fails in this send");
    }

    bool forAll() const { return m_forAll; }
    void setForAll(bool on) {
        m_forAll = on;
        emit changed();
    }

    void OK_Btn() { endModal(1); }
    void Cancel_Btn() { endModal(0); }

private:
    QString m_number;
    bool m_forAll = false;
};
