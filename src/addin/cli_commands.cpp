#include "addin/cli_commands.h"

#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"

namespace {
// The start every command makes: settings into the globals and the data loaded, with the
// store opened for the inbox of a first start.
void StartQuietly(const CliOptions& opts, CliContext& ctx) {
    HostEnvironment host;
    host.openSession = [&]() { return ctx.openStore(opts.maildir); };
    OnConnection(host);
    if (CurrentAddinState() != AddinState::Running) {
        // No store: the data can still be shown.
        LoadData([] {
            InboxInfo none;
            none.errorDescription = QStringLiteral("No mail store");
            return none;
        });
    }
}

QString YesNo(VbBool b) { return IsTrue(b) ? QStringLiteral("yes") : QStringLiteral("no"); }

QString SaveByText(const udtRule& r) {
    static const char* kDateFormats[] = {"dd-mm-yyyy", "yyyy-mm-dd", "yyyy-mm", "yyyy-ww"};
    switch (r.SaveBy) {
    case 0:
        return QStringLiteral("by date (%1)")
            .arg(r.SaveFormat >= 0 && r.SaveFormat <= 3 ? kDateFormats[r.SaveFormat] : "?");
    case 1:
        return r.SaveFormat == 1 ? QStringLiteral("by sender address") : QStringLiteral("by sender name");
    case 2:
        return r.SaveFormat == 1 ? QStringLiteral("by recipient address")
                                 : QStringLiteral("by recipient name");
    case 3:
        return QStringLiteral("by project");
    case 4:
        return r.SaveFormat == 99 ? QStringLiteral("to the folder, keeping the mail folders")
                                  : QStringLiteral("to the folder");
    default:
        return QStringLiteral("by mode %1").arg(r.SaveBy);
    }
}

QString ConflictText(uint8_t fileExists) {
    switch (fileExists) {
    case 0:
        return QStringLiteral("ask");
    case 2:
        return QStringLiteral("number");
    case 3:
        return QStringLiteral("add date and time");
    default:
        return QStringLiteral("replace");
    }
}

void Finish() {
    OnBeginShutdown();
    OnDisconnection();
}
} // namespace

int CmdRules(const CliOptions& opts, CliContext& ctx) {
    StartQuietly(opts, ctx);
    auto& out = ctx.out;
    if (RulesCount == 0)
        out << "No rules.\n";
    for (int i = 1; i <= RulesCount; ++i) {
        const udtRule& r = Rules[i];
        out << i << ". " << r.Name.get() << (IsTrue(r.Active) ? "" : "  (inactive)") << '\n';
        QStringList criteria;
        if (IsTrue(r.CheckSender))
            criteria << QStringLiteral("sender %1").arg(r.Sender.get());
        if (IsTrue(r.CheckRecp))
            criteria << QStringLiteral("recipient %1").arg(r.Recipient.get());
        if (IsTrue(r.CheckSubj))
            criteria << QStringLiteral("subject contains \"%1\"").arg(r.Subject.get());
        if (IsTrue(r.CheckFileFormat))
            criteria << QStringLiteral("format %1").arg(r.FileFormat.get());
        out << "   matches: " << (criteria.isEmpty() ? QStringLiteral("every mail") : criteria.join(QStringLiteral(", ")))
            << '\n';
        out << "   saves:   " << SaveByText(r) << ", under " << r.Folder.get()
            << ", on a conflict: " << ConflictText(r.FileExists) << '\n';
        QStringList actions;
        if (IsTrue(r.DelAttach))
            actions << QStringLiteral("remove attachments");
        if (IsTrue(r.Hyperlink))
            actions << QStringLiteral("write links");
        if (IsTrue(r.Notify))
            actions << QStringLiteral("notify");
        if (!r.Execute.get().isEmpty())
            actions << QStringLiteral("run %1").arg(r.Execute.get());
        if (!actions.isEmpty())
            out << "   then:    " << actions.join(QStringLiteral(", ")) << '\n';
    }
    Finish();
    return 0;
}

int CmdBlocked(const CliOptions& opts, CliContext& ctx) {
    StartQuietly(opts, ctx);
    for (int i = 1; i <= BlockedCount; ++i) {
        const udtBlockedFormat& b = BlockedFormats[i];
        ctx.out << QStringLiteral("%1  %2  %3%4\n")
                       .arg(b.Extension.get(), -3)
                       .arg(b.Description.get(), -30)
                       .arg(IsTrue(b.Active) ? QStringLiteral("blocked") : QStringLiteral("allowed"))
                       .arg(IsTrue(b.System) ? QString() : QStringLiteral(" (own)"));
    }
    Finish();
    return 0;
}

int CmdSettings(const CliOptions& opts, CliContext& ctx) {
    if (opts.args.size() > 2) {
        ctx.err << "stowaway: settings takes at most a key and a value\n";
        return 2;
    }
    const auto& known = KnownSettings();
    auto find = [&](const QString& key) -> const SettingInfo* {
        for (const SettingInfo& s : known)
            if (s.key.compare(key, Qt::CaseInsensitive) == 0)
                return &s;
        return nullptr;
    };
    if (opts.args.isEmpty()) {
        for (const SettingInfo& s : known) {
            const QString value = GetSetting(s.key, s.defaultValue);
            ctx.out << s.key << '=' << value << '\n';
        }
        return 0;
    }
    const SettingInfo* info = find(opts.args.at(0));
    if (!info) {
        ctx.err << "stowaway: unknown setting '" << opts.args.at(0) << "'\n";
        return 2;
    }
    if (opts.args.size() == 1) {
        ctx.out << GetSetting(info->key, info->defaultValue) << '\n';
        return 0;
    }
    SaveSetting(info->key, opts.args.at(1));
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
