#include "addin/cli.h"

#include "addin/cli_commands.h"
#include "addin/data_folder_owner.h"
#include "addin/folder_watchers.h"
#include "addin/owner_relay.h"
#include "common/build_info.h"
#include "common/folders.h"
#include "common/paths.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/settings.h"
#include "host/store_spec.h"
#include "ui/console_interaction.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QLocalSocket>
#include <QThread>

#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {
const char* kUsage =
    R"(Usage: stowaway [OPTIONS] COMMAND [ARGS]

Saves mail attachments from Maildir folders by your rules.

Commands:
  rules                      list the rules
  rules --json               the whole rule table as JSON, every field
  rules import FILE.json     replace the rule table by one in that form (every field of every
                             rule is checked first; nothing changes if one is wrong)
  rule add NAME              a new last rule: active, saving by date into the documents folder
  rule set RULE FIELD VALUE  set one field: Active, Name, CheckSender, Sender, CheckRecp,
                             Recipient, CheckSubj, Subject, CheckFileFormat, FileFormat, SaveBy,
                             SaveFormat, Folder, FileExists, Execute, DelAttach, Notify,
                             Hyperlink; switches take 1 or 0, SaveBy, SaveFormat and FileExists
                             their number or word (SaveBy date, sender, recipient, project,
                             folder; FileExists ask, replace, number, date-time)
  rule rename RULE NAME      rename a rule
  rule remove RULE           delete a rule
  rule move RULE up|down     move a rule one place (rules are tried in order)
  projects                   list the projects
  project add NAME FOLDER    a new project saving into FOLDER
  project folder PROJECT FOLDER
                             change a project's folder
  project rename PROJECT NAME
                             rename a project (rules naming the old name then save nothing)
  project remove PROJECT     delete a project (asks when a rule saves into it)
  blocked                    list the blocked attachment formats
  blocked add EXT DESCRIPTION
                             block a format of your own (EXT without its dot, at most 3
                             letters): its files are saved but never opened or run
  blocked remove EXT         remove a format of your own (built-in ones can only be disabled)
  blocked enable|disable EXT block a format again, or allow it
  settings [KEY [VALUE]]     list all settings, show one, or set one
  paths                      show the data folder, the LOG file and the settings file
  watch                      save attachments of new mail as it arrives, until stopped
  demo                       make a sample Maildir, run the rules over it, show the result
  folders                    show the store's folders and the watched ones
  folders add PATH           watch a mail folder of the store (its path "Maildir|Work", its
                             name, or the server's own name "INBOX.Work")
  folders remove FOLDER      stop watching a folder and forget it
  folders enable|disable FOLDER
                             watch a folder again, or pause it (it stays in the list)
  test [--all | FOLDER]      a test run over the watched folders (asks before each file)
  run [--all | FOLDER]       a real run over the watched folders
  reset [--unread] [--all | FOLDER]
                             clear the processing marks, so mails are taken again
  check-rule RULE FOLDER     show what a rule would do with the mails of a watched folder
  protocol [--filter FIELD --value TEXT]
                             list the saved attachments, newest first
  protocol --wipe            delete the whole protocol (asks unless --yes)
  extras MAILFOLDER [--subfolders] (--rules | --to DIR [--keep-structure]
         [--remove [--links]]) [--test]
                             work through the mails with attachments already in a folder:
                             by the active rules (unread, unprocessed mails only), or every
                             attachment into DIR (read mails too; --keep-structure adds the
                             folder's path, --remove takes the files out of the mails,
                             --links writes links to them into the mails)
FOLDER is a watched folder's number (see `stowaway folders`), name or path, and may be left
out when only one folder is watched; RULE a rule's number or name, PROJECT a project's;
MAILFOLDER any folder of the store, by its path ("Mail|Work") or its name. Relative folders are
taken from the current folder.

Options:
  --store URL                the mail store: imap://user@host[:port] (TLS),
                             imap+starttls://user@host[:port], imap+plain://user@localhost
                             (this computer only), ?auth=xoauth2 for an OAuth2 token, or
                             maildir:PATH (default: the setting Store, else --maildir)
  --maildir PATH             the Maildir store (default: $MAILDIR, else ~/Maildir)
  --password-command CMD     a command that prints the IMAP password or token (first line
                             of its output; default: the setting PasswordCommand)
  --yes                      answer every question with its first choice
  --no-input                 never ask; take the safe choice (cancel, no)
  -h, --help                 show this help
  --version                  show the version and the commit it was built from
)";

// What a command needs before it runs.
enum class Needs {
    Nothing,  // runs here, always
    Settings, // the settings store
    Data,     // the data files
    Store,    // the data files and the mail store
    Owner,    // becomes the data folder's owner
};

struct CommandSpec {
    const char* name;
    int (*run)(const CliOptions&, CliContext&);
    Needs needs;
    int maxArgs; // -1: the command checks its arguments itself
};

const CommandSpec kCommands[] = {
    {"rules", CmdRules, Needs::Data, -1},       {"rule", CmdRule, Needs::Data, -1},
    {"projects", CmdProjects, Needs::Data, 0},  {"project", CmdProject, Needs::Data, -1},
    {"blocked", CmdBlocked, Needs::Data, -1},   {"settings", CmdSettings, Needs::Settings, 2},
    {"paths", CmdPaths, Needs::Nothing, 0},     {"watch", CmdWatch, Needs::Owner, 0},
    {"demo", CmdDemo, Needs::Nothing, 0},       {"folders", CmdFolders, Needs::Store, -1},
    {"test", CmdTest, Needs::Store, -1},        {"run", CmdRun, Needs::Store, -1},
    {"reset", CmdReset, Needs::Store, -1},      {"check-rule", CmdCheckRule, Needs::Store, -1},
    {"protocol", CmdProtocol, Needs::Data, -1}, {"extras", CmdExtras, Needs::Store, -1},
};

const CommandSpec* FindCommand(const QString& name) {
    for (const CommandSpec& c : kCommands)
        if (name == QLatin1String(c.name)) return &c;
    return nullptr;
}

// The options before or after the command; the rest are the command's own. A non-negative
// return is the exit code of a command line that ends here (help, version, a wrong option).
int ParseOptions(const QStringList& args, CliOptions& opts, QString& command, QTextStream& out,
                 QTextStream& err) {
    QString store;
    QStringList rest;
    for (int i = 0; i < args.size(); ++i) {
        const QString& a = args.at(i);
        if (a == QLatin1String("--maildir") || a.startsWith(QLatin1String("--maildir="))) {
            const bool inline_ = a.size() > 9;
            if (!inline_ && i + 1 >= args.size()) {
                err << "stowaway: --maildir needs a path\n";
                return 2;
            }
            const QString path = inline_ ? a.mid(10) : args.at(++i);
            if (path.isEmpty()) {
                err << "stowaway: --maildir needs a path\n";
                return 2;
            }
            store = ExpandHome(path);
        } else if (a == QLatin1String("--store") || a.startsWith(QLatin1String("--store=")) ||
                   a == QLatin1String("--password-command") ||
                   a.startsWith(QLatin1String("--password-command="))) {
            const bool isStore = a.startsWith(QLatin1String("--store"));
            const QString name =
                isStore ? QStringLiteral("--store") : QStringLiteral("--password-command");
            const bool inline_ = a.size() > name.size();
            if (!inline_ && i + 1 >= args.size()) {
                err << "stowaway: " << name << " needs a value\n";
                return 2;
            }
            const QString value = inline_ ? a.mid(name.size() + 1) : args.at(++i);
            if (value.isEmpty()) {
                err << "stowaway: " << name << " needs a value\n";
                return 2;
            }
            if (isStore)
                store = value;
            else
                SetPasswordCommand(value);
        } else if (a == QLatin1String("--yes")) {
            opts.answers = ConsoleInteraction::Answers::Yes;
        } else if (a == QLatin1String("--no-input")) {
            opts.answers = ConsoleInteraction::Answers::NoInput;
        } else if (a == QLatin1String("-h") || a == QLatin1String("--help")) {
            out << kUsage;
            return 0;
        } else if (a == QLatin1String("--version")) {
            InitAppCaptions();
            out << gAppCaption << "\nstowaway " << PackageVersion() << " (commit " << BuildCommit()
                << ")\n";
            return 0;
        } else {
            rest << a;
        }
    }
    if (rest.isEmpty()) {
        err << kUsage;
        return 2;
    }
    command = rest.takeFirst();
    opts.args = rest;
    opts.maildir = ChooseStore(store);
    return -1;
}

// The command's spec after its arguments were counted; null after an error line.
const CommandSpec* CheckCommand(const QString& command, const CliOptions& opts, QTextStream& err) {
    const CommandSpec* spec = FindCommand(command);
    if (!spec) {
        err << "stowaway: unknown command '" << command << "' (see stowaway --help)\n";
        return nullptr;
    }
    if (spec->maxArgs >= 0 && opts.args.size() > spec->maxArgs) {
        err << "stowaway: " << command << " takes "
            << (spec->maxArgs == 0 ? QStringLiteral("no arguments")
                                   : QStringLiteral("at most %1 arguments").arg(spec->maxArgs))
            << "; '" << opts.args.at(spec->maxArgs) << "' is one too many\n";
        return nullptr;
    }
    return spec;
}

// The command here, with its start and finish; the lock is the caller's.
int RunHere(const CommandSpec& spec, const CliOptions& opts, CliContext& ctx) {
    switch (spec.needs) {
    case Needs::Nothing:
        return spec.run(opts, ctx);
    case Needs::Settings:
        ReadSettingsIntoGlobals();
        InitAppCaptions();
        return spec.run(opts, ctx);
    case Needs::Data:
        StartWithoutStore();
        break;
    case Needs::Store:
    case Needs::Owner:
        if (!StartWithStore(opts.maildir, ctx)) {
            FinishStarted();
            return 1;
        }
        break;
    }
    const int rc = spec.run(opts, ctx);
    FinishStarted();
    return rc;
}

// `watch`: the owner of the data folder for as long as it runs.
int RunAsOwner(const CommandSpec& spec, const CliOptions& opts, CliContext& ctx) {
    DataFolderOwner owner(GetDataFolder());
    bool said = false;
    while (!owner.acquire(DataFolderOwner::Role::Owner)) {
        if (!owner.heldByOther()) {
            ctx.err << "stowaway: " << owner.lastError() << '\n';
            return 1;
        }
        const DataFolderHolder holder = owner.holder();
        if (holder.owner) {
            ctx.err << "stowaway: the data folder " << GetDataFolder() << " is owned by "
                    << DescribeHolder(holder) << "; stop it first (stowaway runs once per data "
                    << "folder)\n";
            return 2;
        }
        // A single command holds it for its run: wait for its end.
        if (!said)
            ctx.err << "stowaway: waiting for " << DescribeHolder(holder)
                    << ", which uses the data folder\n"
                    << Qt::flush;
        said = true;
        QThread::msleep(100);
    }
    ctx.owner = &owner;
    const int rc = RunHere(spec, opts, ctx);
    ctx.owner = nullptr;
    return rc;
}

// Any other command that touches the data: to the owner when there is one, else here under
// the lock.
int RunForwardedOrHere(const CommandSpec& spec, const QStringList& args, const CliOptions& opts,
                       ConsoleInteraction& console, CliContext& ctx) {
    DataFolderOwner lock(GetDataFolder());
    bool said = false;
    for (;;) {
        if (lock.acquire(DataFolderOwner::Role::Command)) return RunHere(spec, opts, ctx);
        if (!lock.heldByOther()) {
            ctx.err << "stowaway: " << lock.lastError() << '\n';
            return 1;
        }
        if (const std::unique_ptr<QLocalSocket> socket = ConnectToOwner(GetDataFolder())) {
            QJsonObject request{{u"t"_s, u"command"_s},
                                {u"args"_s, QJsonArray::fromStringList(args)},
                                {u"cwd"_s, QDir::currentPath()},
                                {u"maildir"_s, QFileInfo(opts.maildir).absoluteFilePath()},
                                {u"canAsk"_s, console.canAsk()},
                                {u"passedOver"_s, console.reportsPassedOver()}};
            return RunForwardedCall(*socket, request, console, ctx.out, ctx.err);
        }
        // Held by a single command, or by an owner that is still starting.
        if (!said)
            ctx.err << "stowaway: waiting for " << DescribeHolder(lock.holder())
                    << ", which uses the data folder\n"
                    << Qt::flush;
        said = true;
        QThread::msleep(100);
    }
}
} // namespace

int RunCli(const QStringList& args, CliContext& ctx) {
    CliOptions opts;
    QString command;
    if (const int rc = ParseOptions(args, opts, command, ctx.out, ctx.err); rc >= 0) return rc;
    const CommandSpec* spec = CheckCommand(command, opts, ctx.err);
    if (!spec) return 2;

    // A watcher never waits on the user: it prints what it would show and takes safe answers.
    const bool watching = command == QLatin1String("watch");
    ConsoleInteraction console(watching && opts.answers == ConsoleInteraction::Answers::Ask
                                   ? ConsoleInteraction::Answers::NoInput
                                   : opts.answers);
    console.setReportPassedOver(command == QLatin1String("test") ||
                                command == QLatin1String("extras"));
    SetUserInteraction(&console);
    int rc = 2;
    switch (spec->needs) {
    case Needs::Nothing:
        rc = RunHere(*spec, opts, ctx);
        break;
    case Needs::Owner:
        rc = RunAsOwner(*spec, opts, ctx);
        break;
    default:
        rc = RunForwardedOrHere(*spec, args, opts, console, ctx);
        break;
    }
    ctx.out.flush();
    ctx.err.flush();
    SetUserInteraction(nullptr);
    return rc;
}

namespace {
// The store a path names, as the file system resolves it (links, "..", a closing "/").
QString StorePath(const QString& path) {
    const QFileInfo info(path);
    const QString canonical = info.canonicalFilePath();
    return canonical.isEmpty() ? QDir::cleanPath(info.absoluteFilePath()) : canonical;
}
} // namespace

void ServeCommandCall(OwnerCall* call, const QString& ownStore) {
    QStringList args;
    for (const QJsonValue& v : call->request().value(u"args"_s).toArray())
        args << v.toString();
    RelayDevice outDevice(*call, u"out"_s);
    RelayDevice errDevice(*call, u"err"_s);
    QTextStream out(&outDevice);
    QTextStream err(&errDevice);
    CliContext ctx{out, err, nullptr, nullptr};

    // Relative paths of the caller's command line are the caller's.
    const QString ownFolder = QDir::currentPath();
    QDir::setCurrent(call->request().value(u"cwd"_s).toString());
    CliOptions opts;
    QString command;
    int rc = ParseOptions(args, opts, command, out, err);
    const CommandSpec* spec = rc >= 0 ? nullptr : CheckCommand(command, opts, err);
    if (rc < 0 && spec && (spec->needs == Needs::Nothing || spec->needs == Needs::Owner)) {
        err << "stowaway: " << command << " is not carried out by the owner\n";
        spec = nullptr;
    }
    if (rc < 0 && !spec) rc = 2;
    // The owner has one store open; a command meant for another store must not run on this one.
    const QString theirStore = call->request().value(u"maildir"_s).toString();
    if (spec && spec->needs == Needs::Store && !theirStore.isEmpty() &&
        StorePath(theirStore) != StorePath(ownStore)) {
        err << "stowaway: the data folder is owned by a running Stowaway that works on the mail "
               "store "
            << ownStore << "; it does not run commands on " << theirStore
            << " (name that store, or stop the running one first)\n";
        spec = nullptr;
        rc = 2;
    }
    if (spec) {
        RelayInteraction relay(*call, out, err);
        UserInteraction& own = ui();
        SetUserInteraction(&relay);
        WatchersPause pause;
        // A run sets these for itself; the owner's own values come back afterwards, save for
        // what `settings` changed on purpose.
        const bool test = SWTest, doProto = DoProto, run = SWRun;
        if (spec->needs == Needs::Store && CurrentAddinState() != AddinState::Running) {
            err << "stowaway: the owner has no mail store open\n";
            rc = 1;
        } else {
            rc = spec->run(opts, ctx);
        }
        if (spec->needs != Needs::Settings) {
            SWTest = test;
            DoProto = doProto;
        }
        SWRun = run;
        SaveData();
        out.flush();
        err.flush();
        SetUserInteraction(&own);
    }
    QDir::setCurrent(ownFolder);
    out.flush();
    err.flush();
    call->finish(rc);
}
