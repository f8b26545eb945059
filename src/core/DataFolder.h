#pragma once
// The per-user data folder and the resource folder.
//
// Created_Resource_Path     $BULKSMS_DATA_HOME, else $XDG_DATA_HOME, else ~/.local/share,
//                           joined with the application name
// Bulk_SMS_Data_Folder_Path Created_Resource_Path / "BULK_SMS_DATA" (the stored lists)
// Resource_Path             $BULKSMS_RESOURCES, else share/ostrel-bulk-sms beside the program's
//                           folder (an installed tree, wherever unpacked), else, for a program of
//                           the build tree, the folder it assembles (the companion app package,
//                           adb, Template.xlsx)
// Troubleshooting log       Created_Resource_Path / "Troubleshooting_Log.txt": it must be
//                           writable, and an installed resource folder is not (written through
//                           TroubleshootingLog.h: 0600, bounded, never emptied here).
#include <QString>

extern QString Resource_Path;
extern QString Created_Resource_Path;
extern QString Bulk_SMS_Data_Folder_Path;

extern QString SentItem_File_Path;    // sent items of the GSM window
extern QString SentItemAnd_File_Path; // sent items of the Android window
extern QString Templates_File_Path;
extern QString AppExclusion_File_Path; // names of the exclusion lists applied
extern QString Exclusion_Folder_Path;  // one file per exclusion list
extern QString ExListIndex_File_Path;
extern QString Troubleshooting_Log_Path;

// The resource folder this process uses.
QString locateResourcePath();

// Fixes every data path from Created_Resource_Path (computed from the environment).
void computeDataPaths();

// Makes sure the data folder layout exists (missing items only, in a fixed order;
// folders 0700 and files 0600, existing ones narrowed to that;
// the first failure stops the remaining steps) and then always makes sure the troubleshooting
// log exists private to the user (0600), keeping what it holds. Returns true when the whole
// layout is in place. Safe to call from any thread.
bool Check_Path_And_Create_Files();
