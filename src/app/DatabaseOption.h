#pragma once
// --database URL, which the desktop and every command take: the campaign store of the whole
// process is then that PostgreSQL server instead of the data folder's file.
#include <QStringList>

// Takes "--database URL" (or "--database=URL") out of the arguments after the program's name
// and makes it the process's store.
void adoptDatabaseOption(QStringList& arguments);
