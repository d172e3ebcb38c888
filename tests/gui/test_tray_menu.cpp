// The tray's context menu: the product menu with its captions, tags, order and folder buttons.
#include "gui_test.h"

#include "dialogs/product_menu.h"

#include <QMenu>

namespace {
struct MenuRule {
    uint8_t saveBy;
    QString folder;
};

QMenu* SubMenu(QMenu* menu, const QString& name) {
    return menu->findChild<QMenu*>(name);
}
} // namespace

Q_DECLARE_METATYPE(QList<MenuRule>)

class TestTrayMenu : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void folderButtons_data() {
        QTest::addColumn<int>("language");
        QTest::addColumn<QList<MenuRule>>("rules");
        QTest::addColumn<QStringList>("captions");
        QTest::addColumn<QStringList>("tags");
        QTest::newRow("no rules") << 0 << QList<MenuRule>{} << QStringList{"<Keine>"}
                                  << QStringList{"QWKSWDir_0"};
        QTest::newRow("no rules, English")
            << 1 << QList<MenuRule>{} << QStringList{"<None>"} << QStringList{"QWKSWDir_0"};
        QTest::newRow("same folder in other case, listed once")
            << 0 << QList<MenuRule>{{4, "/data/Inv"}, {0, "/data/inv"}, {4, "/x"}}
            << QStringList{"/data/Inv", "/x"} << QStringList{"QWKSWDir_1", "QWKSWDir_3"};
        QTest::newRow("a project's folder")
            << 0 << QList<MenuRule>{{3, "alpha"}, {4, "/x"}}
            << QStringList{"/projects/Alpha/", "/x"} << QStringList{"QWKSWDir_1", "QWKSWDir_2"};
        QTest::newRow("gone project as first rule")
            << 0 << QList<MenuRule>{{3, "Gone"}, {4, "/x"}} << QStringList{"", "/x"}
            << QStringList{"QWKSWDir_1", "QWKSWDir_2"};
        QTest::newRow("gone project keeps the caption before")
            << 0 << QList<MenuRule>{{4, "/x"}, {3, "Gone"}} << QStringList{"/x"}
            << QStringList{"QWKSWDir_1"};
        QTest::newRow("folder with an ampersand")
            << 0 << QList<MenuRule>{{4, "/a & b"}} << QStringList{"/a && b"}
            << QStringList{"QWKSWDir_1"};
    }
    void folderButtons() {
        QFETCH(int, language);
        QFETCH(QList<MenuRule>, rules);
        QFETCH(QStringList, captions);
        QFETCH(QStringList, tags);
        CurrLang = static_cast<uint8_t>(language);
        Rules.clear();
        for (const MenuRule& r : rules) {
            udtRule rule;
            rule.SaveBy = r.saveBy;
            rule.Folder = r.folder;
            Rules.append(rule);
        }
        udtProject project;
        project.Name = QStringLiteral("Alpha");
        project.Folder = QStringLiteral("/projects/Alpha/");
        Projects.assign({project});

        QMenu menu;
        BuildProductMenu(
            menu, [] {}, [] {});
        QMenu* folders = SubMenu(&menu, QStringLiteral("objFoldersPopup"));
        QVERIFY(folders);
        QStringList seenCaptions, seenTags;
        for (const QAction* a : folders->actions()) {
            seenCaptions << a->text();
            seenTags << ActionTag(a);
        }
        QCOMPARE(seenCaptions, captions);
        QCOMPARE(seenTags, tags);
    }

    void structure_data() {
        QTest::addColumn<int>("language");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("German") << 0
                                << QStringList{"Quillworks",
                                               "",
                                               "Beenden",
                                               "Stowaway:SWButton",
                                               "Stowaway-Optionen && Funktionen...:QWKSWOptions",
                                               "",
                                               "Stowaway-Ordner:QWKSWDirs"};
        QTest::newRow("English") << 1
                                 << QStringList{"Quillworks",
                                                "",
                                                "Quit",
                                                "Stowaway:SWButton",
                                                "Stowaway Options && Functions...:QWKSWOptions",
                                                "",
                                                "Stowaway folders:QWKSWDirs"};
    }
    void structure() {
        QFETCH(int, language);
        QFETCH(QStringList, expected);
        CurrLang = static_cast<uint8_t>(language);
        InitAppCaptions();
        QMenu menu;
        int options = 0, quits = 0;
        BuildProductMenu(
            menu, [&] { ++options; }, [&] { ++quits; });
        auto entries = [](const QMenu* m) {
            QStringList out;
            for (const QAction* a : m->actions())
                out << (ActionTag(a).isEmpty() ? a->text()
                                               : a->text() + QLatin1Char(':') + ActionTag(a));
            return out;
        };
        QMenu* family = SubMenu(&menu, QStringLiteral("mnuQuillworks"));
        QMenu* product = SubMenu(&menu, QStringLiteral("mnuProduct"));
        QCOMPARE(entries(&menu) + entries(family) + entries(product), expected);
        product->actions().at(0)->trigger();
        menu.actions().at(2)->trigger();
        QCOMPARE(options, 1);
        QCOMPARE(quits, 1);
    }

    void openRuleFolder_data() {
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("caption");
        QTest::addColumn<QString>("opened");
        QTest::newRow("folder without its trailing separator") << "QWKSWDir_1"
                                                               << "/data/inv/"
                                                               << "/data/inv";
        QTest::newRow("the <None> entry only beeps") << "QWKSWDir_0"
                                                     << "<Keine>"
                                                     << "";
        QTest::newRow("another tag only beeps") << "QWKSWOptions"
                                                << "/data"
                                                << "";
    }
    void openRuleFolder() {
        QFETCH(QString, tag);
        QFETCH(QString, caption);
        QFETCH(QString, opened);
        ScriptedUserInteraction user;
        SetUserInteraction(&user);
        OpenRuleFolder(tag, caption);
        QCOMPARE(user.opened(), opened.isEmpty() ? QStringList{} : QStringList{opened});
        QCOMPARE(user.beeps(), opened.isEmpty() ? 1 : 0);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestTrayMenu)
#include "test_tray_menu.moc"
