#pragma once
// The campaign store's tables, built by numbered migrations: at every start the ones the
// database has not had yet are applied in order, each in its own transaction, and the number
// reached is kept in "schema_version". One schema for every engine.
class SqlDatabase;
class QString;

namespace CampaignSchema {

// The number of the latest migration.
int latest();
// Brings the database up to the latest schema; false (and error) when it cannot, or when the
// database was made by a newer version of the program.
bool migrate(SqlDatabase& db, QString* error);

} // namespace CampaignSchema
