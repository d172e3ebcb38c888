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

class TestGuiProgram : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

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
        SaveSetting(QStringLiteral("DoProto"), QStringLiteral("1"));
        const QString store = TestEnv::home() + QStringLiteral("/Maildir");
        if (maildir)
            for (const char* sub : {"cur", "new", "tmp"})
                QVERIFY(QDir().mkpath(store + QLatin1Char('/') + QLatin1String(sub)));
        QProcess program;
        program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        program.start(QStringLiteral(STOWAWAY_GUI_PROGRAM),
                      {QStringLiteral("--maildir"), store, QStringLiteral("--options")});
        QVERIFY(program.waitForStarted());
        QVERIFY2(WaitForLogLine(waitFor, program), qPrintable(LogLinesWithoutStamps().join('\n')));
        program.terminate(); // SIGTERM
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 0);
        QStringList log = LogLinesWithoutStamps();
        log.removeAll(QString(75, QLatin1Char('^')));
        QVERIFY2(log == lines, qPrintable(log.join('\n')));
    }

    // The running program owns the data folder: a second start shows its dialog and ends, and
    // a command (which could not take the lock) is carried out by it.
    void secondStartAndCommandGoToTheOwner() {
        SaveSetting(QStringLiteral("DoProto"), QStringLiteral("1"));
        const QString store = TestEnv::home() + QStringLiteral("/Maildir");
        for (const char* sub : {"cur", "new", "tmp"})
            QVERIFY(QDir().mkpath(store + QLatin1Char('/') + QLatin1String(sub)));
        const QStringList args{QStringLiteral("--maildir"), store, QStringLiteral("--options")};
        QProcess first;
        first.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        first.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), args);
        QVERIFY(WaitForLogLine(QStringLiteral("Options dialog shown"), first));

        QProcess second;
        second.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), args);
        QVERIFY(second.waitForFinished(30000));
        QCOMPARE(second.exitCode(), 0);
        QVERIFY(WaitForLogLine(QStringLiteral("Options dialog raised"), first));

        QProcess command;
        command.start(QStringLiteral(STOWAWAY_PROGRAM),
                      {QStringLiteral("--maildir"), store, QStringLiteral("rules")});
        QVERIFY(command.waitForFinished(30000));
        QCOMPARE(command.exitCode(), 0);
        QVERIFY(command.readAllStandardOutput().contains("1. "));

        first.terminate();
        QVERIFY(first.waitForFinished(30000));
        QCOMPARE(first.exitCode(), 0);
        QCOMPARE(LogLinesWithoutStamps().count(QStringLiteral("! Shutdown...")), 1);
    }

    void badArgument() {
        QProcess program;
        program.start(QStringLiteral(STOWAWAY_GUI_PROGRAM), {QStringLiteral("--nonsense")});
        QVERIFY(program.waitForFinished(30000));
        QCOMPARE(program.exitCode(), 2);
        QVERIFY(program.readAllStandardError().contains("unknown argument: --nonsense"));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestGuiProgram)
#include "test_gui_program.moc"
