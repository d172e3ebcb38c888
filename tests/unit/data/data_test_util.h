#pragma once
// Small file helpers and a recording user interaction for the data-layer tests.
#include "data/defaults.h"
#include "ui/user_interaction.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>

#include <vector>

inline QByteArray ReadAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool WriteAll(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

inline QStringList FolderEntries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden,
                                  QDir::Name);
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

struct ShownBox {
    QString prompt;
    MsgIcon icon;
    QString title;
};

class RecordingUi final : public UserInteraction {
  public:
    RecordingUi() { SetUserInteraction(this); }
    ~RecordingUi() override { SetUserInteraction(nullptr); }

    int beeps = 0;
    std::vector<ShownBox> boxes;

    void beep() override { ++beeps; }
    MsgAnswer messageBox(const QString& prompt, MsgButtons, MsgIcon icon,
                         const QString& title) override {
        boxes.push_back({prompt, icon, title});
        return MsgAnswer::OK;
    }
    int msgBoxEx(const MsgBoxExRequest&) override { return 99; }
    QString chooseSaveFile(const SaveFileRequest&) override { return {}; }
    bool playSound(const QString&) override { return false; }
    bool openWithShell(const QString&) override { return false; }
    void showTrayNotification(const TrayNotification&) override {}
    void pumpEvents() override {}
    void setBusy(bool) override {}
};
