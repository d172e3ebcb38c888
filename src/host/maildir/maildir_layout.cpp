#include "host/maildir/maildir_layout.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <set>

namespace {

// Nested folders are searched this deep for a level that holds mail.
constexpr int kMaxNesting = 8;

bool IsReservedName(const QString& name) {
    return name == QLatin1String("cur") || name == QLatin1String("new") ||
           name == QLatin1String("tmp");
}

QStringList SubDirectories(const QString& dir) {
    return QDir(dir).entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::Hidden, QDir::Name);
}

// A nested folder level: a plain sub-folder that has mail or holds a level that has.
bool HoldsMail(const QString& dir, int depth) {
    if (IsMaildirFolder(dir)) return true;
    if (depth >= kMaxNesting) return false;
    for (const QString& sub : SubDirectories(dir)) {
        if (sub.startsWith(QLatin1Char('.')) || IsReservedName(sub)) continue;
        if (HoldsMail(dir + QLatin1Char('/') + sub, depth + 1)) return true;
    }
    return false;
}

// The root's Maildir++ folders that hold mail (".A", ".A.B").
QStringList MaildirPlusPlusFolders(const QString& root) {
    QStringList result;
    for (const QString& sub : SubDirectories(root)) {
        if (!sub.startsWith(QLatin1Char('.')) || sub.size() < 2) continue;
        if (sub.mid(1).split(QLatin1Char('.')).contains(QString())) continue;
        if (IsMaildirFolder(root + QLatin1Char('/') + sub)) result.append(sub);
    }
    return result;
}

bool IsMaildirPlusPlusId(const QString& id) {
    return id.startsWith(QLatin1Char('.')) && id.size() > 1 && !id.contains(QLatin1Char('/'));
}

bool IsWellFormed(const QString& id) {
    if (id.isEmpty() || id.startsWith(QLatin1Char('/')) || id.endsWith(QLatin1Char('/')) ||
        id.contains(QChar(0)) || id.contains(QLatin1Char('\\')))
        return false;
    for (const QString& part : id.split(QLatin1Char('/')))
        if (part.isEmpty() || part == QLatin1String(".") || part == QLatin1String("..") ||
            IsReservedName(part))
            return false;
    return true;
}

std::vector<FolderEntry> NestedChildren(const QString& root, const QString& parentId) {
    std::vector<FolderEntry> children;
    const QString dir = FolderDirectory(root, parentId);
    for (const QString& sub : SubDirectories(dir)) {
        if (sub.startsWith(QLatin1Char('.')) || IsReservedName(sub)) continue;
        const QString subDir = dir + QLatin1Char('/') + sub;
        if (!HoldsMail(subDir, 0)) continue;
        const QString id = parentId == FolderIds::Inbox ? sub : parentId + QLatin1Char('/') + sub;
        children.push_back({id, DecodeModifiedUtf7(sub), IsMaildirFolder(subDir)});
    }
    return children;
}

} // namespace

bool IsMaildirFolder(const QString& dir) {
    return QFileInfo(dir + QStringLiteral("/cur")).isDir() ||
           QFileInfo(dir + QStringLiteral("/new")).isDir();
}

QString DefaultInboxId(const QString& root) {
    if (IsMaildirFolder(root)) return FolderIds::Inbox;
    for (const QString& sub : SubDirectories(root))
        if (sub.compare(QLatin1String("INBOX"), Qt::CaseInsensitive) == 0 &&
            IsMaildirFolder(root + QLatin1Char('/') + sub))
            return sub;
    return FolderIds::Inbox;
}

QString WhyNotAMailStore(const QString& root) {
    const QFileInfo info(root);
    if (!info.exists()) return QStringLiteral("There is no folder %1").arg(root);
    if (!info.isDir()) return QStringLiteral("%1 is not a folder").arg(root);
    if (IsMaildirFolder(root) || !AllMailFolders(root).empty()) return {};
    return QStringLiteral("%1 is no mail store: expected a Maildir (a folder with cur/, new/ and "
                          "tmp/) or a folder of Maildirs (such as mbsync writes: INBOX/cur, ...)")
        .arg(root);
}

QString FolderDirectory(const QString& root, const QString& id) {
    if (id == FolderIds::Inbox || id == FolderIds::Top) return root;
    return root + QLatin1Char('/') + id;
}

QString ParentFolderId(const QString& id) {
    if (id == FolderIds::Top) return {};
    const qsizetype slash = id.lastIndexOf(QLatin1Char('/'));
    if (slash > 0) return id.left(slash);
    const qsizetype dot = id.lastIndexOf(QLatin1Char('.'));
    if (IsMaildirPlusPlusId(id) && dot > 0) return id.left(dot);
    return FolderIds::Top;
}

QString FolderLevelName(const QString& id) {
    if (id == FolderIds::Inbox) return QStringLiteral("Inbox");
    const qsizetype slash = id.lastIndexOf(QLatin1Char('/'));
    if (slash >= 0) return DecodeModifiedUtf7(id.mid(slash + 1));
    if (IsMaildirPlusPlusId(id))
        return DecodeModifiedUtf7(id.mid(id.lastIndexOf(QLatin1Char('.')) + 1));
    return DecodeModifiedUtf7(id);
}

bool FolderExists(const QString& root, const QString& id, bool* hasMaildir) {
    bool mail = false;
    bool exists = false;
    if (id == FolderIds::Top) {
        exists = QFileInfo(root).isDir();
    } else if (id == FolderIds::Inbox) {
        exists = QFileInfo(root).isDir();
        mail = IsMaildirFolder(root);
    } else if (IsWellFormed(id)) {
        const QString dir = FolderDirectory(root, id);
        mail = IsMaildirFolder(dir);
        if (mail) {
            exists = true;
        } else if (IsMaildirPlusPlusId(id)) {
            const QString prefix = id + QLatin1Char('.');
            const QStringList all = MaildirPlusPlusFolders(root);
            exists = std::any_of(all.begin(), all.end(),
                                 [&](const QString& f) { return f.startsWith(prefix); }) ||
                     (QFileInfo(dir).isDir() && !NestedChildren(root, id).empty());
        } else {
            exists = QFileInfo(dir).isDir() && HoldsMail(dir, 0);
        }
    }
    if (hasMaildir) *hasMaildir = mail;
    return exists;
}

std::vector<FolderEntry> ChildFolders(const QString& root, const QString& parentId) {
    std::vector<FolderEntry> children;
    if (parentId == FolderIds::Top) {
        // A root without mail of its own shows only its folders, unless it has no INBOX.
        if (DefaultInboxId(root) == FolderIds::Inbox)
            children.push_back({FolderIds::Inbox, QStringLiteral("Inbox"), IsMaildirFolder(root)});
        std::set<QString> levels;
        for (const QString& f : MaildirPlusPlusFolders(root))
            levels.insert(f.left(f.indexOf(QLatin1Char('.'), 1)));
        for (const QString& id : levels) {
            bool mail = false;
            FolderExists(root, id, &mail);
            children.push_back({id, FolderLevelName(id), mail});
        }
        for (FolderEntry& e : NestedChildren(root, FolderIds::Inbox))
            children.push_back(e);
    } else if (parentId != FolderIds::Inbox) {
        if (IsMaildirPlusPlusId(parentId)) {
            const QString prefix = parentId + QLatin1Char('.');
            std::set<QString> levels;
            for (const QString& f : MaildirPlusPlusFolders(root)) {
                if (!f.startsWith(prefix)) continue;
                const qsizetype next = f.indexOf(QLatin1Char('.'), prefix.size());
                levels.insert(next < 0 ? f : f.left(next));
            }
            for (const QString& id : levels) {
                bool mail = false;
                FolderExists(root, id, &mail);
                children.push_back({id, FolderLevelName(id), mail});
            }
        }
        for (FolderEntry& e : NestedChildren(root, parentId))
            children.push_back(e);
    }
    const bool inboxFirst = !children.empty() && children.front().id == FolderIds::Inbox;
    const auto firstOther = children.begin() + (inboxFirst ? 1 : 0);
    std::stable_sort(firstOther, children.end(), [](const FolderEntry& a, const FolderEntry& b) {
        return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
    return children;
}

std::vector<FolderEntry> AllMailFolders(const QString& root) {
    std::vector<FolderEntry> result;
    std::vector<QString> pending{FolderIds::Top};
    while (!pending.empty()) {
        const QString id = pending.back();
        pending.pop_back();
        const std::vector<FolderEntry> children = ChildFolders(root, id);
        for (auto it = children.rbegin(); it != children.rend(); ++it)
            pending.push_back(it->id);
        for (const FolderEntry& child : children)
            if (child.hasMaildir) result.push_back(child);
    }
    return result;
}

QString DecodeModifiedUtf7(const QString& text) {
    if (!text.contains(QLatin1Char('&'))) return text;
    QString out;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('&')) {
            out += text[i];
            continue;
        }
        const qsizetype end = text.indexOf(QLatin1Char('-'), i + 1);
        if (end < 0) return text;
        if (end == i + 1) {
            out += QLatin1Char('&');
            i = end;
            continue;
        }
        QByteArray b64 = text.mid(i + 1, end - i - 1).toLatin1();
        b64.replace(',', '/');
        const auto decoded =
            QByteArray::fromBase64Encoding(b64, QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded || decoded.decoded.size() % 2 != 0) return text;
        for (qsizetype k = 0; k + 1 < decoded.decoded.size(); k += 2)
            out +=
                QChar(char16_t((uchar(decoded.decoded[k]) << 8) | uchar(decoded.decoded[k + 1])));
        i = end;
    }
    return out;
}
