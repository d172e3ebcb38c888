// StowawayNow: the walk, the qualifying of a mail, the rule loop and the attachment loop.
#include "engine/driver.h"

#include "engine/annotation.h"
#include "engine/attachment_actions.h"
#include "engine/engine_log.h"
#include "engine/matching.h"
#include "engine/notification.h"
#include "engine/proto_record.h"
#include "engine/run_state.h"
#include "engine/target_paths.h"

#include "common/dates.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/text.h"
#include "common/vbstring.h"
#include "common/wait.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/protocol.h"
#include "data/settings.h"
#include "ui/user_interaction.h"

namespace {
PassedOverRecord* gPassedOverRecord = nullptr;

// Whether anyone takes the passed-over lines: the surface in use, or a record.
bool ListsPassedOver() {
    return gPassedOverRecord || ui().reportsPassedOver();
}

// The pause after each changed mail, in seconds.
float PaceSeconds() {
    bool ok = false;
    const float seconds =
        GetSetting(QStringLiteral("PaceSeconds"), QStringLiteral("0.5")).trimmed().toFloat(&ok);
    return ok ? seconds : 0.5f;
}

// The mail behind an item, by its EntryID and its folder's StoreID, else by the EntryID alone.
Result<MailItemPtr> FetchMail(const MailItemPtr& item) {
    MailSession* session = gobjRDOSession();
    if (!session) return {nullptr, OpError::make(ErrNo::Failed, QStringLiteral("No mail session"))};
    const QString entryId = item->EntryID().value;
    Result<MailItemPtr> fetched;
    const Result<MailFolderPtr> parent = item->Parent();
    if (parent.ok() && parent.value) {
        const Result<QString> storeId = parent.value->StoreID();
        if (storeId.ok())
            fetched = session->GetMessageFromID(entryId, storeId.value);
        else
            fetched.error = storeId.error;
    } else {
        fetched.error = parent.ok() ? OpError::make(ErrNo::NotFound, QStringLiteral("No folder"))
                                    : parent.error;
    }
    if (fetched.error || !fetched.value) {
        fetched = session->GetMessageFromID(entryId);
        if (!fetched.error && !fetched.value)
            fetched.error = OpError::make(ErrNo::NotFound, QStringLiteral("Mail not found"));
    }
    return fetched;
}

void LogMailBlock(const MailItem& mail) {
    WriteLog(QStringLiteral("SWN/TN: ") + mail.TypeName());
    WriteLog(QStringLiteral("Current Mail: ") + mail.Subject().value);
    WriteLog(QStringLiteral("Unread: ") + BoolText(mail.UnRead().value));
    WriteLog(QStringLiteral("From: ") + mail.SenderName().value + QStringLiteral(" (") +
             mail.SenderEmailAddress().value + QLatin1Char(')'));
    const std::vector<Recipient> recipients = mail.Recipients().value;
    const Recipient first = recipients.empty() ? Recipient{} : recipients.front();
    WriteLog(QStringLiteral("To: ") + first.Name + QStringLiteral(" (") + first.Address +
             QLatin1Char(')'));
    const double received = mail.ReceivedTime().value;
    WriteLog(QStringLiteral("Date: ") + FormatDate(received, QStringLiteral("Long Date")) +
             QStringLiteral(", ") + FormatDate(received, QStringLiteral("hh:nn:ss")));
    WriteLog(QStringLiteral("Hide Paperclip: ") + BoolText(mail.HidePaperClip().value));
    WriteLog(QStringLiteral("Mileage: ") + mail.Mileage().value);
    const int count = mail.AttachmentCount().value;
    WriteLog(QStringLiteral("Attachments: ") + QString::number(count));
    for (int i = 1; i <= count; ++i) {
        const AttachmentPtr att = mail.AttachmentAt(i).value;
        if (!att) continue;
        WriteLog(QStringLiteral("FileName: ") + att->FileName().value);
        WriteLog(QStringLiteral("Type: ") + QString::number(att->Type().value));
        WriteLog(QStringLiteral("Hidden: ") + BoolText(att->Hidden().value));
        WriteLog(QStringLiteral("CID: ") + att->ContentId().value);
    }
    WriteLog(DashLine());
}

QString PassedOverAttachmentReason(bool hidden, int type, const QString& contentId,
                                   const QString& ext) {
    if (hidden) return LangText(QStringLiteral("verborgen"), QStringLiteral("hidden"));
    if (type != AttachType::ByValue)
        return LangText(QStringLiteral("eine angehängte Nachricht"),
                        QStringLiteral("an attached message"));
    if (!contentId.isEmpty())
        return LangText(QStringLiteral("ein Bild, das der Text der Nachricht zeigt"),
                        QStringLiteral("a picture that the mail's text shows"));
    if (ext == QLatin1String("VCF"))
        return LangText(QStringLiteral("eine Kontaktkarte (vCard)"),
                        QStringLiteral("a contact card (vCard)"));
    return {};
}

void LogRuleBlock(const udtRule& rule) {
    WriteLog(QStringLiteral("CheckSender: ") + BoolText(IsTrue(rule.CheckSender)));
    WriteLog(QStringLiteral("Sender: ") + FieldText(rule.Sender.get()));
    WriteLog(QStringLiteral("CheckRecp: ") + BoolText(IsTrue(rule.CheckRecp)));
    WriteLog(QStringLiteral("Recipient: ") + FieldText(rule.Recipient.get()));
    WriteLog(QStringLiteral("CheckSubj: ") + BoolText(IsTrue(rule.CheckSubj)));
    WriteLog(QStringLiteral("Subject: ") + FieldText(rule.Subject.get()));
    WriteLog(QStringLiteral("CheckFileFormat: ") + BoolText(IsTrue(rule.CheckFileFormat)));
    WriteLog(QStringLiteral("FileFormat: ") + FieldText(rule.FileFormat.get()));
    WriteLog(QStringLiteral("Save by: ") + QString::number(rule.SaveBy));
    WriteLog(QStringLiteral("Save Format: ") + QString::number(rule.SaveFormat));
    if (rule.SaveBy == SaveBy::Project) {
        WriteLog(QStringLiteral("Project Descr: ") + FieldText(rule.Folder.get()));
        WriteLog(QStringLiteral("Project Folder: ") + GetProjectFolder(rule.Folder.get()));
    } else {
        WriteLog(QStringLiteral("Folder: ") + FieldText(rule.Folder.get()));
    }
    WriteLog(QStringLiteral("Execute: ") + FieldText(rule.Execute.get()));
    WriteLog(QStringLiteral("Del Attach: ") + BoolText(IsTrue(rule.DelAttach)));
    WriteLog(QStringLiteral("Notify: ") + BoolText(IsTrue(rule.Notify)));
    WriteLog(QStringLiteral("Hyperlink: ") + BoolText(IsTrue(rule.Hyperlink)));
    WriteLog(DashLine());
}

// One attachment of the rule's loop. False when the loop must end (abort or failed save).
bool ProcessAttachment(RunState& run, MailState& mail, RuleRun& rr, int index) {
    const Result<AttachmentPtr> fetched = mail.mail->AttachmentAt(index);
    // An index past the end (an earlier rule deleted attachments) has nothing to save.
    if (!fetched.ok() || !fetched.value) return true;
    const AttachmentPtr& att = fetched.value;
    const bool hidden = att->Hidden().value;
    const int type = att->Type().value;
    const QString contentId = att->ContentId().value;
    const QString fileName = att->FileName().value;
    const QString ext = GetExtensionUpper(fileName);
    if (IsPassedOverAttachment(hidden, type, contentId, ext)) {
        if (ListsPassedOver() && !mail.passedOverShown.contains(index)) {
            mail.passedOverShown.insert(index);
            ReportPassedOver(*mail.mail, fileName,
                             PassedOverAttachmentReason(hidden, type, contentId, ext));
        }
        return true;
    }
    if (IsTrue(rr.rule.CheckFileFormat) && ext != rr.rule.FileFormat.get().toUpper()) return true;

    QString fullPath = rr.targetFolder + CleanFileName(fileName);
    if (SWTest) {
        if (!AskContinueTestRun(run, mail, rr, fullPath)) {
            run.abortRun = true;
            return false;
        }
    } else if (PathFound(fullPath)) {
        switch (ResolveConflict(rr.rule, fullPath)) {
        case ConflictOutcome::SkipAttachment:
            return true;
        case ConflictOutcome::AbortRun:
            run.abortRun = true;
            return false;
        case ConflictOutcome::LeaveUnasked:
            ReportUnaskedConflict(fullPath);
            mail.saveFailed = true;
            return false;
        case ConflictOutcome::Save:
            break;
        }
    }

    FillProtoRecord(run.proto, mail, rr.rule, fullPath);
    if (!SWTest) {
        if (const OpError error = SaveAttachment(att, fullPath)) {
            ReportSaveFailure(run.proto, fullPath, error);
            mail.saveFailed = true;
            AddProto(run.proto);
            return false;
        }
    }
    WriteLog(QStringLiteral("Attachment saved: ") + fullPath);
    ++run.filesSaved;
    rr.savedList << fileName + QLatin1Char('|') + fullPath;

    if (rr.delAttach) AppendState(run.proto, QStringLiteral("X"));
    if (HasApplication(rr.rule)) {
        AppendState(run.proto, QStringLiteral("E"));
        RunRuleApplication(rr.rule, fullPath);
    }
    AddProto(run.proto);
    ui().pumpEvents();
    return true;
}

// Steps 3 to 11 of one active rule on the mail. False when the rule loop must end.
bool RunMatchingRule(RunState& run, MailState& mail, RuleRun& rr) {
    WriteLog(QStringLiteral("Current Rule: ") + rr.name);
    if (DoProto) LogRuleBlock(rr.rule);

    if (!MatchesRule(mail.item, rr.rule, mail.senderName, mail.senderAddress, mail.recipientName,
                     mail.recipientAddress)) {
        WriteLog(QStringLiteral("Rule '") + rr.name +
                 QStringLiteral("' does NOT match current mail!"));
        return true;
    }
    WriteLog(QStringLiteral("Rule '") + rr.name + QStringLiteral("' matches current mail..."));
    if (!GetRuleData(mail.item, rr.rule, rr.baseFolder, rr.targetFolder, mail.senderName,
                     mail.senderAddress, mail.recipientName, mail.recipientAddress)) {
        ReportMissingTargetFolder(rr.name, rr.rule.Folder.get());
        mail.saveFailed = true;
        return false;
    }
    WriteLog(QStringLiteral("SWN/GRD: ") + rr.baseFolder + QStringLiteral(", ") + rr.targetFolder);

    rr.delAttach = IsTrue(rr.rule.DelAttach);
    rr.savedList.clear();
    ++run.mailsDone;

    // The stamp reaches the store only with the mail's save below.
    if (!SWTest) {
        mail.mail->SetMileage(QLatin1String(kStowawayStamp));
        mail.mailChanged = true;
    }
    rr.targetFolder = AddBackslash(rr.targetFolder);
    if (!SWTest) MakePath(rr.targetFolder);

    for (int i = 1; i <= mail.attCount; ++i)
        if (!ProcessAttachment(run, mail, rr, i)) break;
    if (run.abortRun || mail.saveFailed) return false;

    if (rr.delAttach) DeleteSavedAttachments(run, mail, rr);
    if (mail.mailChanged) {
        AnnotateAndSaveMail(run, mail, rr);
        if (const float pace = PaceSeconds(); pace > 0) WaitSeconds(pace);
    }

    if (run.abortRun || mail.saveFailed) return false;
    if (IsTrue(rr.rule.Notify) && (SWRun || (SWTest && TestNotifies)))
        NotifyUser(rr.savedList, mail.senderName, mail.senderAddress);
    return true;
}

void RunRules(RunState& run, MailState& mail, const udtRule& special) {
    const int count = run.specialRule ? 1 : Rules.count();
    for (int i = 1; i <= count; ++i) {
        if (!run.specialRule && i > Rules.count()) break;
        RuleRun rr;
        rr.rule = run.specialRule ? special : Rules[i];
        rr.name = rr.rule.Name.get();
        if (!IsTrue(rr.rule.Active)) {
            WriteLog(QStringLiteral("Deactivated Rule: ") + rr.name +
                     QStringLiteral(", skipped..."));
        } else if (!RunMatchingRule(run, mail, rr)) {
            break;
        }
        ui().pumpEvents();
        WriteLog(DotLine());
        if (run.abortRun) break;
    }
}

// Returns true when the skip test passed over the mail for a reason that lasts as long as the
// mail stays as it is (read, stamped, no attachments), read without an error.
bool ProcessItem(RunState& run, const MailItemPtr& item, const udtRule& special) {
    if (!item) return false;
    const Result<MailItemPtr> fetched = FetchMail(item);
    if (fetched.error) {
        const QString text =
            LangText(QStringLiteral("Fehler bei Zugriff auf Nachricht via Mail-Speicher: "),
                     QStringLiteral("Error accessing mail via mail store: ")) +
            fetched.error.description;
        // A mail that left its folder since the walk listed it (a sync tool moved or expunged
        // it) is no error of the user's: the LOG says so, without a box.
        if (fetched.error.number == ErrNo::NotFound) {
            WriteLog(QStringLiteral("Mail passed over, no longer in its folder: ") +
                     fetched.error.description);
            return false;
        }
        WriteLog(QStringLiteral("! ") + text);
        ui().beep();
        ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return false;
    }

    MailState mail;
    mail.item = item;
    mail.mail = fetched.value;
    MailItem& m = *mail.mail;
    if (DoProto) LogMailBlock(m);

    const Result<int> attachments = m.AttachmentCount();
    mail.attCount = static_cast<int16_t>(attachments.value);
    OpError readError;
    const Result<QString> mileage = m.Mileage();
    const Result<bool> hidePaperClip = m.HidePaperClip();
    // The lines of a skipped mail are built only for a LOG that takes them: a new-mail event
    // walks every mail of the folder, nearly all of them done.
    if (DoProto)
        WriteLog(QStringLiteral("SWN/M: ") + mileage.value + QStringLiteral(", /HPC: ") +
                 BoolText(hidePaperClip.value) + QStringLiteral(", /AC: ") +
                 QString::number(mail.attCount));

    // Every term is read, none is cut short.
    const bool stamped = mileage.value == QLatin1String(kStowawayStamp);
    bool skip;
    if (run.specialRule) {
        skip = stamped || hidePaperClip.value || mail.attCount == 0;
        if (skip && DoProto)
            WriteLog("SpecialRule and .Mileage= 'QWKStowaway' or HidePaperClip= True or "
                     "AttCnt= 0...");
    } else {
        const Result<bool> unread = m.UnRead();
        if (unread.error) readError = unread.error;
        skip = !unread.value || stamped || hidePaperClip.value || mail.attCount == 0;
        if (skip && DoProto)
            WriteLog("Unread= False or .Mileage= 'QWKStowaway' or HidePaperClip= True or "
                     "AttCnt= 0...");
    }
    if (!readError) readError = hidePaperClip.error ? hidePaperClip.error : mileage.error;
    if (readError) WriteLog(QStringLiteral("SWN/WSR/UR: ") + readError.description);

    if (skip && ListsPassedOver()) {
        QString reason;
        if (stamped)
            reason = LangText(QStringLiteral("schon bearbeitet (trägt die Bearbeitungsmarke)"),
                              QStringLiteral("processed before (it carries the processing mark)"));
        else if (mail.attCount == 0)
            reason = NoAttachmentsReason();
        else if (hidePaperClip.value)
            reason =
                LangText(QStringLiteral("Anhänge verborgen"), QStringLiteral("attachments hidden"));
        else
            reason = LangText(QStringLiteral("schon gelesen"), QStringLiteral("read already"));
        ReportPassedOver(m, {}, reason);
    }
    if (!skip) {
        mail.mailChanged = false;
        mail.saveFailed = false;
        RunRules(run, mail, special);
    }
    if (DoProto) WriteLog(DashLine());
    return skip && !run.specialRule && !readError && attachments.ok();
}

void ShowClosingSummary(const RunState& run) {
    QString text;
    if (run.mailsDone >= 1 && Notify > 0) {
        const QString n = QString::number(run.mailsDone);
        text = LangText(n + QStringLiteral(" Nachricht(en) in '") + run.folderName +
                            QStringLiteral("' bearbeitet."),
                        n + QStringLiteral(" mail(s) in '") + run.folderName +
                            QStringLiteral("' processed."));
        if (SWRun) {
            const QString saved = QString::number(run.filesSaved);
            text += LangText(QStringLiteral(" Dabei wurde(n) ") + saved +
                                 QStringLiteral(" Datei(en) gespeichert"),
                             QLatin1Char(' ') + saved + QStringLiteral(" mail(s) were saved"));
            if (run.filesDeleted >= 1) {
                const QString d = QString::number(run.filesDeleted);
                text += LangText(QStringLiteral(" und ") + d +
                                     QStringLiteral(" Dateie(n) aus Nachrichten gelöscht."),
                                 QStringLiteral(" and ") + d +
                                     QStringLiteral(" file(s) were deleted from mails."));
            } else {
                text += QLatin1Char('.');
            }
        }
    }
    // Said whatever the notification style: the run did not do what its rules asked.
    if (run.mailsNotChanged >= 1) {
        const QString n = QString::number(run.mailsNotChanged);
        if (!text.isEmpty()) text += QLatin1Char(' ');
        text += LangText(n + QStringLiteral(" Nachricht(en) konnten nicht geändert werden; ihre "
                                            "Dateien bleiben darin (siehe LOG)."),
                         n + QStringLiteral(" mail(s) could not be changed; their files stay in "
                                            "them (see the LOG)."));
    }
    if (run.mailsDone == 0 && SWTest)
        text = LangText(
            QStringLiteral("Keine ungelesenen und bislang nicht bearbeiteten Nachrichten in '") +
                run.folderName + QStringLiteral("' gefunden..."),
            QStringLiteral("No unread and unprocessed mails found in '") + run.folderName +
                QStringLiteral("'..."));
    if (text.isEmpty()) return;
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Information, gAppCaption);
}

void WalkFolder(RunState& run, const MailFolderPtr& folder, const udtRule& special) {
    run.folderName = folder->Name().value;
    WriteLog(QStringLiteral("Checking folder: ") + run.folderName);
    // Mails the skip test passed over before, unchanged since, would be passed over again
    // without a trace: the store may leave them out, so a new mail costs what is new. A walk
    // that shows every mail (progress, the passed-over list, the LOG's mail blocks) or that
    // has a skip test of its own takes them all.
    const bool allItems = run.specialRule || run.status || DoProto || ListsPassedOver();
    Result<std::vector<MailItemPtr>> items = allItems ? folder->Items() : folder->ItemsNotDone();
    if (items.error)
        WriteLog(QStringLiteral("! SWN/Items: ") + run.folderName + QStringLiteral(": ") +
                 items.error.description);
    run.itemsTotal = static_cast<int32_t>(items.value.size());
    if (run.status) ShowSubProgress(0, 0, run.status);
    for (MailItemPtr& item : items.value) {
        if (run.status) ShowSubProgress(++run.itemsSeen, run.itemsTotal, run.status);
        const int itemClass = item ? item->Class().value : 0;
        if (itemClass == ItemClass::Mail || itemClass == ItemClass::Post) {
            if (ProcessItem(run, item, special)) item->NoteDone();
        } else if (item) {
            if (ListsPassedOver()) ReportPassedOver(*item, {}, PassedOverClassReason(itemClass));
            item->NoteDone(); // its class is its content's
        }
        item.reset(); // a walk over a large folder holds only the mails still to come
        ui().pumpEvents();
        if (ui().cancelRequested()) run.abortRun = true;
        if (run.abortRun) break;
    }
    if (run.status) ShowSubProgress(-1, -1, run.status);
}

bool Finish(const RunState& run, bool result) {
    WriteLog("StowawayNow/End...");
    ui().pumpEvents();
    // A call for one mail leaves the protocol to its timed save: a bulk run calls once per
    // mail, and writing the whole file each time would make it quadratic.
    if (!run.singleItem) FlushProtocol();
    return result;
}

} // namespace

void ReportPassedOver(const MailItem& mail, const QString& attachment, const QString& reason) {
    const QString subject = mail.Subject().value;
    if (gPassedOverRecord) gPassedOverRecord->m_entries.push_back({subject, attachment, reason});
    if (!ui().reportsPassedOver()) return;
    QString what = QLatin1Char('"') + subject + QLatin1Char('"');
    if (!attachment.isEmpty()) what += QStringLiteral(", ") + attachment;
    ui().passedOver(what + QStringLiteral(": ") + reason);
}

PassedOverRecord::PassedOverRecord() : m_outer(gPassedOverRecord) {
    gPassedOverRecord = this;
}

PassedOverRecord::~PassedOverRecord() {
    gPassedOverRecord = m_outer;
}

QString PassedOverClassReason(int itemClass) {
    if (itemClass == ItemClass::Report)
        return LangText(QStringLiteral("ein Zustellbericht"), QStringLiteral("a delivery report"));
    if (itemClass == ItemClass::MeetingRequest)
        return LangText(QStringLiteral("eine Besprechungsanfrage"),
                        QStringLiteral("a meeting request"));
    return LangText(QStringLiteral("keine Nachricht"), QStringLiteral("not a mail"));
}

QString NoAttachmentsReason() {
    return LangText(QStringLiteral("keine Anhänge"), QStringLiteral("no attachments"));
}

bool StowawayNow(const MailFolderPtr& folder, const MailItemPtr& item, StatusSurface* status,
                 udtRule& special, int* mailsNotChanged) {
    WriteLog("StowawayNow/Start...");
    if (Rules.count() == 0 || (!folder && !item)) {
        FlushProtocol();
        return false;
    }

    bool result = true;
    RunState run;
    run.status = status;
    run.specialRule = !IsUnsetText(special.Name.get());
    WriteLog(QStringLiteral("WithSpecialRule: ") + BoolText(run.specialRule));

    if (!folder) {
        run.singleItem = true;
        const MailFolderPtr parent = item->Parent().value;
        run.folderName = parent ? parent->Name().value : QString();
        ProcessItem(run, item, special);
        if (mailsNotChanged) *mailsNotChanged = run.mailsNotChanged;
        if (run.abortRun) {
            WriteLog("! Aborted...");
            result = false;
        }
        return Finish(run, result);
    }

    WalkFolder(run, folder, special);
    if (mailsNotChanged) *mailsNotChanged = run.mailsNotChanged;
    if (run.abortRun) {
        WriteLog("! Aborted...");
        result = false;
    }
    WriteLog(DashLine());
    if (SWTest || SWRun) ShowClosingSummary(run);
    return Finish(run, result);
}

bool StowawayNow(const MailFolderPtr& folder, const MailItemPtr& item, StatusSurface* status) {
    udtRule none;
    return StowawayNow(folder, item, status, none);
}
