#include "common/exec_prog.h"
#include "fakes/scripted_ui.h"
#include "support/test_env.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
class ExecProg : public FreshState {
  protected:
    void SetUp() override {
        FreshState::SetUp();
        SetUserInteraction(&ui);
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
    ScriptedUserInteraction ui;
};

TEST_F(ExecProg, StartsAProgramAndSeesItEnd) {
    // The child runs until the test lets it go, so "running" never depends on timing.
    const QString release = path(u"release"_s);
    clsExecProg exec;
    EXPECT_FALSE(exec.IsRunning()); // nothing started yet
    exec.setProgName(u"/bin/sh"_s);
    exec.setProgParas(u"-c \"while [ ! -e '%1' ]; do sleep 0.02; done\""_s.arg(release));
    exec.ExecProg();
    ASSERT_FALSE(exec.EPError());
    EXPECT_TRUE(exec.IsRunning());
    EXPECT_TRUE(exec.IsRunning());

    PutFile(release);
    EXPECT_TRUE(WaitUntilEnded(exec));
    EXPECT_FALSE(exec.EPError());
    EXPECT_TRUE(ui.opened().isEmpty());
}

TEST_F(ExecProg, HandsAQuotedPathAsOneArgumentInTheWorkingFolder) {
    // What a rule's application gets: the saved file's full path in double quotes.
    const QString script = path(u"app.sh"_s);
    ASSERT_TRUE(PutFile(script, "#!/bin/sh\nprintf '%s|%s|%s' \"$#\" \"$1\" \"$(pwd)\" > "
                                "result.tmp\nmv result.tmp result.txt\n"));
    ASSERT_TRUE(
        QFile::setPermissions(script, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    const QString saved = path(u"Invoice März 2026.pdf"_s);
    clsExecProg exec;
    exec.setProgName(script);
    exec.setProgParas(QLatin1Char('"') + saved + QLatin1Char('"'));
    exec.setWorkDir(dir.path());
    exec.setWinMode(3);
    exec.ExecProg();
    ASSERT_FALSE(exec.EPError());
    ASSERT_TRUE(WaitUntilEnded(exec));
    EXPECT_EQ(QString::fromUtf8(FileBytes(path(u"result.txt"_s))),
              u"1|%1|%2"_s.arg(saved, QDir(dir.path()).canonicalPath()));
}

TEST_F(ExecProg, WhatCannotStartSetsTheError) {
    PutFile(path(u"plain.txt"_s));
    const struct {
        QString program;
        QString workDir;
    } rows[] = {
        {path(u"no such program"_s), {}},
        {path(u"plain.txt"_s), {}}, // not executable
        {u"/bin/true"_s, path(u"gone"_s)},
        {{}, {}}, // nothing to start
    };
    for (const auto& row : rows) {
        clsExecProg exec;
        if (!row.program.isEmpty()) {
            exec.setProgName(row.program);
            exec.setProgParas(u"\"/tmp/some file.pdf\""_s);
        }
        exec.setWorkDir(row.workDir);
        exec.ExecProg();
        EXPECT_TRUE(exec.EPError()) << row.program.toStdString();
        EXPECT_FALSE(exec.IsRunning());
    }
    EXPECT_TRUE(ui.opened().isEmpty());
}

TEST_F(ExecProg, ADocumentGoesToTheDesktopAndLeavesNoProcess) {
    const QString doc = path(u"letter.odt"_s);
    clsExecProg exec;
    exec.setProgParas(doc);
    exec.ExecProg();
    EXPECT_EQ(ui.opened(), QStringList{doc});
    EXPECT_FALSE(exec.EPError());
    EXPECT_FALSE(exec.IsRunning());
    EXPECT_TRUE(exec.EPError()); // no process to ask

    ui.opens = false;
    clsExecProg refused;
    refused.setProgParas(doc);
    refused.ExecProg();
    EXPECT_TRUE(refused.EPError());
}

} // namespace
