// One owner of the data folder: `stowaway watch` holds it, the other commands run inside it
// (their questions asked on their own side), and a killed owner leaves the folder to the next
// command. Real programs, a real Maildir, real sockets.
#include "stowaway_command.h"

#include "addin/data_folder_owner.h"
#include "common/folders.h"
#include "data/data_files.h"
#include "data/globals.h"
#include "data/settings.h"

#include <QDirIterator>
#include <QSet>

using namespace Qt::StringLiterals;

namespace {

class OwnerTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        target = TestEnv::home() + u"/Saved"_s;
        useOnlyRule(SaveAllRule(target));
    }

    // `count` unread mails "<stem> i" in `folder`, each with "<stem>-i.pdf"; their file names.
    QStringList deliverMany(const QString& stem, int count, const QString& relative = {},
                            SampleMailFlags flags = {}) {
        QStringList names;
        for (int i = 1; i <= count; ++i) {
            const QString name = stem + u'-' + QString::number(i) + u".pdf"_s;
            deliver(MailWithFile(stem + u' ' + QString::number(i), name), relative, flags);
            names << name;
        }
        return names;
    }

    std::unique_ptr<QProcess> startWatch() {
        auto watch = startStowaway({u"watch"_s});
        EXPECT_TRUE(WaitFor(*watch, [&] { return watch->peek(4096).contains("Watching"); }))
            << watch->readAllStandardError().toStdString();
        return watch;
    }

    static void finish(QProcess& program, int expectedCode) {
        ASSERT_TRUE(program.waitForFinished(120000));
        EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(program.exitCode(), expectedCode) << program.readAllStandardError().toStdString();
    }

    int stampedMails() const {
        int n = 0;
        for (int count : stampsBySubject())
            n += count > 0;
        return n;
    }

    // The protocol file as the program left it: each saved file's name as often as it is
    // recorded (the names are unique across the targets).
    static QStringList protocolNames() {
        ResetGlobals();
        LoadData([] { return InboxInfo{}; });
        QStringList paths;
        for (int i = 1; i <= ProtoEntries.count(); ++i)
            paths << ProtoEntries[i].Attachment().get();
        return sorted(paths);
    }

    // The command on a terminal of its own (script(1) makes one), typing the next of `answers`
    // at each prompt. The terminal's output comes as `err`.
    CommandResult runOnTerminal(const QStringList& args, const QStringList& answers) {
        QStringList words;
        for (const QString& word : QStringList{program(), u"--maildir"_s, root} + args)
            words << u'\'' + word + u'\'';
        QProcess terminal;
        terminal.start(u"script"_s, {u"-qec"_s, words.join(u' '), u"/dev/null"_s});
        EXPECT_TRUE(terminal.waitForStarted()) << "script(1) is not installed";
        QByteArray seen;
        int typed = 0;
        WaitFor(terminal, [&] {
            seen += terminal.readAll();
            while (typed < answers.size() && seen.count("\n> ") > typed)
                terminal.write(answers.at(typed++).toUtf8() + '\n');
            return false;
        });
        terminal.waitForFinished(60000);
        seen += terminal.readAll();
        CommandResult result;
        result.exitCode = terminal.exitCode();
        result.err = QString::fromUtf8(seen);
        return result;
    }

    static QStringList sorted(QStringList list) {
        list.sort();
        return list;
    }

    QString target;
};

TEST_F(OwnerTest, CommandsBesideTheServiceLoseNothingAndDoNothingTwice) {
    const QString extrasTarget = TestEnv::home() + u"/Extras"_s;
    SampleMailFlags read;
    read.seen = true;
    const QStringList old = deliverMany(u"old"_s, 12, u".Old"_s, read);
    QStringList inbox = deliverMany(u"pre"_s, 6);
    SaveSetting(u"PaceSeconds"_s, u"0.05"_s); // so the runs overlap the deliveries

    const auto watch = startWatch();
    const auto extras = startStowaway({u"extras"_s, u"Old"_s, u"--to"_s, extrasTarget});
    const auto run = startStowaway({u"run"_s});
    SampleMailFlags fresh;
    fresh.inNew = true;
    inbox += deliverMany(u"new"_s, 8, {}, fresh);
    finish(*extras, 0);
    finish(*run, 0);
    ASSERT_TRUE(WaitFor(*watch, [&] { return stampedMails() == inbox.size(); })) << S(logText());
    watch->terminate();
    finish(*watch, 0);

    // Every file once where it belongs: no numbered second copy, nothing missing.
    EXPECT_EQ(sorted(filesUnder(target).keys()), sorted(inbox));
    EXPECT_EQ(sorted(filesUnder(extrasTarget).keys()), sorted(old));
    const auto stamps = stampsBySubject();
    for (auto it = stamps.cbegin(); it != stamps.cend(); ++it)
        EXPECT_EQ(it.value(), 1) << S(it.key());
    // Every saved file is recorded once: the owner kept one protocol for all.
    EXPECT_EQ(protocolNames(), sorted(inbox + old));
}

TEST_F(OwnerTest, AKilledOwnerLeavesTheDataFolderToTheNextCommand) {
    const QStringList inbox = deliverMany(u"pre"_s, 4);
    SaveSetting(u"PaceSeconds"_s, u"2"_s); // the kill lands in the pause after the first mail

    const auto watch = startWatch();
    const auto run = startStowaway({u"run"_s});
    ASSERT_TRUE(WaitFor(*run, [&] { return stampedMails() >= 1; })) << S(logText());
    watch->kill();
    ASSERT_TRUE(watch->waitForFinished(60000));
    finish(*run, 1);
    EXPECT_TRUE(run->readAllStandardError().contains("ended before the command did"));

    // The lock went with the process; its socket file is left behind and does no harm.
    EXPECT_EQ(runStowaway({u"settings"_s, u"PaceSeconds"_s, u"0"_s}).exitCode, 0);
    const CommandResult again = runStowaway({u"run"_s});
    EXPECT_EQ(again.exitCode, 0) << S(again.err);
    EXPECT_FALSE(again.err.contains(u"waiting"_s)) << S(again.err);

    EXPECT_EQ(sorted(filesUnder(target).keys()), sorted(inbox));
    const auto stamps = stampsBySubject();
    for (auto it = stamps.cbegin(); it != stamps.cend(); ++it)
        EXPECT_EQ(it.value(), 1) << S(it.key());
    // The killed owner's last second of records may be gone; none is there twice.
    const QStringList recorded = protocolNames();
    EXPECT_GE(recorded.size(), inbox.size() - 1);
    EXPECT_EQ(QSet<QString>(recorded.begin(), recorded.end()).size(), recorded.size())
        << S(recorded.join(u'\n'));

    // And a new owner can start.
    const auto next = startWatch();
    next->terminate();
    finish(*next, 0);
}

TEST_F(OwnerTest, AForwardedCommandAsksOnTheCallersSideAndNoInputNeverBlocksTheOwner) {
    deliverMany(u"pre"_s, 2);
    const auto watch = startWatch();
    const QString question = u"Testlauf weiter durchführen?"_s;
    // A test run asks before each file. On a terminal the caller's answer decides; with
    // --no-input the caller answers at once.
    struct Row {
        QStringList answers; // typed on the caller's terminal; none: --no-input
        int exitCode;
        int questions;
    } rows[] = {
        {{u"2"_s}, 3, 1}, // "Testlauf abbrechen"
        {{u"1"_s, u"1"_s}, 0, 2},
        {{}, 0, 2},
    };
    for (const Row& row : rows) {
        const CommandResult r = row.answers.isEmpty() ? runStowaway({u"test"_s})
                                                      : runOnTerminal({u"test"_s}, row.answers);
        EXPECT_EQ(r.exitCode, row.exitCode) << S(r.err);
        EXPECT_EQ(r.err.count(question), row.questions) << S(r.err);
    }
    // The owner goes on: new mail is saved, and none of the questions reached its own terminal.
    SampleMailFlags fresh;
    fresh.inNew = true;
    deliver(MailWithFile(u"late"_s, u"late.pdf"_s), {}, fresh);
    EXPECT_TRUE(WaitFor(*watch, [&] { return QFile::exists(target + u"/late.pdf"_s); }))
        << S(logText());
    watch->terminate();
    finish(*watch, 0);
    EXPECT_FALSE(QString::fromUtf8(watch->readAllStandardError()).contains(question));
}

TEST_F(OwnerTest, ASecondServiceNamesTheOwnerAndACallerGoneEndsItsCommandOnly) {
    deliverMany(u"pre"_s, 3);
    SaveSetting(u"PaceSeconds"_s, u"2"_s);
    const auto watch = startWatch();

    const CommandResult second = runStowaway({u"watch"_s});
    EXPECT_EQ(second.exitCode, 2);
    EXPECT_TRUE(second.err.contains(u"owned by process %1 ("_s.arg(watch->processId())))
        << S(second.err);
    EXPECT_TRUE(second.err.contains(u" watch)"_s)) << S(second.err);

    // A caller killed mid-run: its run ends at the next mail, the owner keeps running.
    const auto run = startStowaway({u"run"_s});
    ASSERT_TRUE(WaitFor(*run, [&] { return stampedMails() >= 1; }));
    run->kill();
    run->waitForFinished();
    ASSERT_TRUE(WaitFor(*watch, [&] { return logText().contains(u"! Aborted..."_s); }))
        << S(logText());
    EXPECT_EQ(watch->state(), QProcess::Running);
    EXPECT_EQ(stampedMails(), 1);
    // `settings` reaches the owner's mirror at once: with saving off, a delivery stays alone.
    EXPECT_EQ(runStowaway({u"settings"_s, u"SWActive"_s, u"0"_s}).exitCode, 0);
    SampleMailFlags fresh;
    fresh.inNew = true;
    deliver(MailWithFile(u"ignored"_s, u"ignored.pdf"_s), {}, fresh);
    EXPECT_TRUE(WaitFor(*watch, [&] {
        return logText().contains(u"! ItemAdd/Stowaway is deactivated..."_s);
    })) << S(logText());
    watch->terminate();
    finish(*watch, 0);
    EXPECT_FALSE(QFile::exists(target + u"/ignored.pdf"_s));
}

TEST_F(OwnerTest, TheServiceRefusesAnotherStoreAndCanBeAskedToShowItsOptionsOrToStop) {
    const auto watch = startWatch();
    // A run meant for another store is refused, not carried out on the owner's.
    const QString other = TestEnv::home() + u"/Other"_s;
    for (const char* sub : {"/cur", "/new", "/tmp"})
        QDir().mkpath(other + QLatin1String(sub));
    const CommandResult elsewhere = runStowaway({u"--maildir"_s, other, u"run"_s});
    EXPECT_EQ(elsewhere.exitCode, 2);
    EXPECT_TRUE(elsewhere.err.contains(u"works on the mail store "_s + root)) << S(elsewhere.err);
    EXPECT_EQ(runStowaway({u"--maildir"_s, root + u"/"_s, u"folders"_s}).exitCode, 0);
    // `watch` has no options dialog to show: refused, and it goes on.
    EXPECT_EQ(SendOwnerRequest(GetDataFolder(), OwnerRequestKind::ShowOptions), 1);
    EXPECT_EQ(SendOwnerRequest(GetDataFolder(), OwnerRequestKind::Stop), 0);
    finish(*watch, 0);
    EXPECT_TRUE(watch->readAllStandardOutput().contains("Stopped."));
    EXPECT_TRUE(logText().contains(u"! Shutdown..."_s));
    EXPECT_EQ(SendOwnerRequest(GetDataFolder(), OwnerRequestKind::Stop), -1); // nobody listens
}

} // namespace
