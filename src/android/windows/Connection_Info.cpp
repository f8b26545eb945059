#include "Connection_Info.h"

QString Connection_Info::heading() const { return QStringLiteral("Connect your Android phone"); }

QStringList Connection_Info::steps() const {
    return {
        QStringLiteral("On the phone open Settings > About phone and tap \"Build number\" seven times to "
                       "enable the developer options."),
        QStringLiteral("Open Settings > System > Developer options and turn on \"USB debugging\"."),
        QStringLiteral("Attach the phone to this computer with its USB cable and unlock its screen."),
        QStringLiteral("When the phone asks \"Allow USB debugging?\", tick \"Always allow from this "
                       "computer\" and tap Allow."),
        QStringLiteral("Press Continue to search for the attached phone."),
    };
}

QString Connection_Info::authorisationHelp() const {
    return QStringLiteral("The phone shows the computer's RSA key fingerprint the first time it is attached. "
                          "If the prompt does not appear, unplug the cable, revoke the USB debugging "
                          "authorisations in the developer options, and attach the phone again with its "
                          "screen unlocked.");
}

void Connection_Info::Show_RSA_Help_Btn() {
    m_authorisationHelpShown = true;
    emit changed();
}
