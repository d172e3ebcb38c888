#pragma once
// The protocol in memory, and lookups in the tables.
#include "data/records.h"

#include <QString>

// Adds an entry at the head of the protocol (index 1) and sets ProtoChanged. Does no I/O:
// SaveData runs at the latest a second later on the event loop, and at every FlushProtocol.
void AddProto(const udtProtoEntry& entry);
// Writes what is pending now (the end of a run, shutdown).
void FlushProtocol();

// True for the first active row whose trimmed extension equals `ext` exactly.
bool IsFormatBlocked(const QString& ext);
// The folder of the project of that name (trimmed, case ignored), with a trailing separator;
// empty if none.
QString GetProjectFolder(const QString& name);
