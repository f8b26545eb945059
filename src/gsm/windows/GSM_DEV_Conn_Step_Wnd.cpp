#include "GSM_DEV_Conn_Step_Wnd.h"

QString GSM_DEV_Conn_Step_Wnd::heading() const {
    return QStringLiteral("Connect your GSM modem or mobile phone");
}

QStringList GSM_DEV_Conn_Step_Wnd::steps() const {
    return {
        QStringLiteral("Insert an active SIM card with SMS credit into the GSM modem or phone."),
        QStringLiteral("Attach the modem or phone to this computer with its USB cable and wait until it is "
                       "switched on and registered on the network."),
        QStringLiteral("Make sure no other program (a dialer, a terminal, another SMS tool) keeps the "
                       "modem's serial port open."),
        QStringLiteral("On Linux your user needs access to the modem's serial device (usually membership "
                       "of the \"dialout\" group)."),
        QStringLiteral("Press Continue to search for the attached devices."),
    };
}
