// The commands that edit the watched folders and the blocked formats and wipe the protocol,
// through the edit functions that the Watch and Options tabs call.
#include "addin/cli_commands.h"

#include "addin/folder_commands.h"
#include "addin/folder_watchers.h"
#include "common/folders.h"
#include "common/lang.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/watch_edits.h"
#include "ui/user_interaction.h"

#include <QFile>

namespace {
bool Usage(const char* usage, CliContext& ctx) {
    ctx.err << "stowaway: usage: stowaway " << usage << '\n';
    return false;
}

int Refusal(const EditResult& result, CliContext& ctx) {
    ctx.err << "stowaway: " << result.message << '\n';
    return 2;
}

// "enable" or "disable" as the state they ask for.
bool SwitchOn(const QString& sub) {
    return sub == QLatin1String("enable");
}
bool IsSwitch(const QString& sub) {
    return sub == QLatin1String("enable") || sub == QLatin1String("disable");
}
} // namespace

int FoldersEdit(const CliOptions& opts, CliContext& ctx) {
    const QString sub = opts.args.value(0);
    const QStringList args = opts.args.mid(1);
    if (sub == QLatin1String("add")) {
        if (args.size() != 1) return Usage("folders add PATH", ctx), 2;
        const MailFolderPtr folder = FindStoreFolder(gobjRDOSession(), args.at(0), ctx);
        if (!folder) return 2;
        const EditResult result = AddWatchedMailFolder(folder);
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << "Watching folder " << result.index << ": "
                << WatchFolders[static_cast<size_t>(result.index)].Path.get() << '\n';
        return 0;
    }
    if (sub == QLatin1String("remove") || IsSwitch(sub)) {
        if (args.size() != 1) return Usage("folders remove|enable|disable FOLDER", ctx), 2;
        const int index = FindWatchFolder(args.at(0));
        if (index == 0) {
            ctx.err << "stowaway: no watched folder '" << args.at(0)
                    << "' (see stowaway folders)\n";
            return 2;
        }
        const QString path = WatchFolders[static_cast<size_t>(index)].Path.get();
        if (sub == QLatin1String("remove")) {
            RemoveWatchFolder(index);
            ctx.out << "No longer watching folder " << index << ": " << path << '\n';
        } else {
            SetWatchFolderActive(index, SwitchOn(sub));
            ctx.out << (SwitchOn(sub) ? "Watching" : "Not watching") << " folder " << index << ": "
                    << path << '\n';
        }
        SetWatchFolders();
        return 0;
    }
    Usage("folders [add PATH | remove|enable|disable FOLDER]", ctx);
    return 2;
}

int BlockedEdit(const CliOptions& opts, CliContext& ctx) {
    const QString sub = opts.args.value(0);
    const QStringList args = opts.args.mid(1);
    if (sub == QLatin1String("add")) {
        if (args.size() != 2) return Usage("blocked add EXT DESCRIPTION", ctx), 2;
        if (const int held = FindBlockedFormat(args.at(0))) {
            ctx.err << "stowaway: " << args.at(0).toUpper() << " is in the list already (row "
                    << held << ")\n";
            return 2;
        }
        const EditResult result = AddUserBlockedFormat(args.at(0), args.at(1));
        if (!result.ok()) return Refusal(result, ctx);
        const udtBlockedFormat& row = BlockedFormats[static_cast<size_t>(result.index)];
        ctx.out << "Blocked " << row.Extension.get() << " (" << row.Description.get() << ")\n";
        return 0;
    }
    if (sub == QLatin1String("remove") || IsSwitch(sub)) {
        if (args.size() != 1) return Usage("blocked remove|enable|disable EXT", ctx), 2;
        const int index = FindBlockedFormat(args.at(0));
        if (index == 0) {
            ctx.err << "stowaway: no blocked format '" << args.at(0)
                    << "' (see stowaway blocked)\n";
            return 2;
        }
        const QString ext = BlockedFormats[static_cast<size_t>(index)].Extension.get();
        if (sub == QLatin1String("remove")) {
            const EditResult result = RemoveBlockedFormat(index);
            if (!result.ok()) return Refusal(result, ctx);
            ctx.out << "Removed " << ext << " from the blocked formats\n";
        } else {
            SetBlockedFormatActive(index, SwitchOn(sub));
            ctx.out << ext << (SwitchOn(sub) ? " is blocked\n" : " is allowed\n");
        }
        return 0;
    }
    Usage("blocked [add EXT DESCRIPTION | remove|enable|disable EXT]", ctx);
    return 2;
}

int ProtocolWipe(const CliOptions&, CliContext& ctx) {
    if (ProtoEntries.count() == 0 && !QFile::exists(DataFilePath(QStringLiteral(".prt")))) {
        ctx.out << "The protocol is empty.\n";
        return 0;
    }
    const QString question =
        QStringLiteral("Delete the entire protocol (%1 entries)?").arg(ProtoEntries.count());
    if (ui().messageBox(question, MsgButtons::YesNo, MsgIcon::Exclamation, gAppCaption) !=
        MsgAnswer::Yes) {
        ctx.err << "stowaway: the protocol is kept\n";
        return 1;
    }
    const int count = ProtoEntries.count();
    QString why;
    WipeProtocol(&why);
    if (!why.isEmpty()) {
        ctx.err << "stowaway: cannot delete " << DataFilePath(QStringLiteral(".prt")) << ": " << why
                << "; the protocol is kept\n";
        return 1;
    }
    ctx.out << "Deleted the protocol (" << count << " entries)\n";
    return 0;
}
