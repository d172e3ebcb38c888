#pragma once
// Record images put together byte by byte, and the inbox a first start finds.
#include "data/defaults.h"
#include "support/test_env.h"

#include <QByteArray>
#include <QString>

// The older names of the shared file helpers.
inline QByteArray ReadAll(const QString& path) {
    return FileBytes(path);
}
inline bool WriteAll(const QString& path, const QByteArray& bytes) {
    return PutFile(path, bytes);
}

// Puts a record together from (offset, bytes) pairs over a field of NULs.
struct Field {
    int offset;
    QByteArray bytes;
};
inline QByteArray Record(int size, std::initializer_list<Field> fields) {
    QByteArray r(size, '\0');
    for (const Field& f : fields)
        r.replace(f.offset, f.bytes.size(), f.bytes);
    return r;
}
inline QByteArray Le16(int v) {
    return QByteArray(1, static_cast<char>(v & 0xFF)) +
           QByteArray(1, static_cast<char>((v >> 8) & 0xFF));
}
// Windows-1252 bytes given as a byte literal, blank-padded to n.
inline QByteArray Padded(const QByteArray& text, int n) {
    return text.leftJustified(n, ' ', true);
}

inline InboxInfo GoodInbox() {
    return {true,
            QStringLiteral("Inbox"),
            QStringLiteral("Maildir|Inbox"),
            QStringLiteral("."),
            QStringLiteral("/home/u/Maildir"),
            QString()};
}
