#include "host/maildir/maildir_names.h"

#include <QDateTime>

#include <algorithm>
#include <atomic>
#include <sys/time.h>
#include <unistd.h>

namespace {

QString SortedFlags(QString flags) {
    std::sort(flags.begin(), flags.end());
    flags.erase(std::unique(flags.begin(), flags.end()), flags.end());
    return flags;
}

// The host part of a unique name: "/" and ":" would break the name, so they are escaped the
// way other Maildir writers do it.
QString HostForUniqueName() {
    char buf[256] = {};
    if (gethostname(buf, sizeof buf - 1) != 0 || buf[0] == '\0') return QStringLiteral("localhost");
    QString host = QString::fromLocal8Bit(buf);
    host.replace(QLatin1Char('/'), QStringLiteral("\\057"));
    host.replace(QLatin1Char(':'), QStringLiteral("\\072"));
    return host;
}

} // namespace

MaildirFileName ParseMaildirFileName(const QString& fileName) {
    MaildirFileName name;
    const qsizetype colon = fileName.indexOf(QLatin1Char(':'));
    name.unique = colon < 0 ? fileName : fileName.left(colon);
    if (colon >= 0 && fileName.mid(colon + 1, 2) == QLatin1String("2,")) {
        name.hasInfo = true;
        // Some writers append their own marks after another comma; only letters are flags.
        QString flags = fileName.mid(colon + 3).section(QLatin1Char(','), 0, 0);
        flags.removeIf([](QChar c) { return !c.isLetter() || c.unicode() > 127; });
        name.flags = SortedFlags(flags);
    }
    return name;
}

QString MaildirUnique(const QString& fileName) {
    const qsizetype colon = fileName.indexOf(QLatin1Char(':'));
    return colon < 0 ? fileName : fileName.left(colon);
}

QString UniqueStem(const QString& unique) {
    return unique.section(QLatin1Char(','), 0, 0);
}

bool MaildirHasFlag(const QString& fileName, QChar flag) {
    const qsizetype colon = fileName.indexOf(QLatin1Char(':'));
    if (colon < 0 || QStringView(fileName).mid(colon + 1, 2) != QLatin1String("2,")) return false;
    for (qsizetype i = colon + 3; i < fileName.size() && fileName.at(i) != QLatin1Char(','); ++i)
        if (fileName.at(i) == flag) return true;
    return false;
}

QString ComposeMaildirFileName(const MaildirFileName& name) {
    if (!name.hasInfo) return name.unique;
    return name.unique + QStringLiteral(":2,") + SortedFlags(name.flags);
}

QString FlagsWith(const QString& flags, QChar flag) {
    return SortedFlags(flags + flag);
}

QString FlagsWithout(const QString& flags, QChar flag) {
    QString rest = flags;
    rest.remove(flag);
    return SortedFlags(rest);
}

QString NewUniqueName() {
    static std::atomic<unsigned> counter{0};
    static const QString host = HostForUniqueName();
    timeval now{};
    gettimeofday(&now, nullptr);
    return QStringLiteral("%1.M%2P%3Q%4.%5")
        .arg(qint64(now.tv_sec))
        .arg(qint64(now.tv_usec))
        .arg(qint64(getpid()))
        .arg(++counter)
        .arg(host);
}
