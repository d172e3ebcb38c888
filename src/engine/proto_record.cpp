#include "engine/proto_record.h"

#include "common/dates.h"
#include "common/lang.h"
#include "common/paths.h"
#include "data/globals.h"
#include "data/protocol.h"

namespace {
QString Full(const QString& name, const QString& address) {
    return name + QStringLiteral(" (") + address + QLatin1Char(')');
}
} // namespace

void FillProtoRecord(udtProtoEntry& proto, const MailState& mail, const udtRule& rule,
                     const QString& fullPath) {
    proto.Date = OleNow();
    const MailItemPtr& item = mail.item;
    proto.Mail() = item ? item->Subject().value : QString();
    proto.EntryID() = item ? item->EntryID().value : QString();
    const MailFolderPtr parent = item ? item->Parent().value : nullptr;
    proto.StoreID() = parent ? parent->StoreID().value : QString();
    proto.Rule() = rule.Name.get();
    proto.Attachment() = GetFileNamePart(fullPath);
    proto.Folder() = GetFolderPart(fullPath);
    proto.FileFormat() = GetExtensionUpper(fullPath);
    proto.State() = SWTest ? QStringLiteral("TS") : QStringLiteral("S");

    const QString sender = Full(mail.senderName, mail.senderAddress);
    const QString recipient = Full(mail.recipientName, mail.recipientAddress);
    proto.Sender() = sender;
    proto.Recipient() = recipient;
    if (rule.SaveBy == SaveBy::Sender)
        proto.Sender() = rule.SaveFormat == SaveFormat::Name ? mail.senderName : mail.senderAddress;
    else if (rule.SaveBy == SaveBy::Recipient)
        proto.Recipient() =
            rule.SaveFormat == SaveFormat::Name ? mail.recipientName : mail.recipientAddress;

    if (rule.SaveBy == SaveBy::Project) {
        proto.Project() = rule.Folder.get();
        proto.Folder() = GetProjectFolder(rule.Folder.get());
    } else if (rule.SaveBy > SaveBy::Project) {
        // Only a folder text that happens to name a project gives a folder here.
        proto.Folder() = GetProjectFolder(rule.Folder.get());
    }
}

void AppendState(udtProtoEntry& proto, const QString& mark) {
    proto.State() = proto.State().get() + mark;
}

QString ProtoStateMeaning(const QString& state) {
    if (state.startsWith(QLatin1Char('!')))
        return LangText(QStringLiteral("Fehler: "), QStringLiteral("error: ")) +
               state.mid(1).trimmed();
    const bool test = state.startsWith(QLatin1String("TS"));
    if (!test && !state.startsWith(QLatin1Char('S'))) return {};
    const QString marks = state.mid(test ? 2 : 1);
    QStringList parts{test ? LangText(QStringLiteral("Testlauf, nichts gespeichert"),
                                      QStringLiteral("test run, nothing saved"))
                           : LangText(QStringLiteral("gespeichert"), QStringLiteral("saved"))};
    // A test run marks what a real run would do.
    if (marks.contains(QLatin1Char('X')))
        parts << (test ? LangText(QStringLiteral("würde aus der Nachricht entfernt"),
                                  QStringLiteral("would be removed from the mail"))
                       : LangText(QStringLiteral("aus der Nachricht entfernt"),
                                  QStringLiteral("removed from the mail")));
    if (marks.contains(QLatin1Char('E')))
        parts << (test ? LangText(QStringLiteral("Programm würde gestartet"),
                                  QStringLiteral("program would run"))
                       : LangText(QStringLiteral("Programm gestartet"),
                                  QStringLiteral("program run")));
    return parts.join(QStringLiteral(", "));
}

QString ProtoStateLegend() {
    return LangText(QStringLiteral("S = gespeichert, TS = Testlauf (nichts gespeichert), X = aus "
                                   "der Nachricht entfernt, E = Programm gestartet, ! = Fehler"),
                    QStringLiteral("S = saved, TS = test run (nothing saved), X = removed from "
                                   "the mail, E = program run, ! = error"));
}
