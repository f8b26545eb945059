#pragma once
// A udev rule that has ModemManager leave our modems alone: one line per modem, matched by
// its USB vendor and product ids, setting ID_MM_DEVICE_IGNORE. Written as a file of ours for
// the operator to install with one command (installing needs root; we never run it).
#include <QList>
#include <QString>

#include <utility>

namespace ModemManagerRule {

inline const QString kFileName = QStringLiteral("77-bulksms-mm-ignore.rules");

using UsbIds = std::pair<QString, QString>; // vendor, product: four hex digits each

// The rule line for one modem; "" unless both ids are four hex digits (they come from sysfs
// and end up in a file that root installs: nothing else may pass).
QString ruleFor(const UsbIds& ids);

// The file's content: a comment saying what it is for, then one line per modem (each once).
QString fileText(const QList<UsbIds>& modems);

// The one command that installs the file and has udev apply it now.
QString installCommand(const QString& file);

// Writes the file durably; false with the reason when it could not (or when no modem had
// usable ids).
bool write(const QString& file, const QList<UsbIds>& modems, QString* error = nullptr);

} // namespace ModemManagerRule
