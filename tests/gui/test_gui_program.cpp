// The real stowaway-gui: started on a Maildir, it opens its dialog, and SIGTERM ends it cleanly.
#include "gui_test.h"

#include <QProcess>

namespace {
// Waits until the LOG holds `line`.
bool WaitForLogLine(const QString& line, QProcess& program) {
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < 30000) {
        if (LogLinesWithoutStamps().contains(line)) return true;
        if (program.state() == QProcess::NotRunning) return false;
        QTest::qWait(50);
    }
    return false;
}
} // namespace

class TestGuiProgram : public GuiTest {
    Q_OBJECT
  private slots:
    void startAndTerminate_data() {
        QTest::addColumn<bool>("maildir");
        QTest::addColumn<QString>("waitFor");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("a Maildir")
            << true << "Options dialog shown"
            << QStringList{"! Startup Stowaway 2.50...", "Using RDO/MAPIObject...",
                           "FldWrapAdd: Maildir|Inbox", "Options dialog shown", "! Shutdown..."};
        // The start's error box is open when the signal comes: the box ends, the start goes on
        // to its end, and the program ends without entering its event loop.
        QTest::newRow("not a Maildir")
            << false << "! Startup Stowaway 2.50..."
            << QStringList{"! Startup Stowaway 2.50...", "Options dialog shown", "! Shutdown..."};
    }
    void startAndTerminate() {
        QFETCH(bool, maildir);
        QFETCH(QString, waitFor);
        QFETCH(QStringList, lines);
        SaveSetting(u"DoProto"_s, u"1"_s);
        const QString store = TestEnv::home() + u"/Maildir"_s;
        if (maildir)
            for (const char* sub : {"cur", "new", "tmp"})
                QVERIFY(QDir().mkpath(store + u'/' + QLatin1String(sub)));
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QStringLiteral(STOWAWAY_GUI_PROGRAM),
                      {u"--maildir"_s, store, u"--options"_s});
        QVERIFY(program.waitForStarted());
        QVERIFY2(WaitForLogLine(waitFor, program), qPrintable(LogLinesWithoutStamps().join('\n')));
        program.terminate(); // SIGTERM
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QStringList log = LogLinesWithoutStamps();
        log.removeAll(QString(75, u'^'));
        QVERIFY2(log == lines, qPrintable(log.join('\n')));
    }

    // The running program owns the data folder: a second start shows its dialog and ends, and
    // a command (which could not take the lock) is carried out by it.
    void secondStartAndCommandGoToTheOwner() {
        SaveSetting(u"DoProto"_s, u"1"_s);
        const QString store = TestEnv::home() + u"/Maildir"_s;
        for (const char* sub : {"cur", "new", "tmp"})
            QVERIFY(QDir().mkpath(store + u'/' + QLatin1String(sub)));
        const QStringList args{u"--maildir"_s, store, u"--options"_s};
        QProcess first;
        first.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        first.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), args);
        QVERIFY(WaitForLogLine(u"Options dialog shown"_s, first));

        QProcess second;
        second.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), args);
        QVERIFY(second.waitForFinished(30000));
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(WaitForLogLine(u"Options dialog raised"_s, first));

        QProcess command;
        command.start(QStringLiteral(STOWAWAY_PROGRAM), {u"--maildir"_s, store, u"rules"_s});
        QVERIFY(command.waitForFinished(30000));
        QCOMPARE(command.exitCode(), 0);
        QVERIFY(command.readAllStandardOutput().contains("1. "));

        first.terminate();
        QVERIFY(first.waitForFinished(30000));
        QCOMPARE(first.exitCode(), 0);
        QCOMPARE(LogLinesWithoutStamps().count(u"! Shutdown..."_s), 1);
    }

    void badArgument() {
        QProcess program;
        program.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), {u"--nonsense"_s});
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitCode(), 2);
        QVERIFY(program.readAllStandardError().contains("unknown argument: --nonsense"));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestGuiProgram)
#include "test_gui_program.moc"
