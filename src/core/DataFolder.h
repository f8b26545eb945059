#pragma once
// The per-user data folder and the resource folder: every path the program reads or writes
// its data at, fixed when the folder is made and never changed. The program's start makes
// one from the environment (fromEnvironment) and hands it to whoever needs a path; tests
// make their own over a temporary folder.
//
// Created_Resource_Path     the data home ($BULKSMS_DATA_HOME, else $XDG_DATA_HOME, else
//                           ~/.local/share) joined with the application name
// Bulk_SMS_Data_Folder_Path Created_Resource_Path / "BULK_SMS_DATA" (the stored lists)
// Resource_Path             $BULKSMS_RESOURCES, else share/ostrel-bulk-sms beside the program's
//                           folder (an installed tree, wherever unpacked), else, for a program of
//                           the build tree, the folder it assembles (the companion app package,
//                           adb, Template.xlsx)
// Troubleshooting log       Created_Resource_Path / "Troubleshooting_Log.txt": it must be
//                           writable, and an installed resource folder is not (written through
//                           TroubleshootingLog.h: 0600, bounded, never emptied here).
#include <QString>

class DataFolder {
public:
    // dataHome holds the application's folder; resources is the resource folder.
    DataFolder(const QString& dataHome, QString resources);

    // The folders the environment names (above).
    static DataFolder fromEnvironment();

    const QString& Resource_Path() const { return m_resources; }
    const QString& Created_Resource_Path() const { return m_root; }
    const QString& Bulk_SMS_Data_Folder_Path() const { return m_data; }

    QString SentItem_File_Path() const;    // sent items of the GSM window
    QString SentItemAnd_File_Path() const; // sent items of the Android window
    QString Templates_File_Path() const;
    QString AppExclusion_File_Path() const; // names of the exclusion lists applied
    QString Exclusion_Folder_Path() const;  // one file per exclusion list
    QString ExListIndex_File_Path() const;
    QString Troubleshooting_Log_Path() const;

    // Makes sure the data folder layout exists (missing items only, in a fixed order;
    // folders 0700 and files 0600, existing ones narrowed to that;
    // the first failure stops the remaining steps) and then always makes sure the troubleshooting
    // log exists private to the user (0600), keeping what it holds. Returns true when the whole
    // layout is in place. Safe to call from any thread.
    bool Check_Path_And_Create_Files() const;

    // Points the process's one troubleshooting log at this folder's, and the link rule of every
    // file call (NoFollowPaths.h) at its tree: the program's start does, once.
    void adoptForProcess() const;

private:
    QString m_resources;
    QString m_root;
    QString m_data;
};

// The resource folder the environment names (above).
QString locateResourcePath();
