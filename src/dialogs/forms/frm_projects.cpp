#include "dialogs/forms/frm_projects.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/shell.h"
#include "common/text.h"
#include "data/globals.h"
#include "data/project_edits.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "ui/user_interaction.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalBlocker>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
QToolButton* Picture(QWidget* parent, const QString& name, const QString& tag, const QIcon& icon) {
    auto* b = Named<QToolButton>(parent, name, tag);
    b->setIcon(icon);
    b->setAutoRaise(true);
    return b;
}

void Warn(const QString& text) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}

// The message of a refused folder: the empty field in the dialog's words, else the reason.
QString FolderRefusal(const EditResult& result) {
    if (result.refusal == EditRefusal::Empty)
        return LangText(QStringLiteral("Feld darf nicht leer sein!"),
                        QStringLiteral("Field can't be empty!"));
    return result.message;
}
} // namespace

frmProjects::frmProjects(const QString& selectName, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmProjects"));
    SetTag(this, QStringLiteral("Projekte:|Projects:"));
    lblProjectsTXT = Named<QLabel>(this, QStringLiteral("lblProjectsTXT"),
                                   QStringLiteral("Projekte:||Projects:|"));
    lstProjects = Named<QListWidget>(this, QStringLiteral("lstProjects"));
    lblProjectsTXT->setBuddy(lstProjects);
    btnProjectAdd = Picture(this, QStringLiteral("btnProjectAdd"),
                            QStringLiteral("|Neues Projekt||Add project"), ThemeIcon({"list-add"}));
    btnProjectEdit = Picture(this, QStringLiteral("btnProjectEdit"),
                             QStringLiteral("|Projekname ändern||Edit project name"),
                             ThemeIcon({"document-edit", "edit-rename"}));
    btnProjectDel = Picture(this, QStringLiteral("btnProjectDel"),
                            QStringLiteral("|Projekt löschen||Delete project"),
                            ThemeIcon({"list-remove", "edit-delete"}));
    lblFolerTXT =
        Named<QLabel>(this, QStringLiteral("lblFolerTXT"), QStringLiteral("Ordner:||Folder:|"));
    txtFolder = Named<QLineEdit>(this, QStringLiteral("txtFolder"));
    lblFolerTXT->setBuddy(txtFolder);
    btnChooseFolder = Picture(this, QStringLiteral("btnChooseFolder"),
                              QStringLiteral("|Ordner wählen...||Choose folder..."),
                              ThemeIcon({"folder-open", "document-open"}));
    btnCheckFolder =
        Named<QPushButton>(this, QStringLiteral("btnCheckFolder"),
                           QStringLiteral("Ordner prüfen/anlegen||Check/create folder|"));
    btnCheckFolder->setAutoDefault(false);
    btnDone =
        Named<QPushButton>(this, QStringLiteral("btnDone"), QStringLiteral("Schließen||Close|"));
    btnDone->setAutoDefault(false);

    connect(lstProjects, &QListWidget::currentRowChanged, this, [this] { lstProjects_Click(); });
    connect(btnProjectAdd, &QToolButton::clicked, this, [this] { btnProjectAdd_Click(); });
    connect(btnProjectEdit, &QToolButton::clicked, this, [this] { btnProjectEdit_Click(); });
    connect(btnProjectDel, &QToolButton::clicked, this, [this] { btnProjectDel_Click(); });
    connect(btnChooseFolder, &QToolButton::clicked, this, [this] { btnChooseFolder_Click(); });
    connect(txtFolder, &QLineEdit::editingFinished, this, [this] { txtFolder_Validate(); });
    connect(btnCheckFolder, &QPushButton::clicked, this, [this] { btnCheckFolder_Click(); });
    connect(btnDone, &QPushButton::clicked, this, &QDialog::accept);

    auto* tools = new QVBoxLayout;
    tools->addWidget(btnProjectAdd);
    tools->addWidget(btnProjectEdit);
    tools->addWidget(btnProjectDel);
    tools->addStretch(1);
    auto* list = new QHBoxLayout;
    list->addWidget(lstProjects, 1);
    list->addLayout(tools);
    auto* folder = new QHBoxLayout;
    folder->addWidget(txtFolder, 1);
    folder->addWidget(btnChooseFolder);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(btnCheckFolder);
    buttons->addStretch(1);
    buttons->addWidget(btnDone);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(lblProjectsTXT);
    layout->addLayout(list, 1);
    layout->addWidget(lblFolerTXT);
    layout->addLayout(folder);
    layout->addLayout(buttons);
    resize(420, 340);

    TranslateForm(this);
    InitProjectsList(selectName);
}

int frmProjects::selected() const {
    const int row = lstProjects->currentRow();
    return row >= 0 && row < Projects.count() ? row + 1 : 0;
}

void frmProjects::InitProjectsList(const QString& selectName) {
    int found = -1;
    {
        const QSignalBlocker block(lstProjects);
        lstProjects->clear();
        for (int i = 1; i <= Projects.count(); ++i) {
            const QString name = Projects[static_cast<size_t>(i)].Name.get();
            lstProjects->addItem(StripAtNull(name));
            if (found < 0 && name.toLower() == selectName.toLower()) found = i - 1;
        }
    }
    if (found < 0 && lstProjects->count() > 0) found = 0;
    lstProjects->setCurrentRow(found);
    lstProjects_Click();
}

void frmProjects::lstProjects_Click() {
    const int index = selected();
    txtFolder->setText(index > 0 ? StripAtNull(Projects[static_cast<size_t>(index)].Folder.get())
                                 : QString());
    txtFolder->setModified(false);
}

void frmProjects::btnProjectAdd_Click() {
    InpBoxExRequest ask;
    ask.prompt = LangText(QStringLiteral("Bitte Bezeichnung für das neue Projekt eingeben:"),
                          QStringLiteral("Please enter description for the new project:"));
    ask.title = gAppCaption;
    ask.defaultText = LangText(QStringLiteral("Neues Projekt"), QStringLiteral("New Project"));
    const QString name = ui().inpBoxEx(ask);
    if (name.isEmpty()) return;
    for (int row = 0; row < lstProjects->count(); ++row) {
        if (lstProjects->item(row)->text().compare(name, Qt::CaseInsensitive) != 0) continue;
        lstProjects->setCurrentRow(row);
        Warn(LangText(QStringLiteral("Ein Projekt '"), QStringLiteral("A project '")) + name +
             LangText(QStringLiteral("' existiert bereits..."),
                      QStringLiteral("' allready existst...")));
        return;
    }
    const EditResult added = AddProject(name, GetSpecialFolder(Csidl::Personal), Overlong::Cut);
    if (!added.ok()) {
        Warn(added.message);
        return;
    }
    InitProjectsList(name);
}

void frmProjects::btnProjectEdit_Click() {
    const int index = selected();
    if (index == 0) return;
    const QString old = Projects[static_cast<size_t>(index)].Name.get();
    InpBoxExRequest ask;
    ask.prompt = LangText(QStringLiteral("Neue Bezeichnung für Projekt '"),
                          QStringLiteral("Enter new description for project '")) +
                 old + LangText(QStringLiteral("' eingeben:"), QStringLiteral("':"));
    ask.title = gAppCaption;
    ask.defaultText = old;
    const QString name = ui().inpBoxEx(ask);
    if (name.isEmpty()) return;
    const EditResult renamed = RenameProject(index, name, Overlong::Cut);
    if (!renamed.ok()) {
        Warn(renamed.message);
        return;
    }
    InitProjectsList(name);
}

void frmProjects::btnProjectDel_Click() {
    const int index = selected();
    if (index == 0) return;
    const QString name = Projects[static_cast<size_t>(index)].Name.get();
    ui().beep();
    const MsgAnswer answer = ui().messageBox(
        LangText(QStringLiteral("Projekt '"), QStringLiteral("Delete project '")) + name +
            LangText(QStringLiteral("' wirklich löschen?"), QStringLiteral("'?")),
        MsgButtons::YesNo, MsgIcon::Question, gAppCaption);
    if (answer != MsgAnswer::Yes) return;
    RemoveProject(index);
    InitProjectsList(QString());
}

void frmProjects::btnChooseFolder_Click() {
    const int index = selected();
    if (index == 0) return;
    const QString folder = ui().browseForFolder(
        LangText(QStringLiteral("Projektordner wählen:"), QStringLiteral("Choose project folder:")),
        ExpandHome(txtFolder->text()));
    if (folder.isEmpty()) return;
    const EditResult set = SetProjectFolder(index, folder, Overlong::Cut);
    if (!set.ok()) {
        Warn(FolderRefusal(set));
        return;
    }
    txtFolder->setText(StripAtNull(Projects[static_cast<size_t>(index)].Folder.get()));
}

void frmProjects::txtFolder_Validate() {
    const int index = selected();
    if (index == 0 || !txtFolder->isModified()) return;
    // "~" is the home folder; the field then shows the folder as it is stored.
    txtFolder->setText(ExpandHome(txtFolder->text()));
    const EditResult set = SetProjectFolder(index, txtFolder->text(), Overlong::Cut);
    if (!set.ok()) {
        Warn(FolderRefusal(set));
        // The field keeps the focus until it holds a folder.
        QTimer::singleShot(0, txtFolder, [this] { txtFolder->setFocus(); });
        return;
    }
    txtFolder->setModified(false);
}

void frmProjects::btnCheckFolder_Click() {
    const QString folder = ExpandHome(txtFolder->text());
    if (folder.isEmpty()) {
        ui().beep();
        return;
    }
    MakePath(folder);
    PlaySystemSound(QStringLiteral("SystemAsterisk"));
}
