#include "host/maildir/maildir_watch.h"

#include "data/log.h"
#include "host/maildir/maildir_folder.h"
#include "host/maildir/maildir_names.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QPointer>
#include <QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <sys/inotify.h>
#include <unistd.h>

namespace {

constexpr uint32_t kMailEvents = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE |
                                 IN_CLOSE_WRITE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

} // namespace

MaildirFolderWatch::MaildirFolderWatch(MailFolderPtr folder, std::shared_ptr<MaildirShared> shared,
                                       std::shared_ptr<FolderIndex> index, int inotifyFd, int newWd,
                                       NewMailSource::ItemAddHandler handler,
                                       OwnWriteTest isOwnWrite)
    : m_folder(std::move(folder)), m_shared(std::move(shared)), m_index(std::move(index)),
      m_fd(inotifyFd), m_newWd(newWd), m_handler(std::move(handler)),
      m_isOwnWrite(std::move(isOwnWrite)) {
    m_notifier = new QSocketNotifier(m_fd, QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, [this] { readEvents(); });
}

MaildirFolderWatch::~MaildirFolderWatch() {
    delete m_notifier;
    ::close(m_fd);
    // The index goes with its last watcher; without one the folder is listed at every walk.
    if (m_index.use_count() == 1) m_shared->indexes.remove(m_index->folderDir());
}

void MaildirFolderWatch::fullLook() {
    const Result<std::vector<MailFileEntry>> added = m_index->reload();
    if (!added.ok()) {
        WriteLog(QStringLiteral("! Maildir watch: ") + added.error.description);
        return;
    }
    report(added.value);
}

void MaildirFolderWatch::readEvents() {
    // Each name the events bring, in order, and whether its unique part was in the folder
    // before this batch.
    std::vector<std::pair<QString, QString>> names;
    QHash<QString, bool> knownBefore;
    bool overflow = false;
    alignas(inotify_event) char buffer[64 * 1024];
    for (;;) {
        const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
        if (n <= 0) {
            if (n < 0 && errno == EINTR) continue;
            break;
        }
        for (ssize_t at = 0; at < n;) {
            const auto* e = reinterpret_cast<const inotify_event*>(buffer + at);
            at += ssize_t(sizeof(inotify_event) + e->len);
            if (e->mask & (IN_Q_OVERFLOW | IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED)) {
                overflow = true;
                continue;
            }
            if (e->len == 0 || e->name[0] == '.') continue;
            const QString name = QFile::decodeName(e->name);
            const QString id = MaildirUnique(name);
            if (!knownBefore.contains(id))
                knownBefore.insert(id, m_index->containsId(id) || m_justGone.contains(id));
            names.emplace_back(e->wd == m_newWd ? QStringLiteral("new") : QStringLiteral("cur"),
                               name);
        }
    }
    if (overflow) {
        WriteLog(QStringLiteral("Maildir watch: events lost, looking at the whole folder ") +
                 m_index->folderDir());
        m_justGone.clear();
        fullLook();
        return;
    }
    QSet<QString> gone;
    std::vector<MailFileEntry> added;
    for (const auto& [subdir, name] : names) {
        const QString id = MaildirUnique(name);
        switch (m_index->refresh(subdir, name)) {
        case FolderIndex::Change::Added:
            if (!knownBefore.value(id)) added.push_back(MailFileEntry{subdir, name, {}});
            break;
        case FolderIndex::Change::Removed:
            m_shared->cache.forget(m_index->folderDir() + QLatin1Char('/') + subdir, name);
            gone.insert(id);
            break;
        case FolderIndex::Change::Changed:
        case FolderIndex::Change::None:
            break;
        }
    }
    for (auto it = gone.begin(); it != gone.end();)
        it = m_index->containsId(*it) ? gone.erase(it) : std::next(it);
    m_justGone = std::move(gone);
    report(added);
}

void MaildirFolderWatch::report(const std::vector<MailFileEntry>& files) {
    for (const MailFileEntry& file : files) {
        const QString id = MaildirUnique(file.name);
        if (m_isOwnWrite && m_isOwnWrite(id)) continue;
        const bool queued = std::any_of(m_pending.begin(), m_pending.end(),
                                        [&](const auto& p) { return MaildirUnique(p.name) == id; });
        if (!queued) m_pending.push_back(file);
    }
    deliver();
}

void MaildirFolderWatch::deliver() {
    // The handler pumps events, which can bring more mail: that waits for the outer loop.
    if (m_delivering) return;
    m_delivering = true;
    const QPointer<MaildirFolderWatch> alive(this);
    while (!m_pending.empty()) {
        MailFileEntry file = std::move(m_pending.front());
        m_pending.pop_front();
        // Gone again, or renamed before its turn (then reported under the name it had).
        if (!m_index->find(file.subdir, file.name, file)) continue;
        const auto folder = std::static_pointer_cast<const MaildirFolder>(m_folder);
        m_handler(folder->itemOf(std::move(file)));
        if (!alive) return; // the watchers were rebuilt meanwhile
    }
    m_delivering = false;
}

Result<std::unique_ptr<ItemAddSubscription>>
WatchMaildirFolder(const MailFolderPtr& folder, const std::shared_ptr<MaildirShared>& shared,
                   NewMailSource::ItemAddHandler handler,
                   MaildirFolderWatch::OwnWriteTest isOwnWrite) {
    const auto maildirFolder = std::dynamic_pointer_cast<const MaildirFolder>(folder);
    if (!maildirFolder)
        return {nullptr, OpError::make(ErrNo::Failed, QStringLiteral("Not a Maildir folder"))};
    const QString dir = maildirFolder->directory();
    if (!QFileInfo(dir + QStringLiteral("/new")).isDir())
        return {nullptr,
                OpError::make(ErrNo::NotFound, QStringLiteral("Not a Maildir folder: ") + dir)};
    UniqueFd fd(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!fd.valid())
        return {nullptr, ErrnoError(errno, QStringLiteral("Cannot watch the mail folder ") + dir)};
    int newWd = -1;
    for (const char* sub : {"/new", "/cur"}) {
        const int wd = ::inotify_add_watch(
            fd.get(), EncodePath(dir + QLatin1String(sub)).constData(), kMailEvents);
        // A missing cur/ is made by the first mail that is read; until then new/ is enough.
        if (wd < 0 && !(errno == ENOENT && sub[1] == 'c'))
            return {nullptr,
                    ErrnoError(errno, QStringLiteral("Cannot watch the mail folder ") + dir)};
        if (sub[1] == 'n') newWd = wd;
    }
    std::shared_ptr<FolderIndex> index = shared->index(dir);
    if (!index) {
        index = std::make_shared<FolderIndex>(dir);
        shared->indexes.insert(dir, index);
    }
    // Watching first, then the look: a change in between is seen twice, never missed.
    const Result<std::vector<MailFileEntry>> looked = index->reload();
    if (!looked.ok()) {
        if (index.use_count() == 1) shared->indexes.remove(dir);
        return {nullptr, looked.error};
    }
    auto watch =
        std::make_unique<MaildirFolderWatch>(folder, shared, std::move(index), fd.release(), newWd,
                                             std::move(handler), std::move(isOwnWrite));
    return {std::move(watch), OpError::none()};
}
