#pragma once
// Start-up narrowing of the data tree: earlier versions left the data folder and its files
// open to everyone, and they hold other people's numbers and messages.
#include <QStringList>

class DataFolder;

// Makes every folder of the data tree (Created_Resource_Path and everything below it) 0700
// and every other item 0600, reaching nothing through a symbolic link and changing no link.
// Gives "<path>: <reason>" for each link found and each item that could not be narrowed.
QStringList makeDataTreePrivate(const DataFolder& folder);
