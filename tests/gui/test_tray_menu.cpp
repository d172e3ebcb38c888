// The tray's context menu: the product menu with its captions, tags, order and folder buttons.
#include "gui_test.h"

#include "dialogs/product_menu.h"

namespace {
struct MenuRule {
    uint8_t saveBy;
    QString folder;
};

QMenu* SubMenu(QMenu* menu, const QString& name) {
    return menu->findChild<QMenu*>(name);
}
struct FolderButtonsRow {
    const char* name;
    int language;
    QList<MenuRule> rules;
    QStringList captions;
    QStringList tags;
};
struct StructureRow {
    const char* name;
    int language;
    QStringList expected;
};
struct OpenRuleFolderRow {
    const char* name;
    QString tag;
    QString caption;
    QString opened;
};
} // namespace

Q_DECLARE_METATYPE(QList<MenuRule>)

class TestTrayMenu : public GuiTest {
    Q_OBJECT
  private slots:
    void folderButtons_data() {
        // clang-format off
        Rows<FolderButtonsRow>({
            {"no rules", 0, QList<MenuRule>{}, {"<Keine>"}, {"QWKSWDir_0"}},
            {"no rules, English", 1, QList<MenuRule>{}, {"<None>"}, {"QWKSWDir_0"}},
            {"same folder in other case, listed once", 0,
             QList<MenuRule>{{4, "/data/Inv"}, {0, "/data/inv"}, {4, "/x"}}, {"/data/Inv", "/x"},
             {"QWKSWDir_1", "QWKSWDir_3"}},
            {"a project's folder", 0, QList<MenuRule>{{3, "alpha"}, {4, "/x"}},
             {"/projects/Alpha/", "/x"}, {"QWKSWDir_1", "QWKSWDir_2"}},
            {"gone project as first rule", 0, QList<MenuRule>{{3, "Gone"}, {4, "/x"}}, {"", "/x"},
             {"QWKSWDir_1", "QWKSWDir_2"}},
            {"gone project keeps the caption before", 0, QList<MenuRule>{{4, "/x"}, {3, "Gone"}},
             {"/x"}, {"QWKSWDir_1"}},
            {"folder with an ampersand", 0, QList<MenuRule>{{4, "/a & b"}}, {"/a && b"},
             {"QWKSWDir_1"}},
        });
        // clang-format on
    }
    void folderButtons() {
        QFETCH(FolderButtonsRow, row);
        auto [name, language, rules, captions, tags] = row;
        CurrLang = static_cast<uint8_t>(language);
        Rules.clear();
        for (const MenuRule& r : rules) {
            udtRule rule;
            rule.SaveBy = r.saveBy;
            rule.Folder = r.folder;
            Rules.append(rule);
        }
        Projects.assign({MakeProject(u"Alpha"_s, u"/projects/Alpha/"_s)});

        QMenu menu;
        BuildProductMenu(
            menu, [] {}, [] {});
        QMenu* folders = SubMenu(&menu, u"objFoldersPopup"_s);
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
        // clang-format off
        Rows<StructureRow>({
            {"German", 0,
             {"Quillworks", "", "Beenden", "Stowaway:SWButton",
              "Stowaway-Optionen && Funktionen...:QWKSWOptions", "", "Stowaway-Ordner:QWKSWDirs"}},
            {"English", 1,
             {"Quillworks", "", "Quit", "Stowaway:SWButton",
              "Stowaway Options && Functions...:QWKSWOptions", "", "Stowaway folders:QWKSWDirs"}},
        });
        // clang-format on
    }
    void structure() {
        QFETCH(StructureRow, row);
        auto [name, language, expected] = row;
        CurrLang = static_cast<uint8_t>(language);
        InitAppCaptions();
        QMenu menu;
        int options = 0, quits = 0;
        BuildProductMenu(
            menu, [&] { ++options; }, [&] { ++quits; });
        auto entries = [](const QMenu* m) {
            QStringList out;
            for (const QAction* a : m->actions())
                out << (ActionTag(a).isEmpty() ? a->text() : a->text() + u':' + ActionTag(a));
            return out;
        };
        QMenu* family = SubMenu(&menu, u"mnuQuillworks"_s);
        QMenu* product = SubMenu(&menu, u"mnuProduct"_s);
        QCOMPARE(entries(&menu) + entries(family) + entries(product), expected);
        product->actions().at(0)->trigger();
        menu.actions().at(2)->trigger();
        QCOMPARE(options, 1);
        QCOMPARE(quits, 1);
    }

    void openRuleFolder_data() {
        // clang-format off
        Rows<OpenRuleFolderRow>({
            {"folder without its trailing separator", "QWKSWDir_1", "/data/inv/", "/data/inv"},
            {"the <None> entry only beeps", "QWKSWDir_0", "<Keine>", ""},
            {"another tag only beeps", "QWKSWOptions", "/data", ""},
        });
        // clang-format on
    }
    void openRuleFolder() {
        QFETCH(OpenRuleFolderRow, row);
        auto [name, tag, caption, opened] = row;
        OpenRuleFolder(tag, caption);
        QCOMPARE(m_user.opened(), opened.isEmpty() ? QStringList{} : QStringList{opened});
        QCOMPARE(m_user.beeps(), opened.isEmpty() ? 1 : 0);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestTrayMenu)
#include "test_tray_menu.moc"
