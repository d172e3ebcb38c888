#pragma once
// The protocol in memory, and lookups in the tables.
#include "data/records.h"

#include <QString>

// Adds an entry at the head of the protocol (index 1) and sets ProtoEntries.changed. Does no I/O:
// SaveData runs later on the event loop, and at every FlushProtocol. "Later" is a second, or
// twenty times as long as the last save took: the file is rewritten whole each time, so a
// long protocol is written less often and its upkeep stays a small share of a long run.
void AddProto(const udtProtoEntry& entry);
// Writes what is pending now (the end of a run, shutdown).
void FlushProtocol();

// True for the first active row whose trimmed extension equals `ext` exactly.
bool IsFormatBlocked(const QString& ext);
// The folder of the project of that name (trimmed, case ignored), with a trailing separator;
// empty if none.
QString GetProjectFolder(const QString& name);
