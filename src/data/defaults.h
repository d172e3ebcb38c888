#pragma once
// The data a first start begins with: sample rules and projects, the inbox as watched folder,
// and the table of blocked formats.
#include "data/records.h"

#include <QString>
#include <functional>
#include <vector>

// What the mail store says of its default inbox.
struct InboxInfo {
    bool ok = false;
    QString name;
    QString path; // levels joined by "|"
    QString entryId;
    QString storeId;
    QString errorDescription; // when !ok
};
using InboxLookup = std::function<InboxInfo()>;

// In the language current now; index 0 of each vector is the empty element.
std::vector<udtRule> SampleRules();
std::vector<udtProject> SampleProjects();
// The watched-folder record for the inbox; a failed lookup beeps, shows its box and gives
// the inactive error record.
udtWatchFolder DefaultInboxRecord(const InboxLookup& inbox);

// Where the package installs the manual.
QString InstalledManualPath();
// The manual the setting Doku starts with: the installed one (beside the program's prefix, then
// the system's), else the README of the sources the program was built from; the installed path
// when there is none.
QString DefaultManual();

// One row of the blocked-format table: extension upper-cased and cut to 3, description cut to
// 30, Active True, System as given.
udtBlockedFormat AddBlockedFormat(const QString& ext, const QString& description, bool system);
// The 51 rows of the default table, in order.
std::vector<udtBlockedFormat> DefaultBlockedFormats();
