#pragma once
// A phone number a client gives, checked the same way wherever the API takes one: a message's
// recipient, a campaign's list, an opt-out.
#include <QString>

#include <optional>

struct RequestProblem {
    QString field; // "recipients[2]", "options.retries"; "" for the body as a whole
    QString message;
};

// The number as the list will hold it (into number), or why it is refused. Without a country
// only numbers in international form can be read; any region's reading of those is the same.
// withoutCountry: what a refused national number could do instead ("or give options.country").
std::optional<RequestProblem> checkNumber(const QString& raw, const QString& country, const QString& field,
                                          QString& number, const QString& withoutCountry = {});
