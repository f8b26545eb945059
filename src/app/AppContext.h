#pragma once
// What the desktop's start makes once and hands by reference to whoever needs it: the data
// folder the environment names, the default country both main windows share, the spreadsheet
// windows with their workbook reader, and the stored-list windows kept over the folder. The
// commands make none of it: they need no window.
#include "core/DataFolder.h"
#include "list/DefaultCountry.h"
#include "sheets/windows/SpreadsheetWindows.h"
#include "stores/windows/StoreWindows.h"

#include <utility>

class Operator;

class AppContext {
public:
    AppContext(Operator& op, DataFolder folder)
        : m_folder(std::move(folder)), m_stores(op, m_folder, m_country) {}

    const DataFolder& folder() const { return m_folder; }
    DefaultCountry& country() { return m_country; }
    SpreadsheetWindows& spreadsheets() { return m_spreadsheets; }
    StoreWindows& stores() { return m_stores; }

private:
    const DataFolder m_folder;
    DefaultCountry m_country;
    SpreadsheetWindows m_spreadsheets;
    StoreWindows m_stores;
};
