#pragma once
// Thin helpers over POSIX file calls: descriptors that close themselves, errno as an OpError,
// and what identifies one file on disk.
#include "common/error.h"

#include <QByteArray>
#include <QString>

#include <cstddef>
#include <ctime>
#include <sys/types.h>

class UniqueFd {
  public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(const UniqueFd&) = delete;
    UniqueFd& operator=(const UniqueFd&) = delete;
    UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept;
    ~UniqueFd() { reset(); }
    int get() const { return fd_; }
    bool valid() const { return fd_ >= 0; }
    int release();
    void reset(int fd = -1);

  private:
    int fd_ = -1;
};

// The error of a failed call: errno as number class and text, with what was being done.
OpError ErrnoError(int err, const QString& what);

// Which file a name stood for when it was read: same device, inode, size and time means the
// same content.
struct FileIdentity {
    dev_t device = 0;
    ino_t inode = 0;
    qint64 size = 0;
    timespec mtime{};
    timespec atime{};
    mode_t mode = 0;

    bool sameFile(const FileIdentity& other) const;
};

// lstat / fstat into a FileIdentity; false with errno set on failure.
bool IdentityOfPath(const QString& path, FileIdentity& identity);
bool IdentityOfFd(int fd, FileIdentity& identity);

QByteArray EncodePath(const QString& path);

// Writes all bytes, retrying on interruption; false with errno set.
bool WriteAll(int fd, const char* data, std::size_t size);
// Flushes a folder's entries to disk.
OpError SyncFolder(const QString& folder);
