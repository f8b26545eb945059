#pragma once
// The run journals an older version kept in the data folder ("Run_Journal.jsonl",
// "Run_Journal_Android.jsonl"): one left by a run that did not end becomes an unfinished
// campaign of the store, once, and the file goes. One that holds no readable run is left alone.
class CampaignStore;
class DataFolder;
class QString;

// False (and error) when a journal is there and cannot be read or imported: it stays.
bool importJournals(CampaignStore& store, const DataFolder& folder, QString* error);
