#include "CommandStore.h"

#include "ConsoleOperator.h"
#include "ConsoleOutput.h"
#include "campaigns/CampaignStore.h"
#include "core/FileUtils.h"
#include "core/Launch.h"

std::variant<CommandStore, int> openCommandStore() {
    ConsoleOperator op(true);
    CommandStore opened{DataFolder::fromEnvironment(), nullptr};
    if (!openDataFolder(op, opened.folder))
        return kExitUsage;
    QString why;
    opened.store = CampaignStore::forFolder(opened.folder, &why);
    if (!opened.store) {
        printErr(errorInFileAccessing(why));
        return kExitDataNotWritten;
    }
    return opened;
}
