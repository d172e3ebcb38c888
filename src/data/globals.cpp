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

std::vector<udtRule> Rules(1);
int16_t RulesCount = 0;
bool RulesChanged = false;

std::vector<udtProject> Projects(1);
int16_t ProjectsCount = 0;
bool ProjectsChanged = false;

std::vector<udtWatchFolder> WatchFolders(1);
int16_t WatchFoldersCount = 0;
bool WatchFoldersChanged = false;

std::deque<udtProtoEntry> ProtoEntries(1);
int32_t ProtoCount = 0;
bool ProtoChanged = false;

std::vector<udtBlockedFormat> BlockedFormats(1);
int32_t BlockedCount = 0;
bool BlockedChanged = false;

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
    Rules.assign(1, udtRule{});
    RulesCount = 0;
    RulesChanged = false;
    Projects.assign(1, udtProject{});
    ProjectsCount = 0;
    ProjectsChanged = false;
    WatchFolders.assign(1, udtWatchFolder{});
    WatchFoldersCount = 0;
    WatchFoldersChanged = false;
    ProtoEntries.assign(1, udtProtoEntry{});
    ProtoCount = 0;
    ProtoChanged = false;
    BlockedFormats.assign(1, udtBlockedFormat{});
    BlockedCount = 0;
    BlockedChanged = false;
}
