#include "host/mime/posix_files.h"

#include <QFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

UniqueFd& UniqueFd::operator=(UniqueFd&& other) noexcept {
    reset(other.release());
    return *this;
}

int UniqueFd::release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

void UniqueFd::reset(int fd) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
}

OpError ErrnoError(int err, const QString& what) {
    int number = ErrNo::IoError;
    switch (err) {
    case ENOENT:
    case ENOTDIR:
        number = ErrNo::NotFound;
        break;
    case EACCES:
    case EPERM:
    case EROFS:
        number = ErrNo::NoPermission;
        break;
    default:
        break;
    }
    return OpError::make(number,
                         what + QStringLiteral(": ") + QString::fromLocal8Bit(strerror(err)));
}

bool FileIdentity::sameFile(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           mtime.tv_sec == other.mtime.tv_sec && mtime.tv_nsec == other.mtime.tv_nsec;
}

namespace {
void FromStat(const struct stat& st, FileIdentity& identity) {
    identity.device = st.st_dev;
    identity.inode = st.st_ino;
    identity.size = st.st_size;
    identity.mtime = st.st_mtim;
    identity.atime = st.st_atim;
    identity.mode = st.st_mode;
}
} // namespace

QByteArray EncodePath(const QString& path) {
    return QFile::encodeName(path);
}

bool IdentityOfPath(const QString& path, FileIdentity& identity) {
    struct stat st {};
    if (::lstat(EncodePath(path).constData(), &st) != 0) return false;
    FromStat(st, identity);
    return true;
}

bool IdentityOfFd(int fd, FileIdentity& identity) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) return false;
    FromStat(st, identity);
    return true;
}

bool WriteAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t n = ::write(fd, data, size);
        if (n < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        data += n;
        size -= std::size_t(n);
    }
    return true;
}

OpError SyncFolder(const QString& folder) {
    UniqueFd fd(::open(EncodePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid()) return ErrnoError(errno, QStringLiteral("Cannot open folder ") + folder);
    if (::fsync(fd.get()) != 0)
        return ErrnoError(errno, QStringLiteral("Cannot sync folder ") + folder);
    return OpError::none();
}
