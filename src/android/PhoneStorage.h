#pragma once
// Files on the phone: the storage root the phone's shell reports, copies there (twice on the
// legacy roots), removals, and the two file formats the companion app reads.
#include <QString>

#include <functional>

class DataFolder;

using AdbStop = std::function<bool()>;

// The phone's storage root: "echo $EXTERNAL_STORAGE" as the phone's shell expands it.
QString phoneStorageRoot(const AdbStop& stop = {});

// Copies fileName from the data folder's Created_Resource_Path to the phone's storage; false
// when the copy failed.
bool Save_File_To_Phone_Storage(const DataFolder& folder, const QString& fileName, bool writeToLog,
                                const AdbStop& stop = {});
// Copies the file at source to the phone's storage as fileName; false when the copy failed.
bool copyToPhoneStorage(const QString& source, const QString& fileName, bool writeToLog,
                        const AdbStop& stop = {});
// Removes the file from the phone's storage (and from the second place of a legacy root).
QString Send_DEL_File_Command_To_ADB(const QString& fileName, const AdbStop& stop = {});
// Removes "ostrelsms.txt" and "message.txt": whatever an earlier run, test or program copied
// there is never sent again.
void Send_DEL_File_Command_To_Phone(const AdbStop& stop = {});

inline const QString kListFileName = QStringLiteral("ostrelsms.txt");
inline const QString kMessageFileName = QStringLiteral("message.txt");
inline const QString kListFieldSeparator = QStringLiteral(",~$^'");
inline const QString kListLineBreak = QStringLiteral("S5%J7.qB~X4,9z/pT_OSTREL_AP_DX/");

// One line of the list file: number, separator, message (line breaks as the marker), "\r\n".
QByteArray listFileLine(const QString& number, const QString& message);
