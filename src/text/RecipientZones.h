#pragma once
// The time zones a recipient may be in, read from the number alone: a send window in the
// recipient's local time must hold in each of them.
//
// The country comes from libphonenumber, its zones from ICU. Where the area of a number fixes
// its zone (a US area code, a Brazilian DDD, a Moscow ABC code), a table kept as data
// (data/area-zones.tsv) gives that one zone; otherwise the number gets every zone of its
// country. Zones that keep the same clock over the coming year are one zone here, so a
// campaign's numbers fall into a few sets.
#include <QString>
#include <QStringList>

// The zones an E.164 number ("+13125550100") may be in: sorted, distinct; empty when the number
// names no country.
QStringList zonesOfNumber(const QString& e164);
// One string per distinct set of zones, e.g. "America/Chicago" or
// "Australia/Adelaide|Australia/Brisbane|...": the zones joined by "|"; empty when unknown.
QString zoneKeyOf(const QString& e164);
// The zones a key of zoneKeyOf stands for.
QStringList zonesOfKey(const QString& key);
// Every zone of a region ("US"), folded as above: what a number of that country gets when its
// area does not fix one. Empty for a region without zones.
QStringList zonesOfRegion(const QString& region);
