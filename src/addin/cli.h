#pragma once
// The `stowaway` command: parses its arguments and runs one command through the command table.
// The dispatcher does every command's start and finish, and is the one place where a command
// goes to the process that owns the data folder instead of running here.
#include "addin/lifecycle.h"

#include <QStringList>
#include <QTextStream>

class DataFolderOwner;
class OwnerCall;

struct CliContext {
    QTextStream& out;
    QTextStream& err;
    // Opens the store that --maildir, $MAILDIR or ~/Maildir names.
    std::function<Result<std::shared_ptr<MailSession>>(const QString& maildir)> openStore;
    // Writes the demo's sample mails into a new Maildir at `maildir`; returns how many.
    std::function<Result<int>(const QString& maildir)> makeDemoMaildir;
    // The data folder's owner while `watch` runs.
    DataFolderOwner* owner = nullptr;
};

// `args` without the program name. Returns the exit code.
int RunCli(const QStringList& args, CliContext& ctx);

// Carries out a command that another process forwarded to this one, the owner of the data
// folder: on this process's data and session, with the output and the questions relayed to the
// caller. Finishes the call with the command's status. For RunServiceLoop. `ownStore` is the
// store this process has open: a command that names another store is refused.
void ServeCommandCall(OwnerCall* call, const QString& ownStore);
