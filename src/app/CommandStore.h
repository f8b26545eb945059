#pragma once
// What a command that reads or writes the campaign store starts with: the data folder of the
// environment, opened, and its store.
#include "core/DataFolder.h"

#include <memory>
#include <variant>

class CampaignStore;

struct CommandStore {
    DataFolder folder;
    std::shared_ptr<CampaignStore> store;
};

// The folder and its store; else the exit status, the reason told on standard error (2: the
// folder cannot be used; 4: the store cannot be opened).
std::variant<CommandStore, int> openCommandStore();
