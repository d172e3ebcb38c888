#include "addin/extras_run.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/shell.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/protocol.h"
#include "engine/driver.h"
#include "engine/engine_log.h"
#include "engine/notification.h"
#include "engine/proto_record.h"
#include "ui/user_interaction.h"

#include <QLocale>

#include <algorithm>

namespace {
// The busy pointer for the length of a walk or a run, on every path out of it.
struct BusyPointer {
    BusyPointer() { ui().setBusy(true); }
    ~BusyPointer() { ui().setBusy(false); }
};

struct ListWalk {
    ExtrasListing listing;
    bool withSubfolders = false;
    StatusSurface* status = nullptr;
    int32_t itemsSeen = 0;
    int32_t itemsTotal = 0;
};

bool IsMailOrPost(const MailItemPtr& item) {
    const int cls = item ? item->Class().value : 0;
    return cls == ItemClass::Mail || cls == ItemClass::Post;
}

qint64 AttachmentBytes(const MailItemPtr& item, int count) {
    qint64 bytes = 0;
    for (int i = 1; i <= count; ++i) {
        const AttachmentPtr att = item->AttachmentAt(i).value;
        const qint64 size = att ? att->Size().value : 0;
        if (size > 0) bytes += size;
    }
    return bytes;
}

void ProcessFolders(ListWalk& walk, const MailFolderPtr& folder, int parent) {
    ++walk.listing.folders;
    const QString folderName = folder->Name().value;
    const int node = static_cast<int>(walk.listing.tree.size());
    walk.listing.tree.push_back({folderName, parent, 0});
    const QString storeId = folder->StoreID().value;
    const Result<std::vector<MailItemPtr>> items = folder->Items();
    if (items.error)
        WriteLog(QStringLiteral("! Extras: folder '") + folderName +
                 QStringLiteral("' cannot be read: ") + items.error.description);
    walk.itemsTotal += static_cast<int32_t>(items.value.size());

    for (const MailItemPtr& item : items.value) {
        ShowProgress(++walk.itemsSeen, walk.itemsTotal, walk.status);
        if (!IsMailOrPost(item)) {
            if (item && ui().reportsPassedOver())
                ReportPassedOver(*item, {}, PassedOverClassReason(item->Class().value));
            continue;
        }
        const int count = item->AttachmentCount().value;
        if (count <= 0) {
            if (ui().reportsPassedOver()) ReportPassedOver(*item, {}, NoAttachmentsReason());
            continue;
        }
        const qint64 kb = SizeInKb(AttachmentBytes(item, count));
        ++walk.listing.mails;
        walk.listing.totalKb += kb;
        walk.listing.tree[static_cast<size_t>(node)].kb += kb;

        ExtrasRow row;
        row.folderName = folderName;
        row.tag = item->EntryID().value + QLatin1Char('|') + storeId;
        row.subject = item->Subject().value;
        row.senderName = item->SenderName().value;
        row.sizeText = FormatThousands(kb) + QStringLiteral(" Kb (") + QString::number(count) +
                       QLatin1Char(')');
        row.kb = kb;
        row.attachments = count;
        row.folder = node;
        walk.listing.rows.push_back(std::move(row));
    }

    if (walk.withSubfolders)
        for (const MailFolderPtr& sub : folder->Folders().value)
            if (sub) ProcessFolders(walk, sub, node);
}

void Refuse(const char* german, const char* english) {
    ui().beep();
    ui().messageBox(LangText(QString::fromUtf8(german), QString::fromUtf8(english)), MsgButtons::OK,
                    MsgIcon::Exclamation, gAppCaption);
}

// The checks before a run; true when one of them said no (and told the user).
bool RunRefused(const ExtrasRunOptions& options, const std::vector<ExtrasRow>& rows) {
    if (options.mode == ExtrasMode::Overview) return true;
    if (!options.sourceFolder) {
        Refuse("Bitte 'Speichern aus'-Ordner (Mail) wählen...",
               "Please choose 'Save from' folder (mail)...");
        return true;
    }
    if (options.mode == ExtrasMode::ToFolder) {
        if (options.targetFolder.isEmpty() || options.targetFolder.startsWith(QLatin1Char('<'))) {
            Refuse("Bitte 'Speichern in'-Ordner (Festplatte) wählen...",
                   "Please choose 'Save to' folder (hard disk)...");
            return true;
        }
        // The rule record would cut a longer path and save somewhere else.
        if (options.targetFolder.size() > decltype(udtRule::Folder)::Length) {
            Refuse("Der 'Speichern in'-Ordner hat einen zu langen Pfad (höchstens 200 Zeichen)...",
                   "The 'Save to' folder's path is too long (200 characters at most)...");
            return true;
        }
    }
    const bool anyTicked =
        std::any_of(rows.begin(), rows.end(), [](const ExtrasRow& r) { return r.ticked; });
    if (!anyTicked) {
        Refuse("Keine Einträge in der Liste markiert!", "No entries selected in list!");
        return true;
    }
    return false;
}

MailFolderPtr FindInFolder(const MailFolderPtr& folder, const QString& path) {
    if (!folder) return nullptr;
    if (GetFolderPath(folder).compare(path, Qt::CaseInsensitive) == 0) return folder;
    for (const MailFolderPtr& sub : folder->Folders().value)
        if (MailFolderPtr found = FindInFolder(sub, path)) return found;
    return nullptr;
}
} // namespace

MailFolderPtr FindFolderByPath(const QString& path) {
    MailSession* session = gobjRDOSession();
    if (!session || path.isEmpty()) return nullptr;
    for (const MailFolderPtr& top : session->Stores().value)
        for (const MailFolderPtr& folder :
             top ? top->Folders().value : std::vector<MailFolderPtr>{})
            if (MailFolderPtr found = FindInFolder(folder, path)) return found;
    return nullptr;
}

Result<MailItemPtr> GetItemFromTag(const QString& tag) {
    MailSession* session = gobjRDOSession();
    if (!session) return {nullptr, OpError::make(ErrNo::Failed, QStringLiteral("No mail session"))};
    const QString entryId = tag.section(QLatin1Char('|'), 0, 0);
    const QString storeId = tag.section(QLatin1Char('|'), 1);
    Result<MailItemPtr> item = session->GetMessageFromID(entryId, storeId);
    if (item.error || !item.value) item = session->GetMessageFromID(entryId);
    if (!item.error && !item.value)
        item.error = OpError::make(ErrNo::NotFound, QStringLiteral("Mail not found"));
    return item;
}

qint64 SizeInKb(qint64 bytes) {
    return bytes / 1024 + 1;
}

QString FormatThousands(qint64 value) {
    if (value == 0) return QString();
    const QString digits = QString::number(value < 0 ? -value : value);
    const QString separator = QLocale().groupSeparator();
    QString grouped;
    for (qsizetype i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) grouped += separator;
        grouped += digits.at(i);
    }
    return value < 0 ? QLatin1Char('-') + grouped : grouped;
}

QString NullsToBlanks(const QString& text) {
    QString result = text;
    for (qsizetype i = 0; i < result.size() && result.at(i) == QLatin1Char('0'); ++i)
        result[i] = QLatin1Char(' ');
    return result;
}

QString OverviewNodeText(qint64 kb, const QString& text) {
    return NullsToBlanks(QStringLiteral("%1").arg(kb, 6, 10, QLatin1Char('0'))) +
           QStringLiteral(" Kb - ") + text;
}

QString OverviewFolderText(const ExtrasFolder& folder) {
    return folder.kb >= 1 ? OverviewNodeText(folder.kb, folder.name) : folder.name;
}

QString ExtrasTotalsText(const ExtrasListing& listing) {
    return QString::number(listing.folders) + QLatin1Char('/') + QString::number(listing.mails) +
           QStringLiteral(", ") + FormatThousands(listing.totalKb) + QStringLiteral(" Kb");
}

ExtrasListing ListExtrasMails(const MailFolderPtr& folder, bool withSubfolders,
                              StatusSurface* status) {
    ListWalk walk;
    walk.withSubfolders = withSubfolders;
    walk.status = status;
    if (!folder) return walk.listing;
    BusyPointer busy;
    ShowProgress(0, 0, status);
    ProcessFolders(walk, folder, -1);
    ShowProgress(-1, -1, status);
    return walk.listing;
}

udtRule ExtrasSpecialRule(const ExtrasRunOptions& options) {
    udtRule rule;
    rule.Name = QStringLiteral("SpecialRule");
    rule.Active = vbTrue;
    rule.DelAttach = ToVb(options.delAttach);
    rule.Hyperlink = ToVb(options.hyperlinks);
    rule.Notify = vbFalse;
    rule.SaveBy = SaveBy::Folder;
    rule.SaveFormat = options.keepStructure ? SaveFormat::KeepMailFolders : SaveFormat::Plain;
    rule.Folder = options.targetFolder;
    return rule;
}

ExtrasRunSummary RunExtras(const ExtrasRunOptions& options, const std::vector<ExtrasRow>& rows,
                           StatusSurface* status) {
    ExtrasRunSummary summary;
    if (RunRefused(options, rows)) {
        summary.refused = true;
        return summary;
    }
    WriteLog(QStringLiteral("Extras/DP: ") + BoolText(DoProto) + QStringLiteral(", /TM: ") +
             (SWTest ? QLatin1Char('1') : QLatin1Char('0')));
    // A bulk run always writes the LOG; the stored setting stays as it is.
    DoProto = true;

    BusyPointer busy;
    ShowProgress(0, 0, status);
    const PassedOverRecord passedOver;
    const int32_t protoBefore = ProtoEntries.count();
    SWRun = !SWTest;
    const bool byRules = options.mode == ExtrasMode::ByRules;
    const udtRule special = byRules ? udtRule{} : ExtrasSpecialRule(options);
    const int32_t total = static_cast<int32_t>(rows.size());
    for (int32_t i = 0; i < total; ++i) {
        ShowProgress(i + 1, total, status);
        if (ui().cancelRequested()) {
            summary.stoppedEarly = true;
            break;
        }
        const ExtrasRow& row = rows[static_cast<size_t>(i)];
        if (!row.ticked) continue;
        const Result<MailItemPtr> item = GetItemFromTag(row.tag);
        if (item.error || !item.value) {
            const QString text = LangText(QStringLiteral("Fehler beim Zugriff auf Nachricht!"),
                                          QStringLiteral("Error accessing mail!"));
            WriteLog(text);
            WriteLog(QStringLiteral("Extras: ") + row.tag + QStringLiteral(": ") +
                     item.error.description);
            ui().beep();
            ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
            ++summary.rowsFailed;
            continue;
        }
        WriteLog(QStringLiteral("Extras/TN: ") + item.value->TypeName());
        udtRule rule = special; // the engine takes it by reference
        ++summary.rowsDone;
        if (!StowawayNow(nullptr, item.value, nullptr, rule)) {
            WriteLog(byRules ? "Extras: SWN/R= False..." : "Extras: SWN/HD= False...");
            summary.stoppedEarly = true;
            break;
        }
    }
    SWRun = false;
    FlushProtocol(); // on disk before the user is told it is done
    ShowProgress(-1, -1, status);
    // New entries stand at the head of the protocol.
    QStringList failedSaves;
    for (int32_t i = 1; i <= ProtoEntries.count() - protoBefore; ++i) {
        const udtProtoEntry& e = ProtoEntries[static_cast<size_t>(i)];
        const QString state = e.State().get();
        if (!state.startsWith(QLatin1Char('!'))) {
            ++summary.filesSaved;
            continue;
        }
        ++summary.filesFailed;
        failedSaves << e.Folder().get() + e.Attachment().get() + QStringLiteral(": ") +
                           ProtoStateMeaning(state);
    }
    for (const PassedOverRecord::Entry& e : passedOver.entries())
        if (e.attachment.isEmpty()) ++summary.mailsPassedOver;
    PlaySystemSound(QStringLiteral("SystemAsterisk"));
    ui().messageBoxWithDetails(ExtrasDoneText(summary, passedOver.entries()),
                               ExtrasDoneDetails(passedOver.entries(), failedSaves), gAppCaption);
    return summary;
}

QString ExtrasDoneText(const ExtrasRunSummary& summary,
                       const std::vector<PassedOverRecord::Entry>& passedOver) {
    const auto n = [](int count) { return QString::number(count); };
    QStringList lines{LangText(QStringLiteral("Fertig..."), QStringLiteral("Done...")), QString()};
    lines << (SWTest ? LangText(QStringLiteral("%1 Datei(en) würden gespeichert (Testlauf)."),
                                QStringLiteral("%1 file(s) would be saved (test run)."))
                     : LangText(QStringLiteral("%1 Datei(en) gespeichert."),
                                QStringLiteral("%1 file(s) saved.")))
                 .arg(summary.filesSaved);
    if (summary.mailsPassedOver > 0) {
        // The reasons in the order they first came up, each with its count.
        QStringList reasons;
        QList<int> counts;
        for (const PassedOverRecord::Entry& e : passedOver) {
            if (!e.attachment.isEmpty()) continue;
            const qsizetype at = reasons.indexOf(e.reason);
            if (at < 0) {
                reasons << e.reason;
                counts << 1;
            } else {
                ++counts[at];
            }
        }
        QStringList parts;
        for (qsizetype i = 0; i < reasons.size(); ++i)
            parts << n(counts.at(i)) + QLatin1Char(' ') + reasons.at(i);
        lines << LangText(QStringLiteral("%1 Nachricht(en) übergangen: "),
                          QStringLiteral("%1 mail(s) passed over: "))
                         .arg(summary.mailsPassedOver) +
                     parts.join(QStringLiteral(", ")) + QLatin1Char('.');
    }
    if (summary.filesFailed > 0)
        lines << LangText(QStringLiteral("%1 Datei(en) konnten nicht gespeichert werden."),
                          QStringLiteral("%1 file(s) could not be saved."))
                     .arg(summary.filesFailed);
    if (summary.rowsFailed > 0)
        lines << LangText(QStringLiteral("%1 Nachricht(en) nicht erreichbar."),
                          QStringLiteral("%1 mail(s) could not be reached."))
                     .arg(summary.rowsFailed);
    if (summary.stoppedEarly)
        lines << LangText(QStringLiteral("Der Lauf endete vorzeitig."),
                          QStringLiteral("The run stopped early."));
    return lines.join(QLatin1Char('\n'));
}

QStringList ExtrasDoneDetails(const std::vector<PassedOverRecord::Entry>& passedOver,
                              const QStringList& failedSaves) {
    QStringList lines;
    for (const PassedOverRecord::Entry& e : passedOver) {
        QString what = QLatin1Char('"') + e.mail + QLatin1Char('"');
        if (!e.attachment.isEmpty()) what += QStringLiteral(", ") + e.attachment;
        lines << what + QStringLiteral(": ") + e.reason;
    }
    return lines + failedSaves;
}
