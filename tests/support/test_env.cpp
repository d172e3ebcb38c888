#include "support/test_env.h"

#include "common/ansi.h"
#include "common/folders.h"
#include "data/globals.h"
#include "data/log.h"
#include "ui/user_interaction.h"

#include <QDir>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cstdlib>

namespace {
QTemporaryDir* gHome = nullptr;
QTemporaryDir* gRuntime = nullptr; // outside the home, which each test empties
} // namespace

namespace TestEnv {

void setUpProcessHome() {
    gHome = new QTemporaryDir(QDir::tempPath() + QStringLiteral("/stowaway-test-XXXXXX"));
    const QByteArray home = gHome->path().toLocal8Bit();
    setenv("HOME", home.constData(), 1);
    setenv("XDG_DATA_HOME", (home + "/.local/share").constData(), 1);
    setenv("XDG_CONFIG_HOME", (home + "/.config").constData(), 1);
    setenv("XDG_DOCUMENTS_DIR", (home + "/Documents").constData(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    // The control sockets of the programs a test starts.
    gRuntime = new QTemporaryDir(QDir::tempPath() + QStringLiteral("/stowaway-run-XXXXXX"));
    setenv("XDG_RUNTIME_DIR", gRuntime->path().toLocal8Bit().constData(), 1);
}

QString home() {
    return gHome->path();
}

void resetAll() {
    QDir dir(home());
    for (const QString& entry :
         dir.entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)) {
        QFileInfo fi(dir.filePath(entry));
        if (fi.isDir() && !fi.isSymLink())
            QDir(fi.filePath()).removeRecursively();
        else
            QFile::remove(fi.filePath());
    }
    ResetGlobals();
    InitAppCaptions();
    SetUserInteraction(nullptr);
}

QString dataFile(const QString& name) {
    QString dir = QString::fromLocal8Bit(qgetenv("STOWAWAY_TEST_DATA"));
    if (dir.isEmpty()) dir = QStringLiteral(STOWAWAY_TEST_DATA_DIR);
    return dir + QLatin1Char('/') + name;
}

} // namespace TestEnv

QByteArray FileBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

bool PutFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile f(path);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(bytes) == bytes.size();
}

QStringList FolderEntries(const QString& folder) {
    return QDir(folder).entryList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
}

QStringList LogLinesWithoutStamps() {
    QStringList lines = FromAnsi(FileBytes(LogFilePath())).split(QStringLiteral("\r\n"));
    if (!lines.isEmpty() && lines.back().isEmpty()) lines.removeLast();
    static const QRegularExpression stamp(
        QStringLiteral("^\\d\\d\\.\\d\\d\\.\\d{4} - \\d\\d:\\d\\d:\\d\\d - "));
    for (QString& line : lines)
        line.remove(stamp);
    return lines;
}
