#pragma once
// What a directory listing tells of one file and file type names.
#include <QString>
#include <cstdint>

struct FileFindData {
    QString fileName; // name without folder
    int64_t size = 0;
    // Days since 1899, local time. Creation is the status change where no birth time is kept.
    double creationTime = 0;
    double lastAccessTime = 0;
    double lastWriteTime = 0;
    bool isDirectory = false;
};

// The first entry that matches a path or a pattern ("*" and "?" in the last part; every other
// character, "[" included, stands for itself). "." and ".." are never found, nor is a path that
// ends in "/". True and `data` filled if anything was found.
bool GetFileFindData(const QString& pathOrPattern, FileFindData& data);
// The type name of an extension (without dot) from the shared MIME database. Without a known
// type: "<ext>-Datei" / "<ext> file" with useFallback, else "???".
QString GetFileTypeName(const QString& extension, bool useFallback);
