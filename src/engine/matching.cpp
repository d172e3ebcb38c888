#include "engine/matching.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "data/log.h"
#include "host/mail_store.h"
#include "ui/user_interaction.h"

namespace {

// The part of `text` from its first "@" on; empty when it holds none.
QString FromAt(const QString& text) {
    const qsizetype at = text.indexOf(QLatin1Char('@'));
    return at < 0 ? QString() : text.mid(at);
}

// One address criterion: a display name, a whole address, or a domain ("@" first).
// `what` is "Sender" or "Recipient" for the LOG line of a failed test.
bool AddressCriterionHolds(const QString& value, const QString& name, const QString& address,
                           const QString& what) {
    const QString v = value.toLower();
    if (value.startsWith(QLatin1Char('@'))) {
        if (FromAt(address).toLower() == FromAt(value).toLower()) return true;
        WriteLog(QStringLiteral("MatchesRule=False/%1 Domain: ").arg(what) + address.toLower() +
                 QLatin1Char('/') + v);
        return false;
    }
    const QString compared = value.contains(QLatin1Char('@')) ? address : name;
    if (compared.toLower() == v) return true;
    WriteLog(QStringLiteral("MatchesRule=False/%1: ").arg(what) + compared.toLower() +
             QLatin1Char('/') + v);
    return false;
}

Result<MailItemPtr> FetchForMatching(const MailItemPtr& item) {
    MailSession* session = gobjRDOSession();
    if (!session || !item)
        return {nullptr, OpError::make(ErrNo::Failed, QStringLiteral("No mail session"))};
    const QString entryId = item->EntryID().value;
    QString storeId;
    OpError storeError;
    const Result<MailFolderPtr> parent = item->Parent();
    if (parent.ok() && parent.value) {
        const Result<QString> sid = parent.value->StoreID();
        storeId = sid.value;
        storeError = sid.error;
    } else {
        storeError = parent.ok() ? OpError::make(ErrNo::NotFound, QStringLiteral("No folder"))
                                 : parent.error;
    }
    Result<MailItemPtr> fetched;
    if (!storeError) fetched = session->GetMessageFromID(entryId, storeId);
    if (storeError || fetched.error) fetched = session->GetMessageFromID(entryId);
    return fetched;
}

} // namespace

bool IsPassedOverAttachment(bool hidden, int type, const QString& contentId,
                            const QString& extensionUpper) {
    return hidden || type != AttachType::ByValue || !contentId.isEmpty() ||
           extensionUpper == QLatin1String("VCF");
}

bool MatchesRule(const MailItemPtr& item, const udtRule& rule, QString& senderName,
                 QString& senderAddress, QString& recipientName, QString& recipientAddress) {
    const Result<MailItemPtr> fetched = FetchForMatching(item);
    if (fetched.error) {
        const QString text = QStringLiteral("MR/") +
                             LangText(QStringLiteral("Fehler bei Zugriff über Mail-Speicher: "),
                                      QStringLiteral("Error accessing items by mail store: ")) +
                             fetched.error.description;
        WriteLog(text);
        ui().beep();
        ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return false;
    }
    const MailItemPtr mail = fetched.value;

    // A value that cannot be read keeps what it held.
    if (mail) {
        if (const auto r = mail->SenderName(); r.ok()) senderName = r.value;
        if (const auto r = mail->SenderEmailAddress(); r.ok()) senderAddress = r.value;
        if (const auto r = mail->Recipients(); r.ok()) {
            recipientName = r.value.empty() ? QString() : r.value.front().Name;
            recipientAddress = r.value.empty() ? QString() : r.value.front().Address;
        }
    }

    bool result = true;
    if (IsTrue(rule.CheckSender) && !AddressCriterionHolds(rule.Sender.get(), senderName,
                                                           senderAddress, QStringLiteral("Sender")))
        result = false;
    if (IsTrue(rule.CheckRecp) &&
        !AddressCriterionHolds(rule.Recipient.get(), recipientName, recipientAddress,
                               QStringLiteral("Recipient")))
        result = false;

    if (IsTrue(rule.CheckSubj)) {
        const QString subject = mail ? mail->Subject().value.toLower() : QString();
        const QString wanted = rule.Subject.get().toLower();
        if (!wanted.isEmpty() && !subject.contains(wanted)) {
            WriteLog(QStringLiteral("MatchesRule=False/Subj: ") + subject + QLatin1Char('/') +
                     wanted);
            result = false;
        }
    }

    if (IsTrue(rule.CheckFileFormat)) {
        const QString format = rule.FileFormat.get().toUpper();
        bool found = false;
        const int count = mail ? mail->AttachmentCount().value : 0;
        for (int i = 1; i <= count && !found; ++i) {
            const Result<AttachmentPtr> att = mail->AttachmentAt(i);
            if (!att.ok() || !att.value) continue;
            const QString fileName = att.value->FileName().value;
            const QString ext = GetExtensionUpper(fileName);
            if (IsPassedOverAttachment(att.value->Hidden().value, att.value->Type().value,
                                       att.value->ContentId().value, ext)) {
                WriteLog(QStringLiteral("MatchesRule/SkipAtt: ") + fileName);
                continue;
            }
            if (ext == format) {
                WriteLog(QStringLiteral("MatchesRule/Found: ") + ext + QLatin1Char('/') + format);
                found = true;
            }
        }
        if (!found) result = false;
    }
    return result;
}
