#include "common/find_files.h"

#include "common/paths.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QRegularExpression>

namespace {
// "*" and "?" are wildcards; every other character stands for itself.
QRegularExpression MaskExpression(const QString& pattern) {
    // As the system's own search: "*.*" also takes names without a dot.
    const QString mask = pattern == QLatin1String("*.*") ? QStringLiteral("*") : pattern;
    QString expression = QStringLiteral("^");
    for (const QChar c : mask) {
        if (c == QLatin1Char('*'))
            expression += QStringLiteral(".*");
        else if (c == QLatin1Char('?'))
            expression += QLatin1Char('.');
        else
            expression += QRegularExpression::escape(QString(c));
    }
    expression += QLatin1Char('$');
    return QRegularExpression(expression, QRegularExpression::CaseInsensitiveOption |
                                              QRegularExpression::DotMatchesEverythingOption);
}

bool IsHidden(const QString& name) {
    return name.startsWith(QLatin1Char('.')) && name != QLatin1String("..");
}
} // namespace

qint64 FindFilesAPI(const QString& path, const QString& pattern, QStringList& found, int& fileCount,
                    int& folderCount, bool recurse, qint64 totalSize) {
    const QString folder = AddBackslash(path);
    const QRegularExpression mask = MaskExpression(pattern);
    const bool atRoot = QDir(folder).isRoot();
    QDirIterator it(folder, QDir::AllEntries | QDir::System | QDir::Hidden | QDir::NoDot);
    QStringList subfolders;
    while (it.hasNext()) {
        it.next();
        const QString name = it.fileName();
        if (IsHidden(name) || (name == QLatin1String("..") && atRoot)) continue;
        const QFileInfo info = it.fileInfo();
        if (recurse && name != QLatin1String("..") && info.isDir() && !info.isSymLink())
            subfolders << name;
        if (!mask.match(name).hasMatch()) continue;
        FoundEntry entry;
        entry.path = folder + name;
        if (name == QLatin1String(".."))
            entry.kind = FoundKind::UpOneDir;
        else if (info.isDir())
            entry.kind = FoundKind::Folder;
        else
            entry.size = info.size();
        totalSize += entry.size;
        ++fileCount;
        found << FoundEntryText(entry);
    }
    if (!recurse) return totalSize;
    folderCount += static_cast<int>(subfolders.size());
    for (const QString& sub : subfolders)
        totalSize =
            FindFilesAPI(folder + sub, pattern, found, fileCount, folderCount, true, totalSize);
    return totalSize;
}

QString FoundEntryText(const FoundEntry& entry) {
    return QString::number(entry.kind) + QLatin1Char('|') + entry.path + QLatin1Char('|') +
           QString::number(entry.size);
}

FoundEntry ParseFoundEntry(const QString& text) {
    FoundEntry entry;
    const qsizetype first = text.indexOf(QLatin1Char('|'));
    const qsizetype last = text.lastIndexOf(QLatin1Char('|'));
    if (first != 1 || last <= first) {
        entry.path = text;
        return entry;
    }
    entry.kind = text.at(0).digitValue();
    entry.path = text.mid(first + 1, last - first - 1);
    entry.size = text.mid(last + 1).toLongLong();
    return entry;
}
