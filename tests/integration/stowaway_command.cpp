#include "stowaway_command.h"

#include "common/ansi.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"

#include <QDirIterator>
#include <QFile>

using namespace Qt::StringLiterals;

QString StowawayCommandTest::program() {
    return QStringLiteral(STOWAWAY_PROGRAM);
}

std::unique_ptr<QProcess> StowawayCommandTest::startStowaway(const QStringList& args) {
    auto process = std::make_unique<QProcess>();
    const QStringList line =
        launcher + QStringList{program(), u"--maildir"_s, root, u"--no-input"_s} + args;
    if (!environment.isEmpty()) {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        for (const QString& entry : environment)
            env.insert(entry.section(u'=', 0, 0), entry.section(u'=', 1));
        process->setProcessEnvironment(env);
    }
    process->setProgram(line.first());
    process->setArguments(line.mid(1));
    process->start();
    EXPECT_TRUE(process->waitForStarted()) << S(process->errorString());
    return process;
}

std::unique_ptr<QProcess> StowawayCommandTest::startAtTerminal(const QStringList& args,
                                                               const QString& workDir) {
    QStringList quoted;
    for (QString a : QStringList{program(), u"--maildir"_s, root} + args)
        quoted << u"'"_s + a.replace(u"'"_s, u"'\\''"_s) + u"'"_s;
    auto process = std::make_unique<QProcess>();
    process->setWorkingDirectory(workDir);
    process->start(u"script"_s, {u"-qec"_s, quoted.join(u' '), u"/dev/null"_s});
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

void StowawayCommandTest::useOnlyRule(const udtRule& rule) {
    useRules({rule});
}

void StowawayCommandTest::useRules(const std::vector<udtRule>& rules) {
    for (const auto& [key, value] : {std::pair{"SWActive", "1"},
                                     {"SWTest", "0"},
                                     {"DoProto", "1"},
                                     {"Notify", "0"},
                                     {"PaceSeconds", "0"},
                                     {"CurrLang", "0"}})
        SaveSetting(QLatin1String(key), QLatin1String(value));
    Rules.assign(rules);
    Rules.changed = true;
    SaveData();
}

QMap<QString, QByteArray> StowawayCommandTest::filesUnder(const QString& dir) {
    QMap<QString, QByteArray> files;
    QDirIterator it(dir, QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        files.insert(QDir(dir).relativeFilePath(path), readFile(path));
    }
    return files;
}

udtRule StowawayCommandTest::SaveAllRule(const QString& target, bool removeAndLink) {
    udtRule rule = MakeRule(u"All attachments"_s, SaveBy::Folder, target, FileExists::Number);
    rule.DelAttach = ToVb(removeAndLink);
    rule.Hyperlink = ToVb(removeAndLink);
    return rule;
}

bool StowawayCommandTest::WaitFor(QProcess& program, const std::function<bool()>& done) {
    for (int i = 0; i < 2400; ++i) {
        if (done()) return true;
        if (program.state() == QProcess::NotRunning) return done();
        program.waitForReadyRead(50);
    }
    return false;
}

QStringList StowawayCommandTest::mailFiles() const {
    QStringList files;
    for (const char* sub : {"/new", "/cur"}) {
        QDirIterator it(root + QLatin1String(sub), QDir::Files | QDir::Hidden);
        while (it.hasNext())
            files << it.next();
    }
    return files;
}

QMultiMap<QString, int> StowawayCommandTest::stampsBySubject() const {
    QMultiMap<QString, int> stamps;
    for (const QString& path : mailFiles()) {
        const QByteArray mail = readFile(path);
        const qsizetype at = mail.indexOf("Subject: ") + 9;
        const QString subject = QString::fromUtf8(mail.mid(at, mail.indexOf('\n', at) - at));
        stamps.insert(subject.trimmed(), int(mail.count("X-Mileage: QWKStowaway")));
    }
    return stamps;
}

bool StowawayCommandTest::stamped(const QString& subject) const {
    return stampsBySubject().values(subject) == QList<int>{1};
}
