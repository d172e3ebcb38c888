#include "host/mime/deferred_sync.h"

#include "host/mime/posix_files.h"

#include <QString>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>
#include <vector>

namespace {
// One open descriptor per filesystem that has unsynced files of ours.
std::vector<std::pair<dev_t, UniqueFd>>& Pending() {
    static std::vector<std::pair<dev_t, UniqueFd>> pending;
    return pending;
}

bool DeviceOf(int fd, dev_t& device) {
    struct stat st {};
    if (::fstat(fd, &st) != 0) return false;
    device = st.st_dev;
    return true;
}
} // namespace

void DeferSync(int fd) {
    dev_t device = 0;
    if (!DeviceOf(fd, device)) {
        ::fsync(fd);
        return;
    }
    for (const auto& entry : Pending())
        if (entry.first == device) return;
    UniqueFd copy(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
    if (!copy.valid()) {
        ::fsync(fd);
        return;
    }
    Pending().emplace_back(device, std::move(copy));
}

void DeferFolderSync(const QString& folder) {
    UniqueFd fd(::open(EncodePath(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fd.valid()) DeferSync(fd.get());
}

OpError SyncWithDeferred(int fd) {
    if (::syncfs(fd) != 0) return ErrnoError(errno, QStringLiteral("Cannot sync the file system"));
    dev_t device = 0;
    const bool known = DeviceOf(fd, device);
    OpError error;
    for (const auto& [pendingDevice, pendingFd] : Pending())
        if ((!known || pendingDevice != device) && ::syncfs(pendingFd.get()) != 0 && !error)
            error = ErrnoError(errno, QStringLiteral("Cannot sync the saved attachments"));
    Pending().clear();
    return error;
}

void SyncDeferred() {
    for (const auto& entry : Pending())
        ::syncfs(entry.second.get());
    Pending().clear();
}
