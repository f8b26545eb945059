#pragma once
// How a campaign reads its numbers when replies are matched and opt-outs honoured: in the
// country it was sent with, so that "07911 123456" sent with GB and "+447911123456" are one
// person. Without a country only a number written with its "+" has an E.164 form; any other
// stays as written and meets only the same writing.
#include "text/NumberNormaliser.h"

class CampaignNumbers {
public:
    // country: a region code, or "" for none.
    explicit CampaignNumbers(const QString& country);

    // The number's E.164 form, or "" when it has none here (or is no phone number at all: a
    // sender's name, "MyBank").
    QString e164(const QString& number) const;
    // The form the store compares the number in: its E.164 form, else as written (trimmed).
    QString key(const QString& number) const;

private:
    NumberNormaliser m_country;
};

// A sender a message can be sent back to: digits, with a "+" before them or not.
bool isPhoneNumber(const QString& sender);
