#include "stowaway_command.h"

#include "common/ansi.h"
#include "data/log.h"

#include <QFile>

QString StowawayCommandTest::program() {
    return QStringLiteral(STOWAWAY_PROGRAM);
}

std::unique_ptr<QProcess> StowawayCommandTest::startStowaway(const QStringList& args) {
    auto process = std::make_unique<QProcess>();
    process->setProgram(program());
    process->setArguments(
        QStringList{QStringLiteral("--maildir"), root, QStringLiteral("--no-input")} + args);
    process->start();
    EXPECT_TRUE(process->waitForStarted()) << S(process->errorString());
    return process;
}

CommandResult StowawayCommandTest::runStowaway(const QStringList& args) {
    const auto process = startStowaway(args);
    CommandResult result;
    EXPECT_TRUE(process->waitForFinished(300000)) << "stowaway " << S(args.join(' '));
    result.crashed = process->exitStatus() != QProcess::NormalExit;
    result.exitCode = process->exitCode();
    result.out = QString::fromUtf8(process->readAllStandardOutput());
    result.err = QString::fromUtf8(process->readAllStandardError());
    return result;
}

QString StowawayCommandTest::logText() const {
    QFile f(LogFilePath());
    if (!f.open(QIODevice::ReadOnly)) return {};
    return FromAnsi(f.readAll());
}
