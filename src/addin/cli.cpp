#include "addin/cli.h"

#include "addin/cli_commands.h"
#include "common/folders.h"
#include "data/settings.h"
#include "ui/console_interaction.h"

#include <QDir>

namespace {
const char* kUsage =
    R"(Usage: stowaway [OPTIONS] COMMAND [ARGS]

Saves mail attachments from Maildir folders by your rules.

Commands:
  rules                      list the rules
  blocked                    list the blocked attachment formats
  settings [KEY [VALUE]]     list all settings, show one, or set one
  paths                      show the data folder, the LOG file and the settings file
  watch                      save attachments of new mail as it arrives, until stopped
  demo                       make a sample Maildir, run the rules over it, show the result
  folders                    show the store's folders and the watched ones
  test [--all | FOLDER]      a test run over the watched folders (asks before each file)
  run [--all | FOLDER]       a real run over the watched folders
  reset [--unread] [--all | FOLDER]
                             clear the processing marks, so mails are taken again
  check-rule RULE FOLDER     show what a rule would do with the mails of a watched folder
  protocol [--filter FIELD --value TEXT]
                             list the saved attachments, newest first
  extras MAILFOLDER [--subfolders] (--rules | --to DIR [--keep-structure]
         [--remove [--links]]) [--test]
                             work through the mails with attachments already in a folder:
                             by the active rules (unread, unprocessed mails only), or every
                             attachment into DIR (read mails too; --keep-structure adds the
                             folder's path, --remove takes the files out of the mails,
                             --links writes links to them into the mails)
FOLDER is a watched folder's number (see `stowaway folders`), name or path; RULE a rule's
number or name; MAILFOLDER any folder of the store, by its path ("Mail|Work") or its name.

Options:
  --maildir PATH             the Maildir store (default: $MAILDIR, else ~/Maildir)
  --yes                      answer every question with its first choice
  --no-input                 never ask; take the safe choice (cancel, no)
  -h, --help                 show this help
  --version                  show the version
)";
} // namespace

int RunCli(const QStringList& args, CliContext& ctx) {
    CliOptions opts;
    opts.maildir = qEnvironmentVariable("MAILDIR");
    if (opts.maildir.isEmpty())
        opts.maildir = QDir::homePath() + QStringLiteral("/Maildir");
    QStringList rest;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args.at(i);
        if (a == QLatin1String("--maildir")) {
            if (i + 1 >= args.size()) {
                ctx.err << "stowaway: --maildir needs a path\n";
                return 2;
            }
            opts.maildir = args.at(++i);
        } else if (a.startsWith(QLatin1String("--maildir="))) {
            opts.maildir = a.mid(10);
        } else if (a == QLatin1String("--yes")) {
            opts.answers = ConsoleInteraction::Answers::Yes;
        } else if (a == QLatin1String("--no-input")) {
            opts.answers = ConsoleInteraction::Answers::NoInput;
        } else if (a == QLatin1String("-h") || a == QLatin1String("--help")) {
            ctx.out << kUsage;
            return 0;
        } else if (a == QLatin1String("--version")) {
            InitAppCaptions();
            ctx.out << gAppCaption << '\n';
            return 0;
        } else {
            rest << a;
        }
    }
    if (rest.isEmpty()) {
        ctx.err << kUsage;
        return 2;
    }
    const QString command = rest.takeFirst();
    opts.args = rest;

    // A watcher never waits on the user: it prints what it would show and takes safe answers.
    const bool watching = command == QLatin1String("watch");
    ConsoleInteraction console(watching && opts.answers == ConsoleInteraction::Answers::Ask
                                   ? ConsoleInteraction::Answers::NoInput
                                   : opts.answers);
    console.setReportPassedOver(command == QLatin1String("test") ||
                                command == QLatin1String("extras"));
    SetUserInteraction(&console);
    int rc = 2;
    if (command == QLatin1String("rules"))
        rc = CmdRules(opts, ctx);
    else if (command == QLatin1String("blocked"))
        rc = CmdBlocked(opts, ctx);
    else if (command == QLatin1String("settings"))
        rc = CmdSettings(opts, ctx);
    else if (command == QLatin1String("paths"))
        rc = CmdPaths(opts, ctx);
    else if (command == QLatin1String("test"))
        rc = CmdTestOrRun(opts, ctx, true);
    else if (command == QLatin1String("run"))
        rc = CmdTestOrRun(opts, ctx, false);
    else if (command == QLatin1String("reset"))
        rc = CmdReset(opts, ctx);
    else if (command == QLatin1String("check-rule"))
        rc = CmdCheckRule(opts, ctx);
    else if (command == QLatin1String("extras"))
        rc = CmdExtras(opts, ctx);
    else if (command == QLatin1String("folders"))
        rc = CmdFolders(opts, ctx);
    else if (command == QLatin1String("protocol"))
        rc = CmdProtocol(opts, ctx);
    else if (command == QLatin1String("watch"))
        rc = CmdWatch(opts, ctx);
    else if (command == QLatin1String("demo"))
        rc = CmdDemo(opts, ctx);
    else
        ctx.err << "stowaway: unknown command '" << command << "' (see stowaway --help)\n";
    ctx.out.flush();
    ctx.err.flush();
    SetUserInteraction(nullptr);
    return rc;
}
