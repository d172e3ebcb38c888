#include "host/maildir/mail_files.h"

#include "host/mime/deferred_sync.h"

#include "data/log.h"
#include "host/maildir/maildir_names.h"

#include <QFile>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString kTempPrefix = QStringLiteral("stowaway.");

OpError ChangedMeanwhile(const QString& path) {
    return OpError::make(ErrNo::NotFound,
                         QStringLiteral("The mail was renamed, changed or removed by another "
                                        "program meanwhile and is left as it is: ") +
                             path);
}

bool RenameExchange(const QString& a, const QString& b) {
    return ::renameat2(AT_FDCWD, EncodePath(a).constData(), AT_FDCWD, EncodePath(b).constData(),
                       RENAME_EXCHANGE) == 0;
}

// A rename that never replaces an existing file.
bool RenameNoReplace(const QString& from, const QString& to) {
    if (::renameat2(AT_FDCWD, EncodePath(from).constData(), AT_FDCWD, EncodePath(to).constData(),
                    RENAME_NOREPLACE) == 0)
        return true;
    if (errno != EINVAL && errno != ENOSYS) return false;
    // A file system without the flag: link and unlink never replace either.
    if (::link(EncodePath(from).constData(), EncodePath(to).constData()) != 0) return false;
    ::unlink(EncodePath(from).constData());
    return true;
}

// A folder, link, pipe or device among the mails is left alone, and said once per process.
void NoteNotAMail(const QString& path) {
    static QSet<QString> noted;
    if (noted.contains(path)) return;
    noted.insert(path);
    WriteLog(QStringLiteral("! Maildir: not a mail file, left alone: ") + path);
}

OpError ListSubdir(const QString& folderDir, const QString& subdir,
                   std::vector<MailFileEntry>& out) {
    const QString dirPath = folderDir + QLatin1Char('/') + subdir;
    DIR* dir = ::opendir(EncodePath(dirPath).constData());
    if (!dir) {
        if (errno == ENOENT) return OpError::none();
        return ErrnoError(errno, QStringLiteral("Cannot read the mail folder ") + dirPath);
    }
    const int dfd = ::dirfd(dir);
    while (dirent* e = ::readdir(dir)) {
        if (e->d_name[0] == '.') continue;
        struct stat st {};
        if (::fstatat(dfd, e->d_name, &st, AT_SYMLINK_NOFOLLOW) != 0) continue;
        if (!S_ISREG(st.st_mode)) {
            NoteNotAMail(dirPath + QLatin1Char('/') + QFile::decodeName(e->d_name));
            continue;
        }
        MailFileEntry entry;
        entry.subdir = subdir;
        entry.name = QFile::decodeName(e->d_name);
        entry.identity.device = st.st_dev;
        entry.identity.inode = st.st_ino;
        entry.identity.size = st.st_size;
        entry.identity.mtime = st.st_mtim;
        entry.identity.atime = st.st_atim;
        entry.identity.mode = st.st_mode;
        out.push_back(std::move(entry));
    }
    ::closedir(dir);
    return OpError::none();
}

} // namespace

Result<std::vector<MailFileEntry>> ListMailFiles(const QString& folderDir) {
    std::vector<MailFileEntry> entries;
    entries.reserve(256);
    for (const QString& subdir : {QStringLiteral("cur"), QStringLiteral("new")})
        if (OpError error = ListSubdir(folderDir, subdir, entries)) return {{}, error};
    std::sort(entries.begin(), entries.end(), [](const MailFileEntry& a, const MailFileEntry& b) {
        const timespec& x = a.identity.mtime;
        const timespec& y = b.identity.mtime;
        if (x.tv_sec != y.tv_sec) return x.tv_sec < y.tv_sec;
        if (x.tv_nsec != y.tv_nsec) return x.tv_nsec < y.tv_nsec;
        return a.name < b.name;
    });
    return {std::move(entries), OpError::none()};
}

Result<QString> ReplaceMailFile(const QString& folderDir, const QString& subdir,
                                const QString& name, const FileIdentity& expected,
                                const ContentWriter& write, OwnWrites& ownWrites) {
    const QString dirPath = folderDir + QLatin1Char('/') + subdir;
    const QString oldPath = dirPath + QLatin1Char('/') + name;
    const QString tmpDir = folderDir + QStringLiteral("/tmp");
    ::mkdir(EncodePath(tmpDir).constData(), 0700);
    const QString tmpPath = tmpDir + QLatin1Char('/') + kTempPrefix + QString::number(getpid()) +
                            QLatin1Char('.') + NewUniqueName();

    UniqueFd file(::open(EncodePath(tmpPath).constData(),
                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (!file.valid())
        return {{}, ErrnoError(errno, QStringLiteral("Cannot write the mail to ") + tmpDir)};
    auto discard = [&](OpError error) -> Result<QString> {
        file.reset();
        ::unlink(EncodePath(tmpPath).constData());
        return {{}, error};
    };
    if (OpError error = write(file.get())) return discard(error);
    const timespec times[2] = {expected.atime, expected.mtime};
    if (::fchmod(file.get(), expected.mode & 07777) != 0 || ::futimens(file.get(), times) != 0)
        return discard(ErrnoError(errno, QStringLiteral("Cannot write the mail to ") + tmpDir));
    // One sync takes the new mail and the attachment files saved from it.
    if (OpError error = SyncWithDeferred(file.get())) return discard(error);
    if (::close(file.release()) != 0)
        return discard(ErrnoError(errno, QStringLiteral("Cannot write the mail to ") + tmpDir));

    FileIdentity current;
    if (!IdentityOfPath(oldPath, current) || !current.sameFile(expected))
        return discard(ChangedMeanwhile(oldPath));

    // Swap the new file in; the old one lands in tmp/, from where it is removed. Unlike a
    // plain rename this cannot bring back a mail that was removed a moment ago.
    ownWrites.record(oldPath);
    if (!RenameExchange(tmpPath, oldPath)) {
        const int err = errno;
        if (err == ENOENT) return discard(ChangedMeanwhile(oldPath));
        if (err != EINVAL && err != ENOSYS)
            return discard(ErrnoError(err, QStringLiteral("Cannot replace the mail ") + oldPath));
        if (::rename(EncodePath(tmpPath).constData(), EncodePath(oldPath).constData()) != 0)
            return discard(ErrnoError(errno, QStringLiteral("Cannot replace the mail ") + oldPath));
    } else {
        FileIdentity swapped;
        if (!IdentityOfPath(tmpPath, swapped) || !swapped.sameFile(expected)) {
            // Another program put a different file there in the meantime: give it back.
            RenameExchange(tmpPath, oldPath);
            return discard(ChangedMeanwhile(oldPath));
        }
        ::unlink(EncodePath(tmpPath).constData());
    }
    // No folder sync between the two renames: a crash leaves the old mail, the new content
    // under the old name or under the new one, each a single whole copy.

    const MaildirFileName oldName = ParseMaildirFileName(name);
    MaildirFileName fresh;
    fresh.unique = NewUniqueName();
    fresh.flags = oldName.flags;
    fresh.hasInfo = oldName.hasInfo;
    const QString newName = ComposeMaildirFileName(fresh);
    const QString newPath = dirPath + QLatin1Char('/') + newName;
    ownWrites.record(newPath);
    // The renames reach the disk with the next mail's sync, or at the end of the session, or
    // with the file system's own commit: until then a crash brings back the old mail, whole,
    // with its attachments, and the next run takes it again.
    DeferFolderSync(dirPath);
    if (!RenameNoReplace(oldPath, newPath)) {
        // The new content is in place under the old name: saved, only not renamed.
        return {name, OpError::none()};
    }
    return {newName, OpError::none()};
}

Result<MailFileEntry> RenameMailFlags(const QString& folderDir, const MailFileEntry& entry,
                                      const QString& flags, OwnWrites& ownWrites) {
    const QString oldPath =
        folderDir + QLatin1Char('/') + entry.subdir + QLatin1Char('/') + entry.name;
    MaildirFileName name = ParseMaildirFileName(entry.name);
    name.flags = flags;
    name.hasInfo = true;
    MailFileEntry renamed = entry;
    renamed.subdir = QStringLiteral("cur");
    renamed.name = ComposeMaildirFileName(name);
    if (renamed.subdir == entry.subdir && renamed.name == entry.name)
        return {entry, OpError::none()};
    const QString newDir = folderDir + QStringLiteral("/cur");
    ::mkdir(EncodePath(newDir).constData(), 0700);
    const QString newPath = newDir + QLatin1Char('/') + renamed.name;

    FileIdentity current;
    if (!IdentityOfPath(oldPath, current) || current.inode != entry.identity.inode ||
        current.device != entry.identity.device)
        return {entry, ChangedMeanwhile(oldPath)};
    ownWrites.record(newPath);
    if (!RenameNoReplace(oldPath, newPath)) {
        const int err = errno;
        if (err == ENOENT) return {entry, ChangedMeanwhile(oldPath)};
        return {entry, ErrnoError(err, QStringLiteral("Cannot rename the mail ") + oldPath)};
    }
    SyncFolder(newDir);
    return {renamed, OpError::none()};
}

int RemoveStaleTempFiles(const QString& folderDir) {
    const QString tmpDir = folderDir + QStringLiteral("/tmp");
    DIR* dir = ::opendir(EncodePath(tmpDir).constData());
    if (!dir) return 0;
    int removed = 0;
    const int dfd = ::dirfd(dir);
    while (dirent* e = ::readdir(dir)) {
        const QString name = QFile::decodeName(e->d_name);
        if (!name.startsWith(kTempPrefix)) continue;
        bool ok = false;
        const qint64 pid = name.section(QLatin1Char('.'), 1, 1).toLongLong(&ok);
        if (!ok || pid <= 0) continue;
        // A file of a process that still runs is in use; one of this process is not stale.
        if (pid == getpid() || ::kill(pid_t(pid), 0) == 0 || errno != ESRCH) continue;
        if (::unlinkat(dfd, e->d_name, 0) == 0) ++removed;
    }
    ::closedir(dir);
    return removed;
}
