#pragma once
// The application state: five record arrays, each used from index 1 with its count and changed
// flag (index 0 exists and stays empty), and the settings mirrored into globals.
#include "common/lang.h"
#include "data/records.h"

#include <QString>
#include <deque>
#include <vector>

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

extern std::vector<udtRule> Rules;
extern int16_t RulesCount;
extern bool RulesChanged;

extern std::vector<udtProject> Projects;
extern int16_t ProjectsCount;
extern bool ProjectsChanged;

extern std::vector<udtWatchFolder> WatchFolders;
extern int16_t WatchFoldersCount;
extern bool WatchFoldersChanged;

// Newest entry at index 1; a deque, so a new entry goes in front without moving the others.
extern std::deque<udtProtoEntry> ProtoEntries;
extern int32_t ProtoCount;
extern bool ProtoChanged;

extern std::vector<udtBlockedFormat> BlockedFormats;
extern int32_t BlockedCount;
extern bool BlockedChanged;

// Puts every global back to its start value (program start, and between tests).
void ResetGlobals();
