#pragma once
// The message format a modem has selected, as its answer to "AT+CMGF?" gives it
// (ModemAnswers::selectedSmsFormat reads the answer).
enum class SmsFormat {
    Unknown, // no answer, or one naming neither format
    Pdu,     // "+CMGF: 0"
    Text,    // "+CMGF: 1"
    Both,    // the answer names both (a list of formats, not a selection)
};
