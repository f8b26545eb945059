#pragma once
// The question for a SIM's PIN: which modem asks, why it is asked again, the PIN (never shown)
// and "Remember this PIN" (off unless ticked). OK ends with 1 once the PIN looks like one,
// Cancel with 0.
#include "core/DialogController.h"
#include "gsm/SimUnlock.h"

class Operator;

class SimPinDialog : public DialogController {
    Q_OBJECT
public:
    explicit SimPinDialog(SimPinRequest request, QObject* parent = nullptr)
        : DialogController(parent), m_request(std::move(request)) {}

    QString heading() const;
    // Why it is asked again ("The SIM refused ..."), or what is wrong with the PIN typed.
    QString reason() const { return m_problem.isEmpty() ? m_request.reason : m_problem; }
    QString pin() const { return m_pin; }
    void setPin(const QString& pin) { m_pin = pin.trimmed(); }
    bool remember() const { return m_remember; }
    void setRemember(bool remember) { m_remember = remember; }

    void OKPressed();
    void CancelPressed() { endModal(0); }

    // The keyring's PINs, and this dialog for a PIN the keyring does not hold (one question
    // at a time, whichever modem asks).
    static SimPins asking(Operator& op);

private:
    SimPinRequest m_request;
    QString m_pin;
    bool m_remember = false;
    QString m_problem;
};
