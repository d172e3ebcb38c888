#include "common/exec_prog.h"
#include "recording_ui.h"
#include "support/test_env.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

namespace {
class ExecProg : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        ui.install();
        ASSERT_TRUE(dir.isValid());
    }
    QString path(const QString& name) const { return dir.filePath(name); }

    // Polls until the started program has ended; false if it is still running after a generous
    // bound (a hung child, not a slow one).
    static bool WaitUntilEnded(clsExecProg& exec) {
        for (int i = 0; i < 3000; ++i) {
            if (!exec.IsRunning()) return true;
            QThread::msleep(10);
        }
        return false;
    }

    QTemporaryDir dir;
    RecordingUi ui;
};

TEST_F(ExecProg, StartsAProgramAndSeesItEnd) {
    // The child runs until the test lets it go, so "running" never depends on timing.
    const QString release = path(QStringLiteral("release"));
    clsExecProg exec;
    exec.setProgName(QStringLiteral("/bin/sh"));
    exec.setProgParas(
        QStringLiteral("-c \"while [ ! -e '%1' ]; do sleep 0.02; done\"").arg(release));
    exec.ExecProg();
    ASSERT_FALSE(exec.EPError());
    EXPECT_TRUE(exec.IsRunning());
    EXPECT_TRUE(exec.IsRunning());

    QFile(release).open(QIODevice::WriteOnly);
    EXPECT_TRUE(WaitUntilEnded(exec));
    EXPECT_FALSE(exec.IsRunning());
    EXPECT_FALSE(exec.EPError());
    EXPECT_TRUE(ui.opened.isEmpty());
}

TEST_F(ExecProg, HandsAQuotedPathAsOneArgumentInTheWorkingFolder) {
    // What a rule's application gets: the saved file's full path in double quotes.
    const QString script = path(QStringLiteral("app.sh"));
    {
        QFile f(script);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write("#!/bin/sh\nprintf '%s|%s|%s' \"$#\" \"$1\" \"$(pwd)\" > result.tmp\n"
                "mv result.tmp result.txt\n");
        f.close();
        ASSERT_TRUE(f.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }
    const QString saved = path(QStringLiteral("Invoice März 2026.pdf"));
    clsExecProg exec;
    exec.setProgName(script);
    exec.setProgParas(QLatin1Char('"') + saved + QLatin1Char('"'));
    exec.setWorkDir(dir.path());
    exec.setWinMode(3);
    exec.ExecProg();
    ASSERT_FALSE(exec.EPError());
    ASSERT_TRUE(WaitUntilEnded(exec));

    QFile result(path(QStringLiteral("result.txt")));
    ASSERT_TRUE(result.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(result.readAll()),
              QStringLiteral("1|%1|%2").arg(saved, QDir(dir.path()).canonicalPath()));
}

TEST_F(ExecProg, FailedStartsSetTheError) {
    const QString missing = path(QStringLiteral("no such program"));
    const QString notExecutable = path(QStringLiteral("plain.txt"));
    QFile(notExecutable).open(QIODevice::WriteOnly);
    for (const QString& prog : {missing, notExecutable}) {
        clsExecProg exec;
        exec.setProgName(prog);
        exec.setProgParas(QStringLiteral("\"/tmp/some file.pdf\""));
        exec.ExecProg();
        EXPECT_TRUE(exec.EPError()) << prog.toStdString();
        EXPECT_FALSE(exec.IsRunning());
    }

    clsExecProg inMissingFolder;
    inMissingFolder.setProgName(QStringLiteral("/bin/true"));
    inMissingFolder.setWorkDir(path(QStringLiteral("gone")));
    inMissingFolder.ExecProg();
    EXPECT_TRUE(inMissingFolder.EPError());
}

TEST_F(ExecProg, NothingToStartIsAnError) {
    clsExecProg exec;
    EXPECT_FALSE(exec.IsRunning()); // nothing started yet
    EXPECT_TRUE(exec.EPError());
    exec.ExecProg();
    EXPECT_TRUE(exec.EPError());
    EXPECT_TRUE(ui.opened.isEmpty());
}

TEST_F(ExecProg, ADocumentGoesToTheDesktopAndLeavesNoProcess) {
    const QString doc = path(QStringLiteral("letter.odt"));
    clsExecProg exec;
    exec.setProgParas(doc);
    exec.ExecProg();
    EXPECT_EQ(ui.opened, QStringList{doc});
    EXPECT_FALSE(exec.EPError());
    EXPECT_FALSE(exec.IsRunning());
    EXPECT_TRUE(exec.EPError()); // no process to ask

    ui.openSucceeds = false;
    clsExecProg refused;
    refused.setProgParas(doc);
    refused.ExecProg();
    EXPECT_TRUE(refused.EPError());
}

} // namespace
