#include "data/protocol.h"

#include "common/paths.h"
#include "common/vbstring.h"
#include "data/data_files.h"
#include "data/globals.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QPointer>
#include <QTimer>

#include <algorithm>

namespace {
constexpr int kSaveDelayMs = 1000;
constexpr int kMaxSaveDelayMs = 30000;
constexpr int kSaveShare = 20; // the delay is at least this many times the last save

QTimer* SaveTimer();

// Saves and sets the delay of the next timed save from how long this one took.
void TimedSaveData() {
    QElapsedTimer took;
    took.start();
    SaveData();
    if (QTimer* timer = SaveTimer())
        timer->setInterval(
            int(std::clamp<qint64>(took.elapsed() * kSaveShare, kSaveDelayMs, kMaxSaveDelayMs)));
}

// The pending save of the protocol; owned by the application object, so it ends with it.
QTimer* SaveTimer() {
    static QPointer<QTimer> timer;
    if (!timer && QCoreApplication::instance()) {
        timer = new QTimer(QCoreApplication::instance());
        timer->setSingleShot(true);
        timer->setInterval(kSaveDelayMs);
        QObject::connect(timer, &QTimer::timeout, [] { TimedSaveData(); });
    }
    return timer;
}
} // namespace

void AddProto(const udtProtoEntry& entry) {
    ProtoEntries.resize(static_cast<size_t>(ProtoCount) + 1);
    // Newest first. The empty element 0 steps forward with the new entry in its place, so the
    // deque grows at the front and no record moves.
    ProtoEntries.front() = entry;
    ProtoEntries.emplace_front();
    ++ProtoCount;
    ProtoChanged = true;

    QTimer* timer = SaveTimer();
    if (!timer) {
        SaveData(); // no event loop to wait for
        return;
    }
    if (!timer->isActive()) timer->start();
}

void FlushProtocol() {
    if (QTimer* timer = SaveTimer()) timer->stop();
    TimedSaveData();
}

bool IsFormatBlocked(const QString& ext) {
    const auto last =
        std::min<qint64>(BlockedCount, static_cast<qint64>(BlockedFormats.size()) - 1);
    for (qint64 i = 1; i <= last; ++i) {
        udtBlockedFormat& row = BlockedFormats[static_cast<size_t>(i)];
        row.Extension = row.Extension.get(); // trimmed and stored back, which pads it again
        if (row.Extension.get() == ext && IsTrue(row.Active)) return true;
    }
    return false;
}

QString GetProjectFolder(const QString& name) {
    const QString wanted = VbTrim(name);
    const auto last = std::min<qint64>(ProjectsCount, static_cast<qint64>(Projects.size()) - 1);
    for (qint64 i = 1; i <= last; ++i) {
        const udtProject& p = Projects[static_cast<size_t>(i)];
        if (p.Name.get().compare(wanted, Qt::CaseInsensitive) == 0)
            return AddBackslash(p.Folder.get());
    }
    return {};
}
