#include "data/log.h"

#include "common/ansi.h"
#include "common/folders.h"
#include "data/globals.h"

#include <QDateTime>
#include <QFile>

namespace {
const QString kSeparatorMark = QStringLiteral("^");
const QString kDeleteMark = QStringLiteral("del");

// A message may bring line ends of its own; every one of them becomes CR LF so the file reads
// the same in any editor.
QString WithCrLf(const QString& text) {
    QString out;
    out.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        if (c == QLatin1Char('\n') && (i == 0 || text.at(i - 1) != QLatin1Char('\r')))
            out.append(QLatin1Char('\r'));
        out.append(c);
    }
    return out;
}

QString TimeStamp() {
    return QDateTime::currentDateTime().toString(QStringLiteral("dd.MM.yyyy - hh:mm:ss"));
}
} // namespace

QString LogFilePath() {
    return GetDataFolder() + QStringLiteral("QWKStowaway.txt");
}

void WriteLog(QString& message) {
    if (!message.startsWith(QLatin1Char('!')) && !DoProto) return;
    const QString path = LogFilePath();
    if (message == kDeleteMark) {
        QFile::remove(path);
        return;
    }
    if (message == kSeparatorMark) message = QString(75, QLatin1Char('^')) + QStringLiteral("\r\n");

    // One write per line, so a line is never split by another writer of the same file.
    const QByteArray line =
        ToAnsi(TimeStamp() + QStringLiteral(" - ") + WithCrLf(message)) + "\r\n";
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append))
        return; // the LOG must never disturb the work it describes
    file.write(line);
    file.close();
}

void WriteLog(const QString& message) {
    QString copy = message;
    WriteLog(copy);
}

void WriteLog(const char* message) {
    WriteLog(QString::fromUtf8(message));
}
