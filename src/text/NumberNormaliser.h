#pragma once
// One subscriber, one number: with a default country, every number is read the way the
// network reads it (libphonenumber) and kept in its E.164 form beside the form it was written
// in, so "+44 7911 123456", "07911123456" and "00447911123456" compare equal, and a number
// that cannot exist is refused with the reason. Without a country numbers stay as written.
#include <QString>
#include <QStringList>

#include <string>

struct NormalisedNumber {
    QString written; // as the list shows it
    QString e164;    // as it is sent and compared; empty without a country or when refused
    QString refusal; // why the number cannot exist; empty when it can
    bool valid() const { return refusal.isEmpty(); }
};

class NumberNormaliser {
public:
    NumberNormaliser() = default; // no country: every number stays as written
    // A region code ("GB", "de"); one the library does not know counts as none.
    explicit NumberNormaliser(const QString& region);

    const QString& region() const { return m_region; }
    bool active() const { return !m_region.isEmpty(); }

    // number has passed the character checks (normaliseNumberText, Check_Ph_Number). A number
    // of digits that carries the country's own code without its "+" (a spreadsheet turns
    // "+44..." into 44...) is written with its "+" again.
    NormalisedNumber normalise(const QString& number) const;
    // The same read by libphonenumber alone (normalise reads most numbers without it, tens of
    // times faster, and must agree with this).
    NormalisedNumber normaliseWithLibrary(const QString& number) const;
    // Why a number as written (separators and all) is refused: "not a phone number" (letters,
    // a misplaced "+", more than 20 characters), why it cannot exist, or "" when it is taken.
    QString refusalOf(const QString& raw) const;
    // The form numbers are compared in: E.164 when the number can exist, else as written.
    QString comparisonKey(const QString& number) const;

    // "GB" for "gb" or " GB "; "" for anything that is not a region the library knows.
    static QString regionCode(const QString& text);
    // Every region the library knows, sorted by code.
    static QStringList regions();
    // The calling code of a region ("44" for GB); "" for an unknown region.
    static QString callingCode(const QString& region);

private:
    QString m_region;
    std::string m_regionCode;
};
