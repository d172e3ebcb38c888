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
    // Newest first; the table grows at the front and no record moves.
    ProtoEntries.prepend(entry);
    // The caller's record was built field by field; the kept copy takes only what it needs.
    ProtoEntries[1].texts.squeeze();
    ProtoEntries.changed = true;

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
    for (udtBlockedFormat& row : BlockedFormats) {
        row.Extension = row.Extension.get(); // trimmed and stored back, which pads it again
        if (row.Extension.get() == ext && IsTrue(row.Active)) return true;
    }
    return false;
}

QString GetProjectFolder(const QString& name) {
    const QString wanted = VbTrim(name);
    for (const udtProject& p : Projects) {
        if (p.Name.get().compare(wanted, Qt::CaseInsensitive) == 0)
            return AddBackslash(p.Folder.get());
    }
    return {};
}
