#include "Connection_Info.h"

#include "core/Operator.h"

const QList<Connection_Info::HelpPage>& Connection_Info::helpPages() {
    // Each maker keeps its own page on where its settings hide the developer options; the
    // Android page covers the phones that keep Android's own settings (Pixel and many others).
    static const QList<HelpPage> pages = {
        {QStringLiteral("Android (any phone)"),
         QStringLiteral("https://developer.android.com/studio/debug/dev-options")},
        {QStringLiteral("Samsung Galaxy"),
         QStringLiteral("https://www.samsung.com/us/support/answer/ANS00087642/")},
        {QStringLiteral("Xiaomi, Redmi, POCO"),
         QStringLiteral("https://www.mi.com/global/support/faq/details/KA-168765/")},
        {QStringLiteral("Motorola"),
         QStringLiteral(
             "https://en-us.support.motorola.com/app/answers/detail/a_id/160067/~/developer-options")},
    };
    return pages;
}

Connection_Info::Prompt Connection_Info::authorisationPrompt() {
    return {QStringLiteral("Allow USB debugging?"), QStringLiteral("The computer's RSA key fingerprint is:"),
            // Each computer has its own; this one only shows where it stands.
            QStringLiteral("3A:7F:0C:91:5E:B2:44:D8:19:6C:E3:A0:5B:72:F9:1D"),
            QStringLiteral("Always allow from this computer"), QStringLiteral("Cancel"),
            QStringLiteral("Allow")};
}

Connection_Info::Connection_Info(Operator& op, QObject* parent) : DialogController(parent), m_op(op) {}

QString Connection_Info::heading() const { return QStringLiteral("Connect your Android phone"); }

QStringList Connection_Info::steps() const {
    return {
        QStringLiteral("On the phone open Settings > About phone and tap \"Build number\" seven times to "
                       "enable the developer options (the buttons below open your phone maker's help)."),
        QStringLiteral("Open Settings > System > Developer options and turn on \"USB debugging\"."),
        QStringLiteral("Attach the phone to this computer with its USB cable and unlock its screen."),
        QStringLiteral("When the phone asks \"Allow USB debugging?\", tick \"Always allow from this "
                       "computer\" and tap Allow."),
        QStringLiteral("Press Continue to search for the attached phone."),
    };
}

void Connection_Info::Open_Help_Page(int index) {
    if (index < 0 || index >= helpPages().size())
        return;
    m_op.openWebPage(helpPages().at(index).url);
}

QString Connection_Info::authorisationHelp() const {
    return QStringLiteral("The phone shows this the first time it is attached to this computer. Tick "
                          "\"Always allow from this computer\" and tap Allow. If the prompt does not appear, "
                          "unplug the cable, choose \"Revoke USB debugging authorizations\" in the developer "
                          "options, and attach the phone again with its screen unlocked.");
}

QString Connection_Info::authorisationHelpButtonText() const {
    return m_authorisationHelpShown ? QStringLiteral("Hide the phone's permission prompt")
                                    : QStringLiteral("What does the phone ask? (\"Allow USB debugging?\")");
}

void Connection_Info::Show_RSA_Help_Btn() {
    m_authorisationHelpShown = !m_authorisationHelpShown;
    emit changed();
}
