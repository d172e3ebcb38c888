#include "data/globals.h"

bool DoProto = false;
bool SWActive = false;
bool SWTest = true;
bool TestNotifies = false;
bool SWRun = false;
bool LangChanged = false;
int16_t Notify = 1;
bool NotifySound = true;
int16_t NotifyTime = 5;
QString SoundName = QStringLiteral("Moog 1");
QString gLastAction;

RecordTable<udtRule> Rules;
RecordTable<udtProject> Projects;
RecordTable<udtWatchFolder> WatchFolders;
RecordTable<udtProtoEntry, int32_t> ProtoEntries;
RecordTable<udtBlockedFormat, int32_t> BlockedFormats;

void ResetGlobals() {
    CurrLang = 0;
    DoProto = false;
    SWActive = false;
    SWTest = true;
    TestNotifies = false;
    SWRun = false;
    LangChanged = false;
    Notify = 1;
    NotifySound = true;
    NotifyTime = 5;
    SoundName = QStringLiteral("Moog 1");
    gLastAction.clear();
    Rules.clear();
    Rules.changed = false;
    Projects.clear();
    Projects.changed = false;
    WatchFolders.clear();
    WatchFolders.changed = false;
    ProtoEntries.clear();
    ProtoEntries.changed = false;
    BlockedFormats.clear();
    BlockedFormats.changed = false;
}
