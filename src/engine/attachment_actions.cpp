#include "engine/attachment_actions.h"

#include "engine/proto_record.h"
#include "engine/target_paths.h"

#include "common/exec_prog.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/vbstring.h"
#include "data/globals.h"
#include "data/log.h"
#include "ui/user_interaction.h"

namespace {

constexpr int kPathFileAccessError = 75;

void LogMissingFile(const QString& fullPath) {
    WriteLog(QStringLiteral("Dir$('") + fullPath + QStringLiteral("' = ''...)"));
}

// A name that would make the path name its folder or the folder above.
bool IsUsableFileName(const QString& name) {
    return !name.isEmpty() && name != QLatin1String(".") && name != QLatin1String("..");
}

} // namespace

bool AskContinueTestRun(const RunState& run, const MailState& mail, const RuleRun& rr,
                        const QString& fullPath) {
    const QString subject = mail.mail ? mail.mail->Subject().value : QString();
    QString deletion = QStringLiteral("Der Anhang würde wie folgt gespeichert ");
    if (rr.delAttach) deletion += QStringLiteral("und aus der Nachricht gelöscht ");
    deletion += QStringLiteral("werden:");
    const QStringList lines{
        QStringLiteral("Regel: ") + rr.name,
        QStringLiteral("Nachricht: ") + subject,
        QStringLiteral("Ordner: ") + run.folderName,
        QStringLiteral("Von: ") + mail.senderName + QStringLiteral(" (") + mail.senderAddress +
            QLatin1Char(')'),
        QStringLiteral("An: ") + mail.recipientName + QStringLiteral(" (") + mail.recipientAddress +
            QLatin1Char(')'),
        QString(),
        deletion,
        QString(),
        fullPath,
        QString(),
        QStringLiteral("Testlauf weiter durchführen?"),
    };
    ui().beep();
    MsgBoxExRequest request;
    request.prompt = lines.join(QLatin1Char('\n'));
    request.buttons = {QStringLiteral("Weiter"), QStringLiteral("Testlauf abbrechen")};
    request.title = gAppCaption + QStringLiteral(" · Testmodus:");
    request.icon = static_cast<int>(MsgIcon::Question);
    const int answer = ui().msgBoxEx(request);
    ui().pumpEvents();
    return answer != 2;
}

bool AskCancelAttachmentOnly() {
    MsgBoxExRequest request;
    request.prompt = LangText(
        QStringLiteral("Möchten Sie nur das Speichern dieses Anhanges oder den gesamten Vorgang "
                       "abbrechen?"),
        QStringLiteral("Do you wish to only cancel saving the attachment or to stop the "
                       "processing completly?"));
    request.buttons =
        IsGerman()
            ? QStringList{QStringLiteral("Anhang abbrechen"), QStringLiteral("Komplett abbrechen")}
            : QStringList{QStringLiteral("Cancel attachment"), QStringLiteral("Cancel proccesing")};
    request.title = gAppCaption;
    request.icon = static_cast<int>(MsgIcon::Question);
    return ui().msgBoxEx(request) == 1;
}

OpError SaveAttachment(const AttachmentPtr& att, const QString& fullPath) {
    if (!att) return OpError::make(ErrNo::Failed, QStringLiteral("No attachment"));
    if (!IsUsableFileName(GetFileNamePart(fullPath)))
        return OpError::make(kPathFileAccessError,
                             QStringLiteral("Path/File access error: ") + fullPath);

    OpError error = att->SaveAsFile(fullPath);
    if (!PathFound(fullPath)) {
        LogMissingFile(fullPath);
        // The second way: the same operation once more.
        error = att->SaveAsFile(fullPath);
        if (error) WriteLog(QStringLiteral("SaveAsFile: ") + error.description);
        if (!PathFound(fullPath)) LogMissingFile(fullPath);
    }
    return error;
}

void ReportSaveFailure(udtProtoEntry& proto, const QString& fullPath, const OpError& error) {
    proto.State() =
        QStringLiteral("! ") + QString::number(error.number) + QLatin1Char('/') + error.description;
    WriteLog(QStringLiteral("Error saving attachment: ") + fullPath);
    WriteLog(QStringLiteral("Error: ") + error.description);
    const QString text = LangText(QStringLiteral("Anhang konnte nicht gespeichert werden:"),
                                  QStringLiteral("Error saving attachment:")) +
                         QStringLiteral("\n\n") +
                         LangText(QStringLiteral("Anhang: "), QStringLiteral("Attachment: ")) +
                         fullPath + QLatin1Char('\n') +
                         LangText(QStringLiteral("Fehler: "), QStringLiteral("Error: ")) +
                         error.description;
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}

void ReportUnaskedConflict(const QString& fullPath) {
    const QString text =
        LangText(QStringLiteral("Datei vorhanden, und niemand kann gefragt werden: ") + fullPath +
                     QStringLiteral(". Der Anhang bleibt in der Nachricht, die Nachricht "
                                    "unbearbeitet, bis ein Lauf fragen kann."),
                 QStringLiteral("File exists and nobody can be asked: ") + fullPath +
                     QStringLiteral(". The attachment stays in the mail, and the mail stays "
                                    "unprocessed until a run can ask."));
    WriteLog(QStringLiteral("! ") + text);
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}

void ReportMissingTargetFolder(const QString& ruleName, const QString& folder) {
    const QString text = LangText(
        QStringLiteral("Regel '") + ruleName +
            QStringLiteral("' hat keinen gültigen Zielordner ('") + folder +
            QStringLiteral("'). Die Nachricht bleibt unverändert."),
        QStringLiteral("Rule '") + ruleName + QStringLiteral("' has no valid target folder ('") +
            folder + QStringLiteral("'). The mail is left unchanged."));
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}

bool HasApplication(const udtRule& rule) {
    return !IsUnsetText(rule.Execute.get());
}

void RunRuleApplication(const udtRule& rule, const QString& fullPath) {
    const QString execute = rule.Execute.get();
    WriteLog(QStringLiteral("Running app: ") + execute + QLatin1Char('/') + fullPath);
    if (SWTest) return;
    clsExecProg prog;
    prog.setProgName(execute); // as it stands: not parsed, no "%1" replaced
    prog.setProgParas(QLatin1Char('"') + fullPath + QLatin1Char('"'));
    prog.setWorkDir(StripBackslash(GetFolderPart(fullPath)));
    prog.setWinMode(3);
    prog.ExecProg();
    if (prog.EPError())
        WriteLog(QStringLiteral("Error runing app: ") + execute + QLatin1Char('/') + fullPath);
    ui().pumpEvents();
}

void DeleteSavedAttachments(RunState& run, MailState& mail, RuleRun& rr) {
    rr.deletedNames.clear();
    if (!mail.mail) return;
    for (const QString& element : rr.savedList) {
        const QString wanted = element.section(QLatin1Char('|'), 0, 0);
        const int count = mail.mail->AttachmentCount().value;
        AttachmentPtr found;
        QString foundName;
        for (int i = 1; i <= count; ++i) {
            const Result<AttachmentPtr> att = mail.mail->AttachmentAt(i);
            if (!att.ok() || !att.value) continue;
            const QString name = att.value->FileName().value;
            if (name.compare(wanted, Qt::CaseInsensitive) == 0) {
                found = att.value;
                foundName = name;
                break;
            }
        }
        if (!found) continue;
        rr.deletedNames += foundName + QStringLiteral("; ");
        WriteLog(QStringLiteral("Attachment deleted: ") + foundName);
        if (SWTest) continue;
        if (const OpError error = found->Delete(); !error) {
            ++run.filesDeleted;
            ++rr.filesDeleted;
            AppendState(run.proto, QStringLiteral("X"));
            mail.mailChanged = true;
        }
    }
}
