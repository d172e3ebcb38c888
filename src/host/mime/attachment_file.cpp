#include "host/mime/attachment_file.h"

#include "host/mime/deferred_sync.h"

#include "data/log.h"
#include "host/mime/posix_files.h"

#include <QFile>
#include <QRandomGenerator>
#include <QSet>

#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qsizetype kMaxNameBytes = 255;
constexpr qsizetype kMaxExtensionBytes = 32;

bool IsControl(char16_t c) {
    return c < 0x20 || (c >= 0x7f && c <= 0x9f);
}

// The longest front of `text` that fits `maxBytes` in UTF-8, never splitting a character.
QString Utf8Front(const QString& text, qsizetype maxBytes) {
    qsizetype bytes = 0;
    qsizetype i = 0;
    while (i < text.size()) {
        const bool pair =
            text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        const qsizetype units = pair ? 2 : 1;
        const qsizetype size = text.mid(i, units).toUtf8().size();
        if (bytes + size > maxBytes) break;
        bytes += size;
        i += units;
    }
    return text.left(i);
}

const QByteArray kTempPrefix = ".stowaway-";

// The name a file has while it is written, ".stowaway-PID-RANDOM.part".
QByteArray TempName() {
    return kTempPrefix + QByteArray::number(getpid()) + '-' +
           QByteArray::number(QRandomGenerator::global()->generate64(), 16) + ".part";
}

// Removes what killed processes left while writing into this folder; once a folder per process,
// as it lists the whole folder.
void RemoveStaleTempFiles(int dirFd, const QString& folder) {
    static QSet<QString> cleaned;
    if (cleaned.contains(folder)) return;
    cleaned.insert(folder);
    const int fd = ::openat(dirFd, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* dir = fd >= 0 ? ::fdopendir(fd) : nullptr;
    if (!dir) {
        if (fd >= 0) ::close(fd);
        return;
    }
    while (const dirent* e = ::readdir(dir)) {
        const QByteArray name(e->d_name);
        if (!name.startsWith(kTempPrefix) || !name.endsWith(".part")) continue;
        bool ok = false;
        const qint64 pid = name.mid(kTempPrefix.size()).split('-').value(0).toLongLong(&ok);
        if (!ok || pid <= 0 || pid == getpid()) continue;
        if (::kill(pid_t(pid), 0) == 0 || errno != ESRCH) continue;
        if (::unlinkat(dirFd, e->d_name, 0) == 0)
            WriteLog(QStringLiteral("Removed a half-written file of an ended run: ") + folder +
                     QLatin1Char('/') + QFile::decodeName(name));
    }
    ::closedir(dir);
}

// An unnamed file in the folder where the system offers one, so a process killed while
// writing leaves nothing behind; else a named one. `named` tells which.
UniqueFd CreateTempFile(int dirFd, const QByteArray& tempName, bool& named) {
    named = false;
    if (::access("/proc/self/fd", X_OK) == 0) {
        UniqueFd file(::openat(dirFd, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
        if (file.valid()) return file;
    }
    named = true;
    return UniqueFd(::openat(dirFd, tempName.constData(),
                             O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
}

// Gives a finished unnamed file its temporary name, for the rename over the target.
bool NameTempFile(int fd, int dirFd, const QByteArray& tempName) {
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(fd);
    return ::linkat(AT_FDCWD, self.constData(), dirFd, tempName.constData(), AT_SYMLINK_FOLLOW) ==
           0;
}

} // namespace

QString SafeFileName(const QString& name, const QString& fallback) {
    QString safe = name;
    for (QChar& c : safe)
        if (c == QLatin1Char('/') || IsControl(c.unicode())) c = QLatin1Char('_');
    if (safe.isEmpty() || safe == QLatin1String(".") || safe == QLatin1String(".."))
        return fallback.isEmpty() ? QStringLiteral("attachment") : SafeFileName(fallback, {});
    if (safe.toUtf8().size() <= kMaxNameBytes) return safe;
    QString extension;
    const qsizetype dot = safe.lastIndexOf(QLatin1Char('.'));
    if (dot > 0 && safe.mid(dot).toUtf8().size() <= kMaxExtensionBytes) extension = safe.mid(dot);
    const QString base = safe.left(safe.size() - extension.size());
    return Utf8Front(base, kMaxNameBytes - extension.toUtf8().size()) + extension;
}

OpError WriteFileInFolder(const QString& path, const QString& fallbackName,
                          const ContentWriter& write) {
    const qsizetype slash = path.lastIndexOf(QLatin1Char('/'));
    const QString folder = slash < 0    ? QStringLiteral(".")
                           : slash == 0 ? QStringLiteral("/")
                                        : path.left(slash);
    const QString requested = path.mid(slash + 1);
    const QString name = SafeFileName(requested, fallbackName);
    if (name != requested)
        WriteLog(QStringLiteral("! SaveAsFile: a name that cannot be a file name (%1 characters) "
                                "is saved as \"%2\" in %3")
                     .arg(requested.size())
                     .arg(name, folder));

    UniqueFd dir(
        ::open(EncodePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!dir.valid()) {
        const int err = errno;
        // Linux answers ENOTDIR or ELOOP for a link there.
        struct stat st {};
        if ((err == ELOOP || err == ENOTDIR) && ::lstat(EncodePath(folder).constData(), &st) == 0 &&
            S_ISLNK(st.st_mode))
            return OpError::make(ErrNo::NoPermission,
                                 QStringLiteral("The target folder is a symbolic link: ") + folder);
        return ErrnoError(err, QStringLiteral("Cannot open the target folder ") + folder);
    }

    RemoveStaleTempFiles(dir.get(), folder);
    const QByteArray tempName = TempName();
    bool named = false;
    UniqueFd file = CreateTempFile(dir.get(), tempName, named);
    if (!file.valid())
        return ErrnoError(errno, QStringLiteral("Cannot create a file in ") + folder);

    OpError error = write(file.get());
    if (!error && !named) {
        named = NameTempFile(file.get(), dir.get(), tempName);
        if (!named) error = ErrnoError(errno, QStringLiteral("Cannot save ") + path);
    }
    if (!error && ::close(file.release()) != 0)
        error = ErrnoError(errno, QStringLiteral("Cannot write ") + path);
    if (!error &&
        ::renameat(dir.get(), tempName.constData(), dir.get(), EncodePath(name).constData()) != 0)
        error =
            ErrnoError(errno, QStringLiteral("Cannot save ") + folder + QLatin1Char('/') + name);
    if (error) {
        if (named) ::unlinkat(dir.get(), tempName.constData(), 0);
        return error;
    }
    DeferSync(dir.get()); // made durable with the mail that records it
    return OpError::none();
}
