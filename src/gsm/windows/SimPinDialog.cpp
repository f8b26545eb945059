#include "SimPinDialog.h"

#include "core/Operator.h"
#include "gsm/SimPinKeyring.h"

#include <memory>
#include <mutex>

QString SimPinDialog::heading() const {
    return QStringLiteral("The SIM card in the modem on %1 is locked. Please enter its PIN.")
        .arg(m_request.modem);
}

void SimPinDialog::OKPressed() {
    if (!SimUnlock::isPin(m_pin)) {
        m_problem = SimUnlock::kNotAPin;
        emit changed();
        return;
    }
    endModal(1);
}

SimPins SimPinDialog::asking(Operator& op) {
    SimPins pins = SimPinKeyring::pins();
    // Modems are searched side by side; their questions come one after the other.
    auto oneAtATime = std::make_shared<std::mutex>();
    pins.ask = [&op, oneAtATime](const SimPinRequest& request) -> std::optional<SimPinAnswer> {
        std::lock_guard lock(*oneAtATime);
        SimPinDialog dialog(request);
        if (op.runModal(dialog) != 1)
            return std::nullopt;
        return SimPinAnswer{dialog.pin(), dialog.remember()};
    };
    const auto keep = pins.remember;
    pins.remember = [&op, keep](const QString& key, const QString& pin) {
        if (keep(key, pin))
            return true;
        op.Show_MessageBox(QStringLiteral("The PIN could not be kept in the keyring; it was used this time "
                                          "only and will be asked for again."));
        return false;
    };
    return pins;
}
