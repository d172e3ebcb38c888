// Notifications without a tray: through a notification service on a private session bus, whose
// "Open" action does what the balloon's click does; without a service nothing fails.
#include "gui_test.h"

#include "dialogs/qt_interaction.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QProcess>

// The desktop's notification service, as far as the program uses it.
class FakeNotificationService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
  public:
    QStringList summaries;
    QStringList actions;

  public slots:
    uint Notify(const QString&, uint, const QString&, const QString& summary, const QString&,
                const QStringList& actionList, const QVariantMap&, int) {
        summaries << summary;
        actions = actionList;
        return 7;
    }
};

class TestDesktopNotifier : public GuiTest {
    Q_OBJECT
  private slots:
    void initTestCase() {
        m_daemon.start(u"dbus-daemon"_s, {u"--session"_s, u"--nofork"_s, u"--print-address"_s});
        if (!m_daemon.waitForStarted(5000) || !m_daemon.waitForReadyRead(5000)) return;
        m_address = QString::fromLocal8Bit(m_daemon.readLine().trimmed());
        // The program's session bus is this private one.
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_address.toLocal8Bit());
    }
    void cleanupTestCase() {
        m_daemon.kill();
        m_daemon.waitForFinished();
    }

    void openAction_data() {
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("opened");
        QTest::addColumn<int>("stopBoxes");
        QTest::newRow("a folder opens") << "/data/invoices/"
                                        << "/data/invoices/" << 0;
        QTest::newRow("a blocked file is refused") << "/data/setup.exe"
                                                   << "" << 1;
    }
    void openAction() {
        QFETCH(QString, target);
        QFETCH(QString, opened);
        QFETCH(int, stopBoxes);
        if (m_address.isEmpty()) QSKIP("no dbus-daemon for a private session bus");
        if (!m_bus.isConnected()) {
            m_bus = QDBusConnection::connectToBus(m_address, u"fake-service"_s);
            QVERIFY(m_bus.registerObject(u"/org/freedesktop/Notifications"_s, &m_service,
                                         QDBusConnection::ExportAllSlots));
            QVERIFY(m_bus.registerService(u"org.freedesktop.Notifications"_s));
        }
        BlockedFormats.assign({AddBlockedFormat(u"EXE"_s, {}, false)});

        m_service.summaries.clear();
        QtUserInteraction user;
        TrayNotification n;
        n.title = u"Quillworks Stowaway v2.50 · Neuer Anhang:"_s;
        n.text = u"text"_s;
        n.target = target;
        user.showTrayNotification(n);
        QTRY_COMPARE(m_service.summaries, QStringList{n.title});
        QCOMPARE(m_service.actions.mid(2), (QStringList{"open", "Öffnen"}));
        QDBusMessage signal =
            QDBusMessage::createSignal(u"/org/freedesktop/Notifications"_s,
                                       u"org.freedesktop.Notifications"_s, u"ActionInvoked"_s);
        signal << uint(7) << u"open"_s;
        // The action counts once the reply with the notification's id has come back; until
        // then the program takes it for another program's notification.
        auto answers = [&] { return m_user.opened().size() + int(m_user.questions().size()); };
        for (int tries = 0; tries < 50 && answers() == 0; ++tries) {
            QVERIFY(m_bus.send(signal));
            (void)QTest::qWaitFor([&] { return answers() > 0; }, 200);
        }
        QTest::qWait(100);
        QCOMPARE(answers(), 1);
        QCOMPARE(m_user.opened(), opened.isEmpty() ? QStringList{} : QStringList{opened});
        QCOMPARE(int(m_user.questions().size()), stopBoxes);
        if (stopBoxes) QCOMPARE(m_user.questions().front().icon, 16);
    }

  private:
    QProcess m_daemon;
    QString m_address;
    QDBusConnection m_bus{u"none"_s};
    FakeNotificationService m_service;
};

STOWAWAY_GUI_TEST_MAIN(TestDesktopNotifier)
#include "test_desktop_notifier.moc"
