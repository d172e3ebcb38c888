#include "engine/target_paths.h"

#include "engine/attachment_actions.h"

#include "common/dates.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/text.h"
#include "common/vbstring.h"
#include "data/log.h"
#include "data/protocol.h"
#include "ui/user_interaction.h"

#include <QDir>
#include <QFileInfo>
#include <QThread>

namespace {

QString DateFolderFormat(int16_t saveFormat) {
    switch (saveFormat) {
    case SaveFormat::DayMonthYear:
        return QStringLiteral("dd-mm-yyyy");
    case SaveFormat::YearMonthDay:
        return QStringLiteral("yyyy-mm-dd");
    case SaveFormat::YearMonth:
        return QStringLiteral("yyyy-mm");
    case SaveFormat::YearWeek:
        return QStringLiteral("yyyy-ww");
    default:
        return {};
    }
}

// The sender or recipient subfolder: the name, or the address (from its "@" on when the rule
// names a domain); "@" becomes "-", and the name is cleaned like a file name.
QString PartyFolderName(int16_t saveFormat, const QString& ruleValue, const QString& name,
                        const QString& address) {
    QString s;
    if (saveFormat == SaveFormat::Name) {
        s = name;
    } else if (saveFormat == SaveFormat::Address) {
        if (ruleValue.startsWith(QLatin1Char('@'))) {
            const qsizetype at = address.indexOf(QLatin1Char('@'));
            s = at < 0 ? QString() : address.mid(at);
        } else {
            s = address;
        }
    }
    s.replace(QLatin1Char('@'), QLatin1Char('-'));
    s = CleanFileName(s);
    // A name of two dots would climb out of the base folder.
    if (s == QLatin1String("..")) {
        WriteLog(QStringLiteral("! GetRuleData: folder name '..' is not allowed, '__' used"));
        s = QStringLiteral("__");
    }
    return s;
}

// The numeric value of a text as the classic Val() reads it: blanks are skipped.
long long ValOf(QString text) {
    text.remove(QLatin1Char(' '));
    text.remove(QLatin1Char('\t'));
    return LeadingNumber(text);
}

struct NameParts {
    QString folder; // with its trailing separator, or empty
    QString base;
    QString extLower;
};

NameParts SplitFullPath(const QString& fullPath) {
    // The extension is taken from the file's own name, so a dot in a folder name never
    // becomes part of it.
    return {GetFolderPart(fullPath), GetBaseName(fullPath),
            GetExtensionUpper(GetFileNamePart(fullPath)).toLower()};
}

} // namespace

bool PathFound(const QString& path) {
    if (path.isEmpty()) return false;
    const QFileInfo fi(path);
    return fi.exists() || fi.isSymLink();
}

bool GetRuleData(const MailItemPtr& item, const udtRule& rule, QString& baseFolder,
                 QString& targetFolder, const QString& senderName, const QString& senderAddress,
                 const QString& recipientName, const QString& recipientAddress) {
    const QString folder = rule.Folder.get();
    if (rule.SaveBy < SaveBy::Project) {
        baseFolder = AddBackslash(folder);
    } else if (rule.SaveBy == SaveBy::Project) {
        baseFolder = GetProjectFolder(folder);
    } else {
        baseFolder = AddBackslash(folder);
        if (rule.SaveFormat == SaveFormat::KeepMailFolders) {
            const MailFolderPtr parent = item ? item->Parent().value : nullptr;
            baseFolder += AddBackslash(GetFolderPath(parent, QStringLiteral("/")));
        }
    }

    targetFolder = baseFolder;
    WriteLog(QStringLiteral("GetRuleData: ") + baseFolder + QStringLiteral(", ") + targetFolder);
    // A relative or empty base (a project that no longer exists, a rule without a folder)
    // would put files wherever the program happens to run.
    if (!baseFolder.startsWith(QLatin1Char('/'))) {
        WriteLog(QStringLiteral("! GetRuleData: rule '") + rule.Name.get() +
                 QStringLiteral("' has no absolute target folder ('") + folder +
                 (rule.SaveBy == SaveBy::Project ? QStringLiteral("' is not a known project)")
                                                 : QStringLiteral("')")));
        return false;
    }

    switch (rule.SaveBy) {
    case SaveBy::Date: {
        const QString format = DateFolderFormat(rule.SaveFormat);
        if (!format.isEmpty()) {
            // A date that cannot be read formats as day 0.
            const double received = item ? item->ReceivedTime().value : 0.0;
            targetFolder = AddBackslash(baseFolder) + FormatDate(received, format);
        }
        WriteLog(QStringLiteral("GetRuleData: ") + baseFolder + QStringLiteral(", ") +
                 targetFolder);
        break;
    }
    case SaveBy::Sender:
    case SaveBy::Recipient: {
        const bool bySender = rule.SaveBy == SaveBy::Sender;
        const QString s = bySender ? PartyFolderName(rule.SaveFormat, rule.Sender.get(), senderName,
                                                     senderAddress)
                                   : PartyFolderName(rule.SaveFormat, rule.Recipient.get(),
                                                     recipientName, recipientAddress);
        targetFolder = AddBackslash(baseFolder) + s;
        WriteLog(QStringLiteral("GetRuleData: ") + baseFolder + QLatin1Char('+') + s +
                 QStringLiteral("= ") + targetFolder);
        break;
    }
    default:
        break;
    }
    return true;
}

QString GetNextNumberName(const QString& fullPath) {
    const NameParts parts = SplitFullPath(fullPath);
    long long highest = 0;

    // Every file that starts with the base name, whatever follows.
    const QDir dir(parts.folder.isEmpty() ? QStringLiteral(".") : parts.folder);
    const QStringList names = dir.entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
    for (const QString& name : names) {
        if (!name.startsWith(parts.base)) continue;
        const QString tail = GetBaseName(name).right(6);
        if (tail.startsWith(QLatin1String(" -")) && tail.mid(2).size() == 4)
            highest = std::max(highest, ValOf(tail.mid(2)));
        ui().pumpEvents();
    }

    if (highest >= 9999) {
        ui().beep();
        ui().messageBox(
            LangText(
                QStringLiteral("Automatische Nummerierung konnte keine freie Nummer finden..."),
                QStringLiteral("Automatic numbering wasn't able to find an unused number...")),
            MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return {};
    }
    if (highest == 0) highest = 1; // the existing file counts as number one
    ++highest;
    return parts.folder + parts.base + QStringLiteral(" -") +
           QStringLiteral("%1").arg(highest, 4, 10, QLatin1Char('0')) + QLatin1Char('.') +
           parts.extLower;
}

QString GetNextDateName(const QString& fullPath) {
    const NameParts parts = SplitFullPath(fullPath);
    for (;;) {
        const QString candidate = parts.folder + parts.base + QLatin1Char(' ') +
                                  FormatDate(OleNow(), QStringLiteral("yyyy-mm-dd hh-nn-ss")) +
                                  QLatin1Char('.') + parts.extLower;
        if (!PathFound(candidate)) return candidate;
        // Taken within this second: wait for the clock to move on.
        QThread::msleep(20);
    }
}

ConflictOutcome ResolveConflict(const udtRule& rule, QString& fullPath) {
    switch (rule.FileExists) {
    case FileExists::Ask: {
        if (!ui().canAsk()) return ConflictOutcome::LeaveUnasked;
        const QString ext = GetExtensionUpper(fullPath);
        const QString extLower = ext.toLower();
        SaveFileRequest request;
        request.title = LangText(QStringLiteral("Datei vorhanden - Anhang sichern unter:"),
                                 QStringLiteral("File exists - save attachment as:"));
        request.filter = ext + LangText(QStringLiteral("-Dateien"), QStringLiteral(" files")) +
                         QStringLiteral(" (*.") + extLower + QStringLiteral(")|*.") + extLower;
        request.initialFolder = GetFolderPart(fullPath);
        request.fileName = GetFileNamePart(fullPath);
        request.defaultExt = extLower;
        request.filterIndex = 1;
        const QString chosen = ui().chooseSaveFile(request);
        if (chosen.isEmpty())
            return AskCancelAttachmentOnly() ? ConflictOutcome::SkipAttachment
                                             : ConflictOutcome::AbortRun;
        fullPath = chosen;
        return ConflictOutcome::Save;
    }
    case FileExists::Number: {
        const QString next = GetNextNumberName(fullPath);
        if (next.isEmpty()) {
            WriteLog(QStringLiteral("GetNextNumberName= ''..."));
            return ConflictOutcome::SkipAttachment;
        }
        fullPath = next;
        return ConflictOutcome::Save;
    }
    case FileExists::AddDateTime: {
        const QString next = GetNextDateName(fullPath);
        if (next.isEmpty()) {
            WriteLog(QStringLiteral("GetNextDateName= ''..."));
            return ConflictOutcome::SkipAttachment;
        }
        fullPath = next;
        return ConflictOutcome::Save;
    }
    default:
        return ConflictOutcome::Save; // the save replaces the file
    }
}
