#pragma once
// The numbering plans of libphonenumber, compiled once into PCRE patterns, so that the common
// case (a number that can exist, written with "+", the international prefix, the trunk prefix,
// or the country's code without "+") is read in about a microsecond instead of the library's
// tens (its ICU patterns are rebuilt for every match). It follows the library's own steps, and
// a test holds it to the library's answers; whatever it is not sure of goes to the library.
#include <QString>
#include <QStringView>

#include <optional>

namespace NumberPlans {

// How a national significant number's length fits its country (the library's TestNumberLength).
enum class Length { Possible, LocalOnly, TooShort, TooLong, Invalid };

struct Reading {
    QString e164;   // empty when the number is not valid
    Length length;  // of the national significant number, in the country of its calling code
    QString region; // the main region of its calling code ("GB" for +44)
};

// number (digits, with an optional leading "+") read in region; nullopt when the library must
// decide.
std::optional<Reading> read(QStringView number, const QString& region);

} // namespace NumberPlans
