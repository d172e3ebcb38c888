#include "host/maildir/attachment_file.h"

#include "data/log.h"
#include "host/maildir/posix_files.h"

#include <QRandomGenerator>

#include <cerrno>
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

    const QByteArray tempName = QStringLiteral(".stowaway-%1-%2.part")
                                    .arg(getpid())
                                    .arg(QRandomGenerator::global()->generate64(), 0, 16)
                                    .toUtf8();
    UniqueFd file(::openat(dir.get(), tempName.constData(),
                           O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
    if (!file.valid())
        return ErrnoError(errno, QStringLiteral("Cannot create a file in ") + folder);

    OpError error = write(file.get());
    if (!error && ::fsync(file.get()) != 0)
        error = ErrnoError(errno, QStringLiteral("Cannot write ") + path);
    if (!error && ::close(file.release()) != 0)
        error = ErrnoError(errno, QStringLiteral("Cannot write ") + path);
    if (!error &&
        ::renameat(dir.get(), tempName.constData(), dir.get(), EncodePath(name).constData()) != 0)
        error =
            ErrnoError(errno, QStringLiteral("Cannot save ") + folder + QLatin1Char('/') + name);
    if (error) {
        ::unlinkat(dir.get(), tempName.constData(), 0);
        return error;
    }
    ::fsync(dir.get());
    return OpError::none();
}
