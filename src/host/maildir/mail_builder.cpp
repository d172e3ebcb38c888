#include "host/maildir/mail_builder.h"

#include "host/maildir/maildir_names.h"
#include "host/mime/posix_files.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

OpError EnsureMaildirFolder(const QString& folder) {
    for (const char* sub : {"cur", "new", "tmp"}) {
        const QString dir = folder + QLatin1Char('/') + QLatin1String(sub);
        if (!QDir().mkpath(dir))
            return OpError::make(ErrNo::NoPermission, QStringLiteral("Cannot create ") + dir);
    }
    return OpError::none();
}

Result<QString> WriteMailToMaildir(const QString& folder, const SampleMail& mail,
                                   const SampleMailFlags& flags) {
    if (OpError error = EnsureMaildirFolder(folder)) return {{}, error};
    const QByteArray bytes = BuildSampleMail(mail);
    MaildirFileName name;
    name.unique = NewUniqueName();
    name.hasInfo = !flags.inNew;
    name.flags = flags.seen ? QStringLiteral("S") : QString();
    const QString tmpPath = folder + QStringLiteral("/tmp/") + name.unique;
    const QString finalPath = folder +
                              (flags.inNew ? QStringLiteral("/new/") : QStringLiteral("/cur/")) +
                              ComposeMaildirFileName(name);

    UniqueFd fd(
        ::open(EncodePath(tmpPath).constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!fd.valid()) return {{}, ErrnoError(errno, QStringLiteral("Cannot write ") + tmpPath)};
    if (!WriteAll(fd.get(), bytes.constData(), size_t(bytes.size())) || ::fsync(fd.get()) != 0) {
        const OpError error = ErrnoError(errno, QStringLiteral("Cannot write ") + tmpPath);
        ::unlink(EncodePath(tmpPath).constData());
        return {{}, error};
    }
    if (flags.fileTimeIsDate && mail.date.isValid()) {
        const timespec t{time_t(mail.date.toSecsSinceEpoch()), 0};
        const timespec times[2] = {t, t};
        ::futimens(fd.get(), times);
    }
    fd.reset();
    if (::rename(EncodePath(tmpPath).constData(), EncodePath(finalPath).constData()) != 0) {
        const OpError error = ErrnoError(errno, QStringLiteral("Cannot deliver ") + finalPath);
        ::unlink(EncodePath(tmpPath).constData());
        return {{}, error};
    }
    return {finalPath, OpError::none()};
}
