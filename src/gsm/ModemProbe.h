#pragma once
// Asking a modem who it is and what it can do, through an open session. The answers fill
// the session's device fields (Manuf, Model, Port_IMEI, battery, ...).
#include <QString>

class MFCSMS;

// True when the modem answers AT, AT+CSMS=? and AT+CMGS=? without an error.
bool Check_Msg_Sending_Supported(MFCSMS& session, int fd);

// The IMEI ("AT+CGSN", or "AT+GSN" when that is "Undefined"); "" when unreadable.
QString Get_IMEI_Number(MFCSMS& session, int fd);

// The SIM's ICCID ("AT+CCID", else "AT+QCCID", else "AT^ICCID?", else "AT+CICCID": modems name it
// differently); "" when none answers with a plausible one.
QString Get_ICCID_Number(MFCSMS& session, int fd);

// Fills maker, model, IMEI, battery, signal, operator, revision and default SMSC as far as
// the modem answers. False only when a command could not be written.
bool Read_Ph_Values_NEW(MFCSMS& session, int fd);
