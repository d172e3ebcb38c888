#pragma once
// The commands of `stowaway`, one function each.
#include "addin/cli.h"
#include "ui/console_interaction.h"

struct CliOptions {
    QString maildir;
    ConsoleInteraction::Answers answers = ConsoleInteraction::Answers::Ask;
    QStringList args; // the command's own arguments
};

int CmdRules(const CliOptions& opts, CliContext& ctx);
int CmdBlocked(const CliOptions& opts, CliContext& ctx);
int CmdSettings(const CliOptions& opts, CliContext& ctx);
int CmdPaths(const CliOptions& opts, CliContext& ctx);
int CmdTestOrRun(const CliOptions& opts, CliContext& ctx, bool test);
int CmdReset(const CliOptions& opts, CliContext& ctx);
int CmdCheckRule(const CliOptions& opts, CliContext& ctx);
int CmdExtras(const CliOptions& opts, CliContext& ctx);
int CmdFolders(const CliOptions& opts, CliContext& ctx);
int CmdProtocol(const CliOptions& opts, CliContext& ctx);
int CmdWatch(const CliOptions& opts, CliContext& ctx);
int CmdDemo(const CliOptions& opts, CliContext& ctx);
