// `stowaway watch` under a real delivery agent: maildrop drops a mail into new/, the watcher
// hands it to the driver once, later events for the same mail change nothing, and SIGTERM ends
// the program cleanly.
#include "stowaway_command.h"

#include "data/data_files.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"

#include <QDirIterator>
#include <QThread>

namespace {

class WatchDeliveryTest : public StowawayCommandTest {
  protected:
    void SetUp() override {
        StowawayCommandTest::SetUp();
        target = TestEnv::home() + QStringLiteral("/Saved");
        useOnlyRule(SaveAllRule(target));
        filter = TestEnv::home() + QStringLiteral("/mailfilter");
        QFile f(filter);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("to \"" + root.toUtf8() + "/\"\n");
        f.close();
        // maildrop refuses a filter file others may write.
        f.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
    }

    // Delivers through maildrop, as a mail server would.
    void deliverWithMaildrop(const SampleMail& mail) {
        QProcess maildrop;
        maildrop.start(QStringLiteral("maildrop"), {filter});
        ASSERT_TRUE(maildrop.waitForStarted()) << "maildrop is not installed";
        maildrop.write(BuildSampleMail(mail));
        maildrop.closeWriteChannel();
        ASSERT_TRUE(maildrop.waitForFinished(60000));
        ASSERT_EQ(maildrop.exitCode(), 0) << maildrop.readAllStandardError().toStdString();
    }

    QStringList savedFiles() const {
        return QDir(target).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }

    QString target;
    QString filter;
};

TEST_F(WatchDeliveryTest, ADeliveredMailIsProcessedOnceAndTheProgramStopsCleanly) {
    const auto watch = startStowaway({QStringLiteral("watch")});
    // The watchers stand once the program says what it watches.
    ASSERT_TRUE(WaitFor(*watch, [&] { return watch->peek(4096).contains("Watching 1 folder(s)"); }))
        << watch->readAllStandardError().toStdString();

    deliverWithMaildrop(MailWithFile(QStringLiteral("First"), QStringLiteral("first.pdf")));
    ASSERT_TRUE(WaitFor(*watch, [&] {
        return stamped(QStringLiteral("First")) &&
               savedFiles().contains(QStringLiteral("first.pdf"));
    })) << S(logText());
    EXPECT_EQ(savedFiles(), QStringList{QStringLiteral("first.pdf")});

    // Another name for the same mail, as a mail client gives it, raises a new event; then an
    // unrelated mail. Once that one is done, the rename has been looked at too.
    QString first;
    for (const QString& path : mailFiles())
        if (readFile(path).contains("Subject: First")) first = path;
    const QString renamed = root + QStringLiteral("/cur/1700000000.renamed.host:2,");
    ASSERT_TRUE(QFile::rename(first, renamed));
    deliverWithMaildrop(MailWithFile(QStringLiteral("Second"), QStringLiteral("second.pdf")));
    ASSERT_TRUE(WaitFor(*watch, [&] {
        return stamped(QStringLiteral("Second")) &&
               savedFiles().contains(QStringLiteral("second.pdf"));
    })) << S(logText());

    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(60000));
    EXPECT_EQ(watch->exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(watch->exitCode(), 0) << watch->readAllStandardError().toStdString();
    EXPECT_TRUE(watch->readAllStandardOutput().contains("Stopped."));

    EXPECT_EQ(savedFiles(),
              (QStringList{QStringLiteral("first.pdf"), QStringLiteral("second.pdf")}));
    EXPECT_TRUE(QFile::exists(renamed)) << "the renamed mail was saved again";
    const QString log = logText();
    EXPECT_EQ(log.count(QStringLiteral("Attachment saved: ")), 2) << S(log);
    EXPECT_EQ(
        log.count(QStringLiteral("Attachment saved: ") + target + QStringLiteral("/first.pdf")), 1);
    // Its delivery and its new name reached the driver; the store's own rewrite of it did not.
    EXPECT_EQ(log.count(QStringLiteral("ItemAdd/Mail: First/Inbox")), 2) << S(log);
    EXPECT_TRUE(log.contains(QStringLiteral("! Shutdown...")));

    ResetGlobals();
    LoadData([] { return InboxInfo{}; });
    EXPECT_EQ(Rules.count(), 1);
    ASSERT_EQ(ProtoEntries.count(), 2);
    EXPECT_EQ(ProtoEntries[1].Attachment().get(), QStringLiteral("second.pdf"));
    EXPECT_EQ(ProtoEntries[2].Attachment().get(), QStringLiteral("first.pdf"));
    EXPECT_EQ(WatchFolders.count(), 1);
}

TEST_F(WatchDeliveryTest, AtATerminalANotificationIsPrintedAndTheWatchGoesOn) {
    udtRule notifying = SaveAllRule(target);
    notifying.Notify = vbTrue;
    useOnlyRule(notifying);
    SaveSetting(QStringLiteral("Notify"), QStringLiteral("1")); // as a message box: Ok, Open
    const auto watch = startAtTerminal({QStringLiteral("watch")}, TestEnv::home());
    // Its terminal stays open and silent: a question would wait for ever.
    ASSERT_TRUE(
        WaitFor(*watch, [&] { return watch->peek(1 << 16).contains("Watching 1 folder"); }));
    for (const QString& subject : {QStringLiteral("First"), QStringLiteral("Second")}) {
        SampleMailFlags inNew;
        inNew.inNew = true;
        ASSERT_TRUE(
            WriteMailToMaildir(root, MailWithFile(subject, subject + QStringLiteral(".pdf")), inNew)
                .ok());
        ASSERT_TRUE(WaitFor(*watch, [&] {
            return stamped(subject) && savedFiles().contains(subject + QStringLiteral(".pdf"));
        })) << watch->peek(1 << 16).toStdString();
    }
    EXPECT_TRUE(watch->peek(1 << 16).contains("First.pdf")) << watch->peek(1 << 16).toStdString();
    watch->terminate();
    ASSERT_TRUE(watch->waitForFinished(60000));
}

} // namespace
