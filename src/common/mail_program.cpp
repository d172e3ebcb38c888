#include "common/mail_program.h"

#include "common/lang.h"
#include "ui/user_interaction.h"

#include <QDeadlineTimer>
#include <QProcess>

namespace {
// How long the call waits to hear whether xdg-email could hand the mail over: a mail program
// that was not running yet keeps it waiting as long as that program runs.
constexpr int kWaitMs = 5000;

QString NoMailProgram(const QString& why) {
    return LangText(QStringLiteral("Es ist kein E-Mail-Programm eingerichtet, das die Nachricht "
                                   "öffnen kann (") +
                        why + QStringLiteral(")."),
                    QStringLiteral("No mail program is set up to open the mail (") + why +
                        QStringLiteral(")."));
}
} // namespace

QString ComposeMailWithFiles(const QString& subject, const QStringList& files) {
    QStringList args{QStringLiteral("--subject"), subject};
    for (const QString& file : files)
        args << QStringLiteral("--attach") << file;
    auto* process = new QProcess;
    process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(QStringLiteral("xdg-email"), args);
    if (!process->waitForStarted()) {
        delete process;
        return NoMailProgram(
            QStringLiteral("xdg-email: ") +
            LangText(QStringLiteral("nicht gefunden"), QStringLiteral("not found")));
    }
    const QDeadlineTimer deadline(kWaitMs);
    while (process->state() != QProcess::NotRunning && !deadline.hasExpired()) {
        ProcessPendingEvents();
        process->waitForFinished(20);
    }
    if (process->state() != QProcess::NotRunning) {
        // Still busy with the mail program: it goes on by itself.
        QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
        return {};
    }
    const int code = process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
    delete process;
    if (code == 0) return {};
    return NoMailProgram(
        QStringLiteral("xdg-email: ") +
        (code == 2
             ? LangText(QStringLiteral("Datei nicht gefunden"), QStringLiteral("file not found"))
         : code == 3
             ? LangText(QStringLiteral("kein Programm gefunden"),
                        QStringLiteral("no program found"))
             : LangText(QStringLiteral("Fehler %1"), QStringLiteral("error %1")).arg(code)));
}
