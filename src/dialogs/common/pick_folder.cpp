#include "dialogs/common/pick_folder.h"

#include "common/lang.h"
#include "dialogs/translate.h"
#include "host/mail_store.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr int kPathRole = Qt::UserRole + 1;
// Deep enough for any real tree, and a stop for a store whose folders loop.
constexpr int kMaxDepth = 64;

void AddFolders(QTreeWidgetItem* parent, const MailFolderPtr& folder, int depth) {
    if (depth > kMaxDepth) return;
    const Result<std::vector<MailFolderPtr>> children = folder->Folders();
    if (children.error) return;
    for (const MailFolderPtr& child : children.value) {
        auto* item = new QTreeWidgetItem(parent, {child->Name().value});
        item->setData(0, kPathRole, GetFolderPath(child, QStringLiteral("|")));
        item->setIcon(0, QIcon::fromTheme(QStringLiteral("folder")));
        AddFolders(item, child, depth + 1);
    }
}
} // namespace

dlgPickFolder::dlgPickFolder(MailSession* session, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("dlgPickFolder"));
    SetTag(this, QStringLiteral("Ordner auswählen|Select folder"));
    m_tree = new QTreeWidget(this);
    m_tree->setObjectName(QStringLiteral("tvFolders"));
    m_tree->setHeaderHidden(true);
    m_tree->setAccessibleName(LangText(QStringLiteral("Ordner"), QStringLiteral("Folders")));
    if (session) {
        const Result<std::vector<MailFolderPtr>> stores = session->Stores();
        for (const MailFolderPtr& store : stores.value) {
            auto* top = new QTreeWidgetItem(m_tree, {store->Name().value});
            top->setIcon(0, QIcon::fromTheme(QStringLiteral("mail-folder-inbox"),
                                             QIcon::fromTheme(QStringLiteral("folder"))));
            top->setFlags(Qt::ItemIsEnabled); // a store is no folder to pick
            AddFolders(top, store, 0);
        }
    }
    m_tree->expandToDepth(0);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    buttons->button(QDialogButtonBox::Cancel)
        ->setText(LangText(QStringLiteral("Abbrechen"), QStringLiteral("Cancel")));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_tree, &QTreeWidget::itemDoubleClicked, this, [this](QTreeWidgetItem* item) {
        if (item->flags() & Qt::ItemIsSelectable) accept();
    });
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_tree);
    layout->addWidget(buttons);
    resize(360, 420);
    TranslateForm(this);
}

QString dlgPickFolder::chosenPath() const {
    const QTreeWidgetItem* item = m_tree->currentItem();
    return item ? item->data(0, kPathRole).toString() : QString();
}

QString PickMailFolder(const QString& title) {
    dlgPickFolder dialog(gobjRDOSession());
    if (!title.isEmpty()) dialog.setWindowTitle(title);
    return dialog.exec() == QDialog::Accepted ? dialog.chosenPath() : QString();
}
