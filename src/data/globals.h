#pragma once
// The application state: five record tables, each numbered from 1 with its changed flag, and the
// settings mirrored into globals.
#include "common/lang.h"
#include "data/record_table.h"
#include "data/records.h"

#include <QString>

extern bool DoProto;      // write ordinary LOG lines
extern bool SWActive;     // automatic saving is on
extern bool SWTest;       // test mode of the driver
extern bool TestNotifies; // notifications in test runs too
extern bool SWRun;        // a real pass: per-rule notifications and the summary are wanted
extern bool LangChanged;
extern int16_t Notify; // notification style
extern bool NotifySound;
extern int16_t NotifyTime; // seconds
extern QString SoundName;
extern QString gLastAction;

extern RecordTable<udtRule> Rules;
extern RecordTable<udtProject> Projects;
extern RecordTable<udtWatchFolder> WatchFolders;
// Newest entry at row 1.
extern RecordTable<udtProtoEntry, int32_t> ProtoEntries;
extern RecordTable<udtBlockedFormat, int32_t> BlockedFormats;

// Puts every global back to its start value (program start, and between tests).
void ResetGlobals();
