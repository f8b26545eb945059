#pragma once
// What the program's start makes once and hands by reference to whoever needs it: the data
// folder the environment names, and the stored-list windows kept over it.
#include "core/DataFolder.h"
#include "stores/StoreWindows.h"

#include <utility>

class Operator;

class AppContext {
public:
    AppContext(Operator& op, DataFolder folder) : m_folder(std::move(folder)), m_stores(op, m_folder) {}

    const DataFolder& folder() const { return m_folder; }
    StoreWindows& stores() { return m_stores; }

private:
    const DataFolder m_folder;
    StoreWindows m_stores;
};
