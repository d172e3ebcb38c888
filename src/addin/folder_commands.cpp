#include "addin/folder_commands.h"

#include "addin/folder_watchers.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/text.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/watch_edits.h"
#include "engine/driver.h"
#include "engine/matching.h"
#include "engine/notification.h"
#include "engine/target_paths.h"
#include "ui/user_interaction.h"

#include <functional>

namespace {
// The busy pointer for the length of a command, on every path out of it.
struct BusyPointer {
    BusyPointer() { ui().setBusy(true); }
    ~BusyPointer() { ui().setBusy(false); }
};

bool IsMailOrPost(const MailItemPtr& item) {
    const Result<int> cls = item->Class();
    return cls.ok() && (cls.value == ItemClass::Mail || cls.value == ItemClass::Post);
}

// Visits the watched folders `indices` that can be reached, with the main bar over them when
// there are several. `visit(index, folder)` returns false to end the walk.
template <class Visit>
void ForEachWatchedFolder(const std::vector<int>& indices, StatusSurface* status, Visit visit) {
    const bool several = indices.size() != 1;
    if (several) ShowProgress(0, 0, status);
    int done = 0;
    for (int index : indices) {
        if (several) ShowProgress(++done, static_cast<int32_t>(indices.size()), status);
        if (ui().cancelRequested()) break;
        const MailFolderPtr folder = ResolveWatchFolder(index);
        if (folder && !visit(index, folder)) break;
    }
    if (several) ShowProgress(-1, -1, status);
}
} // namespace

Result<MailFolderPtr> LookUpWatchFolder(const udtWatchFolder& wf) {
    MailSession* session = gobjRDOSession();
    if (!session) return {nullptr, OpError::make(ErrNo::Failed, QStringLiteral("No mail session"))};
    Result<MailFolderPtr> folder = session->GetFolderFromID(wf.EntryID.get(), QString());
    if (folder.error || !folder.value)
        folder = session->GetFolderFromID(wf.EntryID.get(), wf.StoreID.get());
    if (!folder.error && !folder.value)
        folder.error = OpError::make(ErrNo::NotFound, QStringLiteral("Folder not found"));
    return folder;
}

MailFolderPtr ResolveWatchFolder(int index) {
    if (index < 1 || index > WatchFolders.count()) return nullptr;
    const udtWatchFolder& wf = WatchFolders[index];
    const Result<MailFolderPtr> folder = LookUpWatchFolder(wf);
    if (folder.error || !folder.value) {
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Zugriff auf Ordner '"),
                                 QStringLiteral("Can't access folder '")) +
                            wf.Name.get() +
                            LangText(QStringLiteral("' nicht möglich!"), QStringLiteral("'!")) +
                            QStringLiteral("\n\n") + folder.error.description,
                        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return nullptr;
    }
    return folder.value;
}

bool TestOrRunFolders(const std::vector<int>& indices, StatusSurface* status) {
    BusyPointer busy;
    const bool several = indices.size() != 1;
    bool completed = true;
    ForEachWatchedFolder(indices, status, [&](int index, const MailFolderPtr& folder) {
        const QString name = WatchFolders[index].Name.get();
        SWRun = !SWTest;
        gLastAction = SWTest ? LastActionTestRun(name) : LastActionRealRun(name);
        udtRule none;
        int notChanged = 0;
        const bool ok = StowawayNow(folder, nullptr, status, none, &notChanged);
        ui().showLastAction(gLastAction);
        SWRun = false;
        completed = completed && ok && notChanged == 0;
        return ok || !several;
    });
    return completed;
}

int ResetFolders(const std::vector<int>& indices, bool setUnread, StatusSurface* status) {
    BusyPointer busy;
    int count = 0;
    ForEachWatchedFolder(indices, status, [&](int index, const MailFolderPtr& folder) {
        ShowSubProgress(0, 0, status);
        const std::vector<MailItemPtr> items = folder->Items().value;
        int seen = 0;
        for (const MailItemPtr& item : items) {
            ShowSubProgress(++seen, static_cast<int32_t>(items.size()), status);
            if (!IsMailOrPost(item) || item->Mileage().value != QLatin1String(kStowawayStamp))
                continue;
            item->SetMileage(QString());
            if (setUnread) item->SetUnRead(true);
            if (const OpError error = item->Save()) {
                WriteLog(QStringLiteral("! Reset: ") + item->Subject().value +
                         QStringLiteral(": ") + error.description);
                continue;
            }
            ++count;
        }
        gLastAction = LastActionFlagsReset(WatchFolders[index].Name.get());
        ShowSubProgress(-1, -1, status);
        return true;
    });
    ui().messageBox(
        count == 0
            ? LangText(QStringLiteral("Keine Nachrichten mit Bearbeitungsflag gefunden..."),
                       QStringLiteral("No flagged mails found..."))
            : QString::number(count) + LangText(QStringLiteral(" Nachrichte(n) zurückgesetzt..."),
                                                QStringLiteral(" Mail resettet...")),
        MsgButtons::OK, MsgIcon::Information, gAppCaption);
    return count;
}

int CheckRule(int ruleIndex, int folderIndex, StatusSurface* status) {
    if (ruleIndex < 1 || ruleIndex > Rules.count() || folderIndex < 1 ||
        folderIndex > WatchFolders.count()) {
        ui().beep();
        return -1;
    }
    const udtRule rule = Rules[ruleIndex];
    const MailFolderPtr folder = ResolveWatchFolder(folderIndex);
    if (!folder) return -1;
    BusyPointer busy;
    ShowProgress(0, 0, status);
    const std::vector<MailItemPtr> items = folder->Items().value;
    int matches = 0;
    int seen = 0;
    bool stop = false;
    for (const MailItemPtr& item : items) {
        if (stop) break;
        ShowProgress(++seen, static_cast<int32_t>(items.size()), status);
        if (!IsMailOrPost(item)) continue;
        const int attachments = item->AttachmentCount().value;
        if (item->Mileage().value == QLatin1String(kStowawayStamp) || attachments == 0 ||
            !item->UnRead().value)
            continue;
        QString senderName, senderAddress, recipientName, recipientAddress;
        if (!MatchesRule(item, rule, senderName, senderAddress, recipientName, recipientAddress))
            continue;
        ++matches;
        QString baseFolder, targetFolder;
        GetRuleData(item, rule, baseFolder, targetFolder, senderName, senderAddress, recipientName,
                    recipientAddress);
        for (int i = 1; i <= attachments && !stop; ++i) {
            const AttachmentPtr att = item->AttachmentAt(i).value;
            const QString target =
                AddBackslash(targetFolder) + CleanFileName(att ? att->FileName().value : QString());
            MsgBoxExRequest box;
            box.prompt =
                LangText(QStringLiteral("Regel trifft für die folgende Nachricht zu:"),
                         QStringLiteral("Rule matches the following mail:")) +
                QStringLiteral("\n\nRegel: ") + rule.Name.get() + QStringLiteral("\nNachricht: ") +
                item->Subject().value + QStringLiteral("\nVon: ") + senderName +
                QStringLiteral(" (") + senderAddress + QStringLiteral(")\nAn: ") + recipientName +
                QStringLiteral(" (") + recipientAddress +
                QStringLiteral(")\n\nDer Anhang würde wie folgt gespeichert ") +
                (IsTrue(rule.DelAttach) ? QStringLiteral("und aus der Nachricht gelöscht ")
                                        : QString()) +
                QStringLiteral("werden:\n\n") + target + QStringLiteral("\n\nWeiter testen?");
            box.buttons = {QStringLiteral("Weiter"), QStringLiteral("Test abbrechen")};
            box.title = QStringLiteral("Test");
            box.icon = static_cast<int>(MsgIcon::Question);
            if (ui().msgBoxEx(box) % 256 == 2) stop = true;
        }
    }
    ShowProgress(-1, -1, status);
    ui().beep();
    ui().messageBox(matches > 0 ? QString::number(matches) +
                                      QStringLiteral(" Übereinstimmung(en) gefunden...")
                                : QStringLiteral("Keine passenden Nachrichten gefunden..."),
                    MsgButtons::OK, MsgIcon::Information, gAppCaption);
    return matches;
}

bool IsMailFolder(const MailFolderPtr& folder) {
    if (!folder) return false;
    const Result<MailFolderPtr> parent = folder->Parent();
    return !parent.error && parent.value != nullptr;
}

EditResult AddWatchedMailFolder(const MailFolderPtr& folder) {
    if (!IsMailFolder(folder))
        return Refused(EditRefusal::Meaningless,
                       QStringLiteral("'%1' is not a mail folder").arg(GetFolderPath(folder)));
    const EditResult result =
        AddWatchFolder(folder->Name().value, GetFolderPath(folder, QStringLiteral("|")),
                       folder->EntryID().value, folder->StoreID().value);
    if (result.ok()) SetWatchFolders();
    return result;
}

MailFolderPtr StoreFolderByPath(const QString& path) {
    MailSession* session = gobjRDOSession();
    if (!session) return nullptr;
    // Deep enough for any real tree, and a stop for a store whose folders loop.
    constexpr int kMaxDepth = 64;
    std::function<MailFolderPtr(const MailFolderPtr&, int)> find = [&](const MailFolderPtr& folder,
                                                                       int depth) -> MailFolderPtr {
        if (!folder || depth > kMaxDepth) return nullptr;
        const QString own = GetFolderPath(folder);
        if (own == path) return folder;
        if (!path.startsWith(own + QLatin1Char('|'))) return nullptr;
        for (const MailFolderPtr& child : folder->Folders().value)
            if (MailFolderPtr found = find(child, depth + 1)) return found;
        return nullptr;
    };
    for (const MailFolderPtr& top : session->Stores().value)
        if (MailFolderPtr found = find(top, 0)) return found;
    return nullptr;
}
