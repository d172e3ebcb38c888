// dlgPickFolder: the store's folder tree, and the path of the folder taken.
#include "gui_test.h"

#include "dialogs/common/pick_folder.h"

#include <QPushButton>
#include <QTreeWidget>

class TestPickFolder : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void chosenPath_data() {
        QTest::addColumn<QStringList>("route"); // item texts from the top
        QTest::addColumn<bool>("accept");
        QTest::addColumn<QString>("expected");
        QTest::newRow("a sub-folder")
            << QStringList{"Maildir", "Work", "Sub"} << true << "Maildir|Work|Sub";
        QTest::newRow("the inbox") << QStringList{"Maildir", "Inbox"} << true << "Maildir|Inbox";
        QTest::newRow("the store itself is no folder") << QStringList{"Maildir"} << true << "";
        QTest::newRow("cancelled") << QStringList{"Maildir", "Inbox"} << false << "";
    }
    void chosenPath() {
        QFETCH(QStringList, route);
        QFETCH(bool, accept);
        QFETCH(QString, expected);
        FakeMailSession session;
        FakeFolderPtr store = session.addStore(QStringLiteral("Maildir"), QStringLiteral("/mail"));
        store->addFolder(QStringLiteral("Inbox"));
        store->addFolder(QStringLiteral("Work"))->addFolder(QStringLiteral("Sub"));
        SetMailSession(&session);
        WhenShown<dlgPickFolder>([&](dlgPickFolder* dialog) {
            auto* tree = dialog->findChild<QTreeWidget*>(QStringLiteral("tvFolders"));
            QTreeWidgetItem* item = nullptr;
            for (const QString& text : route) {
                QTreeWidgetItem* parent = item ? item : tree->invisibleRootItem();
                item = nullptr;
                for (int i = 0; i < parent->childCount(); ++i)
                    if (parent->child(i)->text(0) == text) item = parent->child(i);
                if (!item) break;
            }
            if (item) tree->setCurrentItem(item);
            if (accept)
                dialog->accept();
            else
                dialog->reject();
        });
        QCOMPARE(PickMailFolder(QStringLiteral("Ordner")), expected);
        SetMailSession(nullptr);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestPickFolder)
#include "test_pick_folder.moc"
