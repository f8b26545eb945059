#include "DatabaseOption.h"

#include "campaigns/CampaignStore.h"

void adoptDatabaseOption(QStringList& arguments) {
    for (qsizetype i = 1; i < arguments.size(); ++i) {
        if (arguments.at(i).startsWith(QLatin1String("--database="))) {
            CampaignStore::useDatabase(arguments.takeAt(i).section(QLatin1Char('='), 1));
            --i;
        } else if (arguments.at(i) == QLatin1String("--database") && i + 1 < arguments.size()) {
            arguments.removeAt(i);
            CampaignStore::useDatabase(arguments.takeAt(i));
            --i;
        }
    }
}
