#include "addin/cli_commands.h"

#include "addin/data_folder_owner.h"
#include "addin/extras_run.h"
#include "addin/folder_commands.h"
#include "addin/service_loop.h"
#include "common/dates.h"
#include "common/folders.h"
#include "common/paths.h"
#include "common/text.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/protocol.h"
#include "data/settings.h"
#include "engine/proto_record.h"
#include "ui/user_interaction.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QMap>

int CmdBlocked(const CliOptions& opts, CliContext& ctx) {
    if (!opts.args.isEmpty()) return BlockedEdit(opts, ctx);
    for (int i = 1; i <= BlockedFormats.count(); ++i) {
        const udtBlockedFormat& b = BlockedFormats[i];
        ctx.out << QStringLiteral("%1  %2  %3%4\n")
                       .arg(b.Extension.get(), -3)
                       .arg(b.Description.get(), -30)
                       .arg(IsTrue(b.Active) ? QStringLiteral("blocked")
                                             : QStringLiteral("allowed"))
                       .arg(IsTrue(b.System) ? QString() : QStringLiteral(" (own)"));
    }
    return 0;
}

int CmdSettings(const CliOptions& opts, CliContext& ctx) {
    if (opts.args.isEmpty()) {
        for (const SettingInfo& s : KnownSettings())
            ctx.out << s.key << '=' << GetSetting(s.key, s.defaultValue) << '\n';
        return 0;
    }
    const SettingInfo* info = FindSetting(opts.args.at(0));
    if (!info) {
        ctx.err << "stowaway: unknown setting '" << opts.args.at(0)
                << "' (see stowaway settings)\n";
        return 2;
    }
    if (opts.args.size() == 1) {
        ctx.out << GetSetting(info->key, info->defaultValue) << '\n';
        return 0;
    }
    if (const QString problem = ApplySetting(info->key, opts.args.at(1)); !problem.isEmpty()) {
        ctx.err << "stowaway: " << problem << "; '" << opts.args.at(1) << "' is not saved\n";
        return 2;
    }
    ctx.out << info->key << '=' << GetSetting(info->key, info->defaultValue) << '\n';
    return 0;
}

int CmdPaths(const CliOptions& opts, CliContext& ctx) {
    InitAppCaptions();
    ctx.out << "data folder:   " << GetDataFolder() << '\n'
            << "LOG file:      " << LogFilePath() << '\n'
            << "settings file: " << SettingsFilePath() << '\n'
            << "mail store:    " << opts.maildir << '\n';
    return 0;
}

int FindWatchFolder(const QString& text) {
    bool isNumber = false;
    const int n = text.toInt(&isNumber);
    if (isNumber) return n >= 1 && n <= WatchFolders.count() ? n : 0;
    for (int i = 1; i <= WatchFolders.count(); ++i)
        if (WatchFolders[i].Name.get().compare(text, Qt::CaseInsensitive) == 0 ||
            WatchFolders[i].Path.get().compare(text, Qt::CaseInsensitive) == 0)
            return i;
    return 0;
}

namespace {
// The folders a command names: all active ones with --all, else one by FOLDER.
bool PickFolders(QStringList args, CliContext& ctx, std::vector<int>& indices) {
    const bool all = args.removeAll(QStringLiteral("--all")) > 0;
    std::vector<int> active;
    for (int i = 1; i <= WatchFolders.count(); ++i)
        if (IsTrue(WatchFolders[i].Active)) active.push_back(i);
    if (all && args.isEmpty()) {
        indices = active;
        return true;
    }
    if (args.isEmpty() && !all && active.size() == 1) {
        indices = active; // the only watched folder needs no name
        return true;
    }
    if (args.size() != 1) {
        ctx.err << "stowaway: name one watched folder, or --all\n";
        return false;
    }
    const int index = FindWatchFolder(args.at(0));
    if (index == 0) {
        ctx.err << "stowaway: no watched folder '" << args.at(0) << "' (see stowaway folders)\n";
        return false;
    }
    indices.push_back(index);
    return true;
}

// Progress of a run on the terminal: a line each time the share changes.
class TerminalStatus : public StatusSurface {
  public:
    TerminalStatus(QTextStream& err, const char* what) : m_err(err), m_what(what) {}
    void setMainProgress(bool visible, const QString& caption, double) override {
        if (visible && !caption.isEmpty() && caption != m_last)
            m_err << m_what << ": " << caption << '\n' << Qt::flush;
        m_last = visible ? caption : QString();
    }
    void setSubProgress(bool, double) override {}

  private:
    QTextStream& m_err;
    const char* m_what;
    QString m_last;
};

// Every folder of the store, depth first, with its depth below the store's top.
void ForEachStoreFolder(MailSession* session,
                        const std::function<void(const MailFolderPtr&, int)>& visit) {
    std::function<void(const MailFolderPtr&, int)> walk = [&](const MailFolderPtr& f, int depth) {
        visit(f, depth);
        for (const MailFolderPtr& child : f->Folders().value)
            if (child) walk(child, depth + 1);
    };
    for (const MailFolderPtr& top : session->Stores().value)
        if (top) walk(top, 0);
}

} // namespace

MailFolderPtr FindStoreFolder(MailSession* session, const QString& text, CliContext& ctx) {
    MailFolderPtr byPath;
    std::vector<MailFolderPtr> byName;
    ForEachStoreFolder(session, [&](const MailFolderPtr& f, int) {
        if (!byPath && GetFolderPath(f).compare(text, Qt::CaseInsensitive) == 0) byPath = f;
        if (f->Name().value.compare(text, Qt::CaseInsensitive) == 0) byName.push_back(f);
    });
    if (byPath) return byPath;
    if (byName.size() == 1) return byName.front();
    if (byName.empty()) {
        // The store's own name of the folder: "INBOX.Work" on an IMAP server.
        if (session) {
            const Result<MailFolderPtr> own = session->GetFolderFromID(text, QString());
            if (!own.error && IsMailFolder(own.value)) return own.value;
        }
        ctx.err << "stowaway: no folder '" << text << "' in the store (see stowaway folders)\n";
    } else {
        ctx.err << "stowaway: several folders are called '" << text << "'; name one by its path:";
        for (const MailFolderPtr& f : byName)
            ctx.err << ' ' << GetFolderPath(f);
        ctx.err << '\n';
    }
    return nullptr;
}

namespace {
int TestOrRun(const CliOptions& opts, CliContext& ctx, bool test) {
    std::vector<int> indices;
    if (!PickFolders(opts.args, ctx, indices)) {
        return 2;
    }
    if (Rules.count() == 0) {
        // The driver ends at once without rules; the user should know why nothing happened.
        ctx.err << "stowaway: there are no rules, so no mail is looked at\n";
        return 3;
    }
    SWTest = test;
    TerminalStatus status(ctx.err, "folders");
    const bool completed = TestOrRunFolders(indices, &status);
    ctx.out << gLastAction << '\n';
    return completed ? 0 : 3;
}
} // namespace

int CmdTest(const CliOptions& opts, CliContext& ctx) {
    return TestOrRun(opts, ctx, true);
}
int CmdRun(const CliOptions& opts, CliContext& ctx) {
    return TestOrRun(opts, ctx, false);
}

int CmdReset(const CliOptions& opts, CliContext& ctx) {
    QStringList args = opts.args;
    const bool unread = args.removeAll(QStringLiteral("--unread")) > 0;
    std::vector<int> indices;
    if (!PickFolders(args, ctx, indices)) {
        return 2;
    }
    const int count = ResetFolders(indices, unread, nullptr);
    ctx.out << count << " mail(s) reset\n";
    return 0;
}

int CmdCheckRule(const CliOptions& opts, CliContext& ctx) {
    if (opts.args.size() != 2) {
        ctx.err << "stowaway: check-rule takes a rule and a watched folder\n";
        return 2;
    }
    const int rule = PickRule(opts.args.at(0), ctx);
    if (rule == 0) return 2;
    const int folder = FindWatchFolder(opts.args.at(1));
    if (folder == 0) {
        ctx.err << "stowaway: no such watched folder (see stowaway folders)\n";
        return 2;
    }
    const int matches = CheckRule(rule, folder, nullptr);
    if (matches >= 0) ctx.out << matches << " matching mail(s)\n";
    return matches < 0 ? 1 : 0;
}

namespace {
struct ExtrasArgs {
    QString folder;
    bool subfolders = false;
    bool byRules = false;
    QString targetDir; // set: --to
    bool keepStructure = false;
    bool remove = false;
    bool links = false;
    bool test = false;
};

// The arguments of `extras`; an empty text when they make sense, else what is wrong.
QString ParseExtrasArgs(const QStringList& args, ExtrasArgs& a) {
    bool to = false;
    QStringList folders;
    for (int i = 0; i < args.size(); ++i) {
        const QString& arg = args.at(i);
        if (arg == QLatin1String("--subfolders"))
            a.subfolders = true;
        else if (arg == QLatin1String("--rules"))
            a.byRules = true;
        else if (arg == QLatin1String("--to")) {
            if (i + 1 >= args.size() || args.at(i + 1).isEmpty())
                return QStringLiteral("--to needs a folder");
            to = true;
            a.targetDir = args.at(++i);
        } else if (arg == QLatin1String("--keep-structure"))
            a.keepStructure = true;
        else if (arg == QLatin1String("--remove"))
            a.remove = true;
        else if (arg == QLatin1String("--links"))
            a.links = true;
        else if (arg == QLatin1String("--test"))
            a.test = true;
        else if (arg.startsWith(QLatin1String("--")))
            return QStringLiteral("extras does not know ") + arg;
        else
            folders << arg;
    }
    if (folders.size() != 1)
        return QStringLiteral("extras takes one mail folder (see stowaway folders)");
    a.folder = folders.front();
    if (a.byRules == to) return QStringLiteral("extras takes either --rules or --to DIR");
    if (a.byRules && (a.keepStructure || a.remove || a.links))
        return QStringLiteral("--keep-structure, --remove and --links go with --to DIR");
    if (a.links && !a.remove)
        return QStringLiteral("--links needs --remove: links are written for removed attachments");
    if (to) a.targetDir = QDir::cleanPath(QDir(ExpandHome(a.targetDir)).absolutePath());
    return {};
}

// What the run added to the protocol: files per folder, and the failed saves.
void PrintWhereFilesWent(int32_t added, const ExtrasArgs& a, CliContext& ctx) {
    int saved = 0;
    int failed = 0;
    QMap<QString, int> perFolder;
    for (int32_t i = 1; i <= added && i <= ProtoEntries.count(); ++i) {
        const udtProtoEntry& e = ProtoEntries[static_cast<size_t>(i)];
        if (e.State().get().startsWith(QLatin1Char('!'))) {
            ++failed;
            continue;
        }
        ++saved;
        ++perFolder[e.Folder().get()];
    }
    const char* verb = SWTest ? " would be saved (test run: nothing was written)" : " saved";
    ctx.out << saved << " file(s)" << verb;
    if (!a.byRules) {
        ctx.out << " under " << a.targetDir
                << (a.keepStructure ? " in the mail folders' paths\n" : "\n");
    } else {
        ctx.out << (perFolder.isEmpty() ? "\n" : ":\n");
        for (auto it = perFolder.cbegin(); it != perFolder.cend(); ++it)
            ctx.out << "  " << it.value() << "  " << it.key() << '\n';
    }
    if (failed > 0) ctx.out << failed << " file(s) could not be saved (see stowaway protocol)\n";
}
} // namespace

int CmdExtras(const CliOptions& opts, CliContext& ctx) {
    ExtrasArgs a;
    if (const QString wrong = ParseExtrasArgs(opts.args, a); !wrong.isEmpty()) {
        ctx.err << "stowaway: " << wrong << '\n';
        return 2;
    }
    MailSession* session = gobjRDOSession();
    const MailFolderPtr folder = FindStoreFolder(session, a.folder, ctx);
    if (!folder) {
        return 2;
    }
    SWTest = a.test;
    TerminalStatus status(ctx.err, "mails");
    const ExtrasListing listing = ListExtrasMails(folder, a.subfolders, nullptr);
    ctx.out << GetFolderPath(folder) << (a.subfolders ? " and its subfolders" : "")
            << ": folders/mails with attachments, size: " << ExtrasTotalsText(listing) << '\n';
    for (const ExtrasRow& row : listing.rows)
        ctx.out << "  " << row.folderName << "  \"" << row.subject << "\"  " << row.senderName
                << "  " << row.sizeText << '\n';
    ctx.out << Qt::flush;

    ExtrasRunOptions run;
    run.sourceFolder = folder;
    run.mode = a.byRules ? ExtrasMode::ByRules : ExtrasMode::ToFolder;
    run.targetFolder = a.targetDir;
    run.keepStructure = a.keepStructure;
    run.delAttach = a.remove;
    run.hyperlinks = a.links;
    const int32_t protoBefore = ProtoEntries.count();
    const ExtrasRunSummary summary = RunExtras(run, listing.rows, &status);
    if (summary.refused) {
        return 1;
    }
    ctx.out << summary.rowsDone << " of " << listing.rows.size() << " mail(s) processed";
    if (summary.rowsFailed > 0) ctx.out << ", " << summary.rowsFailed << " could not be read";
    ctx.out << (summary.stoppedEarly ? "; the run stopped early\n" : "\n");
    PrintWhereFilesWent(ProtoEntries.count() - protoBefore, a, ctx);
    return summary.stoppedEarly ? 3 : 0;
}

int CmdFolders(const CliOptions& opts, CliContext& ctx) {
    if (!opts.args.isEmpty()) return FoldersEdit(opts, ctx);
    MailSession* session = gobjRDOSession();
    ForEachStoreFolder(session, [&](const MailFolderPtr& f, int depth) {
        ctx.out << QString(depth * 2, QLatin1Char(' ')) << f->Name().value << "  ("
                << f->ItemCount().value << " mails)\n";
    });
    ctx.out << "\nWatched folders:\n";
    for (int i = 1; i <= WatchFolders.count(); ++i)
        ctx.out << "  " << i << ". " << WatchFolders[i].Path.get()
                << (IsTrue(WatchFolders[i].Active) ? "" : "  (not watched)") << '\n';
    return 0;
}

int CmdProtocol(const CliOptions& opts, CliContext& ctx) {
    if (opts.args == QStringList{QStringLiteral("--wipe")}) return ProtocolWipe(opts, ctx);
    QString field, value;
    for (int i = 0; i < opts.args.size(); ++i) {
        if (opts.args.at(i) == QLatin1String("--filter") && i + 1 < opts.args.size())
            field = opts.args.at(++i).toLower();
        else if (opts.args.at(i) == QLatin1String("--value") && i + 1 < opts.args.size())
            value = opts.args.at(++i);
        else {
            ctx.err << "stowaway: protocol takes --filter FIELD --value TEXT\n";
            return 2;
        }
    }
    static const QStringList kFields = {QStringLiteral("rule"),      QStringLiteral("sender"),
                                        QStringLiteral("recipient"), QStringLiteral("folder"),
                                        QStringLiteral("format"),    QStringLiteral("project"),
                                        QStringLiteral("mail"),      QStringLiteral("state")};
    if (!field.isEmpty() && !kFields.contains(field)) {
        ctx.err << "stowaway: FIELD is one of " << kFields.join(QStringLiteral(", ")) << '\n';
        return 2;
    }
    auto fieldOf = [&](const udtProtoEntry& e) -> QString {
        if (field == QLatin1String("rule")) return StripAtNull(e.Rule().get());
        if (field == QLatin1String("sender")) return StripAtNull(e.Sender().get());
        if (field == QLatin1String("recipient")) return StripAtNull(e.Recipient().get());
        if (field == QLatin1String("folder")) return StripAtNull(e.Folder().get());
        if (field == QLatin1String("format")) return StripAtNull(e.FileFormat().get());
        if (field == QLatin1String("project")) return StripAtNull(e.Project().get());
        if (field == QLatin1String("mail")) return StripAtNull(e.Mail().get());
        return StripAtNull(e.State().get());
    };
    int shown = 0;
    for (int i = 1; i <= ProtoEntries.count(); ++i) {
        const udtProtoEntry& e = ProtoEntries[i];
        if (!field.isEmpty() && !fieldOf(e).contains(value, Qt::CaseInsensitive)) continue;
        ++shown;
        const QString state = StripAtNull(e.State().get());
        ctx.out << FormatDate(e.Date, QStringLiteral("General Date")) << "  " << state << " ("
                << ProtoStateMeaning(state) << ")  " << StripAtNull(e.Folder().get())
                << StripAtNull(e.Attachment().get()) << "\n    rule " << StripAtNull(e.Rule().get())
                << ", from " << StripAtNull(e.Sender().get()) << ", mail \""
                << StripAtNull(e.Mail().get()) << "\"\n";
    }
    ctx.out << shown << " of " << ProtoEntries.count() << " entries\n";
    if (shown > 0) ctx.out << ProtoStateLegend() << '\n';
    return 0;
}

int CmdWatch(const CliOptions& opts, CliContext& ctx) {
    if (!SWActive)
        ctx.err
            << "stowaway: automatic saving is off; turn it on with: stowaway settings SWActive 1\n";
    else if (SWTest)
        ctx.err << "stowaway: test mode is on, nothing is saved; turn it off with: stowaway "
                   "settings SWTest 0\n";
    ctx.err << Qt::flush;
    int watched = 0;
    for (int i = 1; i <= WatchFolders.count(); ++i)
        if (IsTrue(WatchFolders[i].Active)) ++watched;
    const int status = RunServiceLoop(
        *ctx.owner, {[&](OwnerCall* call) { ServeCommandCall(call, opts.maildir); }, nullptr,
                     [&] {
                         ctx.out << "Watching " << watched << " folder(s) of " << opts.maildir
                                 << "; stop with Ctrl+C.\n"
                                 << Qt::flush;
                     }});
    if (status == -1) {
        ctx.err << "stowaway: cannot open the control socket " << ctx.owner->socketPath() << ": "
                << ctx.owner->lastError() << '\n';
        return 1;
    }
    FlushProtocol();
    ctx.out << "Stopped.\n";
    return status == 0 ? 0 : 1;
}

int CmdDemo(const CliOptions&, CliContext& ctx) {
    InitAppCaptions();
    // Everything of the demo lives in a folder of its own, made afresh each time: its Maildir,
    // its data files and the files it saves. The user's own data stay as they are.
    const QString demoRoot = GetDataFolder() + QStringLiteral("Demo/");
    const QString documents = GetSpecialFolder(Csidl::Personal) + QLatin1Char('/');
    QDir(demoRoot).removeRecursively();
    const QString maildir = demoRoot + QStringLiteral("Maildir");
    const Result<int> made =
        ctx.makeDemoMaildir
            ? ctx.makeDemoMaildir(maildir)
            : Result<int>{0, OpError::make(ErrNo::Failed, QStringLiteral("not built in"))};
    if (made.error) {
        ctx.err << "stowaway: cannot make the demo Maildir: " << made.error.description << '\n';
        return 1;
    }
    ctx.out << "Made a sample Maildir with " << made.value << " mails: " << maildir << "\n\n";

    qputenv("XDG_DATA_HOME", QFile::encodeName(demoRoot + QStringLiteral("data")));
    if (!StartWithStore(maildir, ctx)) return 1;
    // The sample rules and projects save below the documents folder: here, below the demo's.
    const QString saved = demoRoot + QStringLiteral("Saved/");
    for (int i = 1; i <= Rules.count(); ++i)
        if (Rules[i].Folder.get().startsWith(documents))
            Rules[i].Folder = saved + Rules[i].Folder.get().mid(documents.size());
    for (int i = 1; i <= Projects.count(); ++i)
        if (Projects[i].Folder.get().startsWith(documents))
            Projects[i].Folder = saved + Projects[i].Folder.get().mid(documents.size());
    // This run watches the demo inbox only, and really saves; nothing of it is stored as a setting.
    const MailFolderPtr inbox = gobjRDOSession()->GetDefaultInbox().value;
    udtWatchFolder wf;
    wf.Active = vbTrue;
    wf.Name = inbox->Name().value;
    wf.Path = GetFolderPath(inbox, QStringLiteral("|"));
    wf.EntryID = inbox->EntryID().value;
    wf.StoreID = inbox->StoreID().value;
    WatchFolders.assign({wf});
    WatchFolders.changed = false;
    SWTest = false;
    const int protoBefore = ProtoEntries.count();

    ctx.out << "Rules:\n";
    for (int i = 1; i <= Rules.count(); ++i)
        ctx.out << "  " << i << ". " << Rules[i].Name.get() << '\n';
    ctx.out << "\nProcessing " << wf.Path.get() << " ...\n" << Qt::flush;
    TestOrRunFolders({1}, nullptr);
    ctx.out << gLastAction << "\n\nSaved:\n";
    for (int i = ProtoEntries.count() - protoBefore; i >= 1; --i) {
        const udtProtoEntry& e = ProtoEntries[i];
        ctx.out << "  [" << e.State().get() << "] " << e.Attachment().get() << "  ->  "
                << e.Folder().get() << "\n      from \"" << e.Mail().get() << "\" by rule "
                << e.Rule().get() << '\n';
    }
    ctx.out << "\n"
            << (ProtoEntries.count() - protoBefore)
            << " protocol entries added. Everything of the demo is in " << demoRoot << '\n';
    FinishStarted();
    return 0;
}

bool StartWithStore(const QString& maildir, CliContext& ctx) {
    HostEnvironment host;
    host.openSession = [&]() { return ctx.openStore(maildir); };
    OnConnection(host);
    // A failed start has said why in its message; the data can still be shown.
    return CurrentAddinState() == AddinState::Running;
}

void StartWithoutStore() {
    ReadSettingsIntoGlobals();
    InitAppCaptions();
    // The inbox of a first start matters only to commands that open the store; without one,
    // nothing is said about it.
    UserInteraction& shown = ui();
    SetUserInteraction(nullptr);
    LoadData([] {
        InboxInfo none;
        none.errorDescription = QStringLiteral("No mail store");
        return none;
    });
    SetUserInteraction(&shown);
}

void FinishStarted() {
    if (CurrentAddinState() == AddinState::NotConnected) {
        SaveData();
        return;
    }
    OnBeginShutdown();
    OnDisconnection();
}
