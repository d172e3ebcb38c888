#pragma once
// The commands of `stowaway`, one function each. They run after the dispatcher's start (the
// data loaded, and the store opened for those that need it) and before its finish.
#include "addin/cli.h"
#include "ui/console_interaction.h"

struct CliOptions {
    QString maildir;
    ConsoleInteraction::Answers answers = ConsoleInteraction::Answers::Ask;
    QStringList args; // the command's own arguments
};

int CmdRules(const CliOptions& opts, CliContext& ctx);
int CmdRule(const CliOptions& opts, CliContext& ctx);
int CmdProjects(const CliOptions& opts, CliContext& ctx);
int CmdProject(const CliOptions& opts, CliContext& ctx);
int CmdBlocked(const CliOptions& opts, CliContext& ctx);
int CmdSettings(const CliOptions& opts, CliContext& ctx);
int CmdPaths(const CliOptions& opts, CliContext& ctx);
int CmdTest(const CliOptions& opts, CliContext& ctx);
int CmdRun(const CliOptions& opts, CliContext& ctx);
int CmdReset(const CliOptions& opts, CliContext& ctx);
int CmdCheckRule(const CliOptions& opts, CliContext& ctx);
int CmdExtras(const CliOptions& opts, CliContext& ctx);
int CmdFolders(const CliOptions& opts, CliContext& ctx);
int CmdProtocol(const CliOptions& opts, CliContext& ctx);
int CmdWatch(const CliOptions& opts, CliContext& ctx);
int CmdDemo(const CliOptions& opts, CliContext& ctx);

// The table edits of the Watch and Options tabs: `folders add|remove|enable|disable`,
// `blocked add|remove|enable|disable`, `protocol --wipe`.
int FoldersEdit(const CliOptions& opts, CliContext& ctx);
int BlockedEdit(const CliOptions& opts, CliContext& ctx);
int ProtocolWipe(const CliOptions& opts, CliContext& ctx);

// Watched folder by number, name or path (1-based, case ignored); 0 if none.
int FindWatchFolder(const QString& text);
// A folder of the store by its path ("Mail|Work") or by its name when only one folder has it
// (case ignored, as for watched folders); null after an error line.
MailFolderPtr FindStoreFolder(MailSession* session, const QString& text, CliContext& ctx);

// A rule by its number or its name (case ignored); 0 after an error line.
int PickRule(const QString& text, CliContext& ctx);

// The starts of the dispatcher. With the store: the add-in's start (OnConnection), false after
// one message when the store cannot be opened. Without: settings and data only, with no word
// about a store.
bool StartWithStore(const QString& maildir, CliContext& ctx);
void StartWithoutStore();
// The end of a started command: the data written, the add-in shut down.
void FinishStarted();
