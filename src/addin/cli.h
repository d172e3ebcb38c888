#pragma once
// The `stowaway` command: parses its arguments and runs one command.
#include "addin/lifecycle.h"

#include <QStringList>
#include <QTextStream>

struct CliContext {
    QTextStream& out;
    QTextStream& err;
    // Opens the store that --maildir, $MAILDIR or ~/Maildir names.
    std::function<Result<std::shared_ptr<MailSession>>(const QString& maildir)> openStore;
    // Writes the demo's sample mails into a new Maildir at `maildir`; returns how many.
    std::function<Result<int>(const QString& maildir)> makeDemoMaildir;
};

// `args` without the program name. Returns the exit code.
int RunCli(const QStringList& args, CliContext& ctx);
