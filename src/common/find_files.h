#pragma once
// The directory walk of the Search tab: entries "kind|path|size", where the kind "0" is the
// upward entry, "1" a folder and "2" a file, so that a plain sort puts them in that order.
#include <QString>
#include <QStringList>

namespace FoundKind {
constexpr int UpOneDir = 0;
constexpr int Folder = 1;
constexpr int File = 2;
} // namespace FoundKind

struct FoundEntry {
    int kind = FoundKind::File;
    QString path;
    qint64 size = 0;
};

// Appends to `found` every entry of `path` that matches `pattern` ("*" and "?", case ignored;
// "*.*" takes every name), and with `recurse` those of all its subfolders. Hidden entries (a
// name that begins with ".") are left out; ".." is the upward entry, never at the root.
// Returns `totalSize` plus the sizes found. Sizes are 64-bit.
qint64 FindFilesAPI(const QString& path, const QString& pattern, QStringList& found, int& fileCount,
                    int& folderCount, bool recurse, qint64 totalSize = 0);

QString FoundEntryText(const FoundEntry& entry);
// An entry's parts; a text that is no entry gives a file with the whole text as its path.
FoundEntry ParseFoundEntry(const QString& text);
