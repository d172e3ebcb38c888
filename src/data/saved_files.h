#pragma once
// Where the rules save, and what the protocol knows of a file saved there: the Search tab's
// folder list and its protocol facts.
#include <QString>
#include <QStringList>

#include <cstdint>

// The target folder of each rule in table order (for a project rule, the folder of the first
// project of that name, case ignored), each once regardless of case; a rule without a folder
// (its project deleted) gives none.
QStringList StowawayFolderList();

// The number (1-based) of the first protocol entry of the file at `path`, compared in lower case
// by folder and name; 0 when none is.
int32_t FindProtoEntry(const QString& path);
