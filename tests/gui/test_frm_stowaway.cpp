// frmStowaway: the load procedure, the language switch, the status strip, the fixed buttons.
#include "gui_test.h"

#include "engine/notification.h"

#include <QDir>
#include <QFrame>

namespace {
// The sounds beside this test program, as the dialog finds them.
void MakeSounds(const QStringList& names) {
    QDir sounds(SoundsFolder());
    sounds.removeRecursively();
    QDir().mkpath(sounds.path());
    for (const QString& name : names) {
        QFile f(sounds.filePath(name + u".wav"_s));
        QVERIFY(f.open(QIODevice::WriteOnly));
    }
}

// Every text and tooltip of the form's buttons, labels, frames and tabs, and the combo lists.
QStringList AllTexts(QWidget* form) {
    QStringList out{form->windowTitle()};
    for (QWidget* w : form->findChildren<QWidget*>()) {
        QString text;
        if (auto* b = qobject_cast<QAbstractButton*>(w))
            text = b->text();
        else if (auto* l = qobject_cast<QLabel*>(w))
            text = l->text();
        else if (auto* c = qobject_cast<QComboBox*>(w)) {
            QStringList items;
            for (int i = 0; i < c->count(); ++i)
                items << c->itemText(i);
            text = items.join(u',');
        } else if (auto* t = qobject_cast<QTabWidget*>(w)) {
            for (int i = 0; i < t->count(); ++i)
                text += t->tabText(i) + (t->isTabVisible(i) ? u";"_s : u"(hidden);"_s);
        }
        out << w->objectName() + u'=' + text + u'|' + w->toolTip();
    }
    // Raising the current page reorders the children; the texts are what count.
    out.sort();
    return out;
}
struct SettingsWrittenAtOnceRow {
    const char* name;
    QString control;
    QString key;
    QString value;
};
} // namespace

class TestFrmStowaway : public GuiTest {
    Q_OBJECT
  private slots:
    void cleanupTestCase() { QDir(SoundsFolder()).removeRecursively(); }

    void loadWithoutSettings_data() {
        QTest::addColumn<QStringList>("sounds");
        QTest::addColumn<QString>("stored");
        QTest::addColumn<QString>("wave");
        QTest::newRow("Moog 1 is there") << QStringList{"Bell", "Moog 1"} << ""
                                         << "Moog 1";
        QTest::newRow("no sound files") << QStringList{} << ""
                                        << "";
        QTest::newRow("a gone sound falls back to the first")
            << QStringList{"Bell", "Chime"} << "Horn"
            << "Bell";
        QTest::newRow("the stored sound") << QStringList{"Bell", "Chime"} << "Chime"
                                          << "Chime";
    }
    void loadWithoutSettings() {
        QFETCH(QStringList, sounds);
        QFETCH(QString, stored);
        QFETCH(QString, wave);
        MakeSounds(sounds);
        if (!stored.isEmpty()) SaveSetting(u"SoundName"_s, stored);
        frmStowaway& form = open();
        QVERIFY(!form.bLoading);
        QCOMPARE(form.windowTitle(), u" Quillworks Stowaway v2.50"_s);
        QVERIFY(!ctl<QCheckBox>(u"cbActive"_s)->isChecked());
        QVERIFY(ctl<QCheckBox>(u"cbTestmode"_s)->isChecked());
        QVERIFY(ctl<QRadioButton>(u"obNoti_1"_s)->isChecked());
        auto* time = ctl<QComboBox>(u"clSystrayTime"_s);
        QCOMPARE(time->currentText(), u"5"_s);
        QVERIFY(!time->isEnabled()); // only the tray option uses the time
        auto* clWave = ctl<QComboBox>(u"clWave"_s);
        QCOMPARE(clWave->count(), int(sounds.size()));
        QCOMPARE(clWave->currentText(), wave);
        QVERIFY(ctl<QRadioButton>(u"obLanguage_0"_s)->isChecked());
        QVERIFY(!ctl<QCheckBox>(u"cbDoProto"_s)->isChecked());
        QCOMPARE(ctl<QLabel>(u"lblLOGPath"_s)->text(), u"QWKStowaway.txt"_s);
        QCOMPARE(ctl<QLabel>(u"lblLOGPath"_s)->toolTip(), LogFilePath());
        auto* regMain = ctl<QTabWidget>(u"regMain"_s);
        QCOMPARE(regMain->currentIndex(), 0);
        QCOMPARE(regMain->count(), 6);
        for (int i = 0; i < 6; ++i)
            QCOMPARE(regMain->isTabVisible(i), i < 5);
        QCOMPARE(regMain->tabText(3), u"Extras"_s);
        auto* done = ctl<QAbstractButton>(u"btnDone"_s);
        QCOMPARE(done->text() + u'|' + done->toolTip(), u"Schließen| Schließen"_s);
        // The load wrote nothing back.
        QCOMPARE(GetSetting(u"SoundName"_s, u"none"_s), stored.isEmpty() ? u"none"_s : stored);
        QVERIFY(m_user.sounds().isEmpty());
    }

    void languageSwitchTwice_data() {
        QTest::addColumn<int>("start");
        QTest::addColumn<QString>("doneAfterOne");
        QTest::newRow("from German") << 0 << "Close";
        QTest::newRow("from English") << 1 << "Schließen";
    }
    void languageSwitchTwice() {
        QFETCH(int, start);
        QFETCH(QString, doneAfterOne);
        MakeSounds({u"Moog 1"_s, u"Bell"_s});
        frmStowaway& form = open(start);
        ctl<QTabWidget>(u"regMain"_s)->setCurrentIndex(4);
        const QStringList before = AllTexts(&form);
        ctl<QRadioButton>(u"obLanguage_%1"_s.arg(1 - start))->click();
        QCOMPARE(int(CurrLang), 1 - start);
        QCOMPARE(GetSetting(u"CurrLang"_s, QString()), QString::number(1 - start));
        QCOMPARE(ctl<QAbstractButton>(u"btnDone"_s)->text(), doneAfterOne);
        QCOMPARE(ctl<QTabWidget>(u"regMain"_s)->currentIndex(), 0);
        ctl<QTabWidget>(u"regMain"_s)->setCurrentIndex(4);
        ctl<QRadioButton>(u"obLanguage_%1"_s.arg(start))->click();
        QCOMPARE(AllTexts(&form), before);
    }

    void settingsWrittenAtOnce_data() {
        // clang-format off
        Rows<SettingsWrittenAtOnceRow>({
            {"automatic saving on", "cbActive", "SWActive", "1"},
            {"test mode off", "cbTestmode", "SWTest", "0"},
            {"tray notification", "obNoti_2", "Notify", "2"},
            {"no notification", "obNoti_0", "Notify", "0"},
            {"sound off", "cbSound", "NotifySound", "0"},
            {"LOG on", "cbDoProto", "DoProto", "1"},
            {"mark mails at the start", "cbMarkMail", "MarkMail", "1"},
            {"the label beside the mark box", "lblMarkMail", "MarkMail", "1"},
        });
        // clang-format on
    }
    void settingsWrittenAtOnce() {
        QFETCH(SettingsWrittenAtOnceRow, row);
        auto [name, control, key, value] = row;
        // Test mode can be changed only while automatic saving is on.
        if (control == u"cbTestmode"_s) SaveSetting(u"SWActive"_s, "1");
        open();
        QWidget* w = ctl<QWidget>(control);
        if (auto* button = qobject_cast<QAbstractButton*>(w))
            button->click();
        else
            QTest::mouseClick(w, Qt::LeftButton);
        QCOMPARE(GetSetting(key, u"unset"_s), value);
    }

    void statusStrip_data() {
        QTest::addColumn<int>("done");
        QTest::addColumn<int>("total");
        QTest::addColumn<bool>("visible");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<double>("share");
        QTest::newRow("start") << 0 << 0 << true << "" << 0.0;
        QTest::newRow("half") << 5 << 10 << true << "50%" << 0.5;
        QTest::newRow("a third rounds down") << 1 << 3 << true << "33%" << 1.0 / 3;
        QTest::newRow("hidden") << -1 << -1 << false << "" << 0.0;
    }
    void statusStrip() {
        QFETCH(int, done);
        QFETCH(int, total);
        QFETCH(bool, visible);
        QFETCH(QString, caption);
        QFETCH(double, share);
        frmStowaway& form = open();
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        ShowProgress(0, 0, &form);
        ShowSubProgress(0, 0, &form);
        ShowProgress(done, total, &form);
        ShowSubProgress(done, total, &form);
        auto* label = ctl<QLabel>(u"lblStatus"_s);
        auto* bar = ctl<QFrame>(u"rctStatus"_s);
        auto* sub = ctl<QFrame>(u"rctSubStatus"_s);
        QCOMPARE(label->text(), caption);
        QCOMPARE(bar->isVisible(), visible);
        QCOMPARE(sub->isVisible(), visible);
        if (!visible) return;
        QCOMPARE(bar->width(), int(label->width() * share));
        QCOMPARE(bar->height(), label->height());
        QCOMPARE(sub->y(), label->height() / 2);
        QCOMPARE(sub->width(), int(label->width() * share));
    }

    // A screen reader reads each control's text, tooltip or accessible name.
    void controlsAreNamed_data() {
        QTest::addColumn<int>("language");
        QTest::newRow("German") << 0;
        QTest::newRow("English") << 1;
    }
    void controlsAreNamed() {
        QFETCH(int, language);
        frmStowaway& form = open(language);
        QStringList unnamed;
        const QList<QLabel*> labels = form.findChildren<QLabel*>();
        for (QWidget* w : form.findChildren<QWidget*>()) {
            const bool control = qobject_cast<QAbstractButton*>(w) || qobject_cast<QComboBox*>(w) ||
                                 w->objectName().startsWith(u"rct"_s) ||
                                 w->objectName() == u"lblStatus"_s;
            if (!control || w->objectName().isEmpty() || w->objectName().startsWith(u"qt_"_s))
                continue;
            auto* b = qobject_cast<QAbstractButton*>(w);
            const bool buddied = std::any_of(labels.cbegin(), labels.cend(),
                                             [w](QLabel* l) { return l->buddy() == w; });
            if ((b && !b->text().isEmpty()) || !w->toolTip().trimmed().isEmpty() ||
                !w->accessibleName().isEmpty() || buddied)
                continue;
            unnamed << w->objectName();
        }
        QVERIFY2(unnamed.isEmpty(), qPrintable(unnamed.join(' ')));
    }

    void helpWithoutDocumentation() {
        SaveSetting(u"Doku"_s, u"/nowhere/manual.pdf"_s);
        open();
        ctl<QAbstractButton>(u"btnHelp"_s)->click();
        QCOMPARE(int(m_user.questions().size()), 1);
        QCOMPARE(m_user.questions().front().icon, 64);
        QVERIFY(m_user.questions().front().prompt.startsWith(
            u"Die Anleitung wurde nicht gefunden:\n/nowhere/manual.pdf\n\nDas Paket installiert "
            u"sie als /usr/share/doc/stowaway/README.md"_s));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestFrmStowaway)
#include "test_frm_stowaway.moc"
