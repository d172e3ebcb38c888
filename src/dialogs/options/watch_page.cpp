#include "dialogs/options/watch_page.h"

#include "addin/folder_commands.h"
#include "addin/folder_watchers.h"
#include "common/folders.h"
#include "common/text.h"
#include "data/globals.h"
#include "data/settings.h"
#include "data/watch_edits.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/proto_panel.h"
#include "dialogs/options/test_run_buttons.h"
#include "dialogs/translate.h"
#include "ui/user_interaction.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
// A yes/no setting, written at once with its mirror (as `stowaway settings` writes it).
void WriteSwitch(const QString& key, bool on) {
    ApplySetting(key, on ? QStringLiteral("1") : QStringLiteral("0"));
}

void Warn(const QString& text) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}
} // namespace

WatchPage::WatchPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgWatch"));
    cbActive = new QCheckBox(QStringLiteral("Stowaway aktivieren"), this);
    cbActive->setObjectName(QStringLiteral("cbActive"));
    SetTag(cbActive, QStringLiteral("Stowaway aktivieren||Activate Stowaway|"));
    cbTestmode = new QCheckBox(QStringLiteral("Testmodus!"), this);
    cbTestmode->setObjectName(QStringLiteral("cbTestmode"));
    SetTag(cbTestmode, QStringLiteral("Testmodus!||Test mode!|"));
    imgOnOff = new QLabel(this);
    imgOnOff->setObjectName(QStringLiteral("imgOnOff"));
    auto* label6 = new QLabel(QStringLiteral("Letzte Aktion:"), this);
    label6->setObjectName(QStringLiteral("Label6"));
    SetTag(label6, QStringLiteral("Letzte Aktion:||Last action:|"));
    lblLastAction = new QLabel(this);
    lblLastAction->setObjectName(QStringLiteral("lblLastAction"));
    lblLastAction->setTextFormat(Qt::PlainText);
    label6->setBuddy(lblLastAction);

    frFolders = new QGroupBox(this);
    frFolders->setObjectName(QStringLiteral("frFolders"));
    SetTag(frFolders, QStringLiteral("Zu überwachende Ordner:||Folders to be watched:|"));
    lstWatchFolders = new QListWidget(frFolders);
    lstWatchFolders->setObjectName(QStringLiteral("lstWatchFolders"));
    lblFolderPath = new QLabel(frFolders);
    lblFolderPath->setObjectName(QStringLiteral("lblFolderPath"));
    lblFolderPath->setTextFormat(Qt::PlainText);
    auto* btnFolderAdd = PictureButton(frFolders, QStringLiteral("btnFolderAdd"),
                                       ThemeIcon({"folder-new", "list-add"}),
                                       QStringLiteral("|Ordner hinzufügen||Add folder"));
    auto* btnFolderDel = PictureButton(frFolders, QStringLiteral("btnFolderDel"),
                                       ThemeIcon({"list-remove", "edit-delete"}),
                                       QStringLiteral("|Ordner entfernen||Remove folder"));
    proto = new ProtoPanel(m_form, this);

    connect(cbActive, &QCheckBox::toggled, this, [this](bool on) {
        if (m_form.bLoading) return;
        WriteSwitch(QStringLiteral("SWActive"), on);
        m_form.UpdateOBs();
    });
    connect(cbTestmode, &QCheckBox::toggled, this, [this](bool on) {
        m_form.UpdateOBs();
        if (!m_form.bLoading) WriteSwitch(QStringLiteral("SWTest"), on);
    });
    connect(lstWatchFolders, &QListWidget::currentRowChanged, this, [this] {
        if (!m_filling) lstWatchFolders_Click();
    });
    connect(lstWatchFolders, &QListWidget::itemChanged, this,
            [this](QListWidgetItem* item) { lstWatchFolders_ItemCheck(item); });
    connect(btnFolderAdd, &QToolButton::clicked, this, [this] { btnFolderAdd_Click(); });
    connect(btnFolderDel, &QToolButton::clicked, this, [this] { btnFolderDel_Click(); });
    connect(proto, &ProtoPanel::zoomChanged, this,
            [this](bool zoomed) { frFolders->setVisible(!zoomed); });

    auto* switches = new QHBoxLayout;
    switches->addWidget(imgOnOff);
    switches->addWidget(cbActive);
    switches->addSpacing(24);
    switches->addWidget(cbTestmode);
    switches->addStretch(1);
    auto* last = new QHBoxLayout;
    last->addWidget(label6);
    last->addWidget(lblLastAction, 1);
    runRow = new QHBoxLayout;
    runRow->addWidget(testRun = new TestRunButtons(m_form, this));
    runRow->addStretch(1);
    auto* folderButtons = new QVBoxLayout;
    folderButtons->addWidget(btnFolderAdd);
    folderButtons->addWidget(btnFolderDel);
    folderButtons->addStretch(1);
    auto* folders = new QGridLayout(frFolders);
    folders->addWidget(lstWatchFolders, 0, 0);
    folders->addLayout(folderButtons, 0, 1);
    folders->addWidget(lblFolderPath, 1, 0, 1, 2);
    lstWatchFolders->setMaximumHeight(lstWatchFolders->fontMetrics().height() * 5);

    auto* console = new QVBoxLayout;
    console->addLayout(switches);
    console->addLayout(last);
    console->addLayout(runRow);
    console->addStretch(1);
    auto* upper = new QHBoxLayout;
    upper->addLayout(console, 1);
    upper->addWidget(frFolders, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(upper);
    layout->addWidget(proto, 1);
}

void WatchPage::noteProtoFrame() {
    proto->setZoomed(false);
    m_form.fProtoTop = float(proto->y());
    m_form.fProtoHeight = float(proto->height());
}

void WatchPage::fillProtoCombos() {
    proto->fillCombos();
}

void WatchPage::updateOBs() {
    const bool active = cbActive->isChecked(), test = cbTestmode->isChecked();
    const char* picture = active && test ? "Testmode" : active ? "On" : "Off";
    imgOnOff->setProperty("Picture", QString::fromLatin1(picture));
    const QIcon icon = active && test ? ThemeIcon({"dialog-warning"})
                       : active       ? ThemeIcon({"media-playback-start"})
                                      : ThemeIcon({"media-playback-stop", "process-stop"});
    imgOnOff->setPixmap(icon.pixmap(22, 22));
    imgOnOff->setToolTip(active && test ? LangText(QStringLiteral("Aktiv, Testmodus"),
                                                   QStringLiteral("Active, test mode"))
                         : active ? LangText(QStringLiteral("Aktiv"), QStringLiteral("Active"))
                                  : LangText(QStringLiteral("Aus"), QStringLiteral("Off")));
    QFont font = cbTestmode->font();
    font.setBold(test);
    cbTestmode->setFont(font);
    cbTestmode->setStyleSheet(test ? QStringLiteral("color: #ff0000;") : QString());
    cbTestmode->setEnabled(active);
    testRun->setTestCaption(test);
}

void WatchPage::InitProtoList() {
    proto->InitProtoList();
}

void WatchPage::selectProtoEntry(int index) {
    proto->selectProtoEntry(index);
}

void WatchPage::InitWatchFolderList(const QString& path) {
    auto* check = m_form.findChild<QComboBox*>(QStringLiteral("clFoldersCheckRule"));
    m_filling = true;
    lstWatchFolders->clear();
    if (check) check->clear();
    bool matched = false;
    for (int i = 1; i <= WatchFolders.count(); ++i) {
        udtWatchFolder& wf = WatchFolders[static_cast<size_t>(i)];
        const QString name = wf.Name.get();
        wf.Name = name;
        auto* item = new QListWidgetItem(StripAtNull(name));
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(IsTrue(wf.Active) ? Qt::Checked : Qt::Unchecked);
        item->setToolTip(StripAtNull(wf.Path.get()));
        lstWatchFolders->addItem(item);
        if (check) check->addItem(StripAtNull(name));
        if (wf.Path.get().compare(path.trimmed(), Qt::CaseInsensitive) == 0) matched = true;
    }
    lstWatchFolders->setCurrentRow(-1);
    m_filling = false;
    // A matched row is not selected (the index tried is past the end); else the first one is.
    if (!matched && lstWatchFolders->count() > 0) lstWatchFolders->setCurrentRow(0);
    if (check && check->count() > 0) check->setCurrentIndex(0);
}

void WatchPage::lstWatchFolders_Click() {
    const int row = lstWatchFolders->currentRow();
    if (row < 0 || row >= WatchFolders.count()) {
        ui().beep();
        return;
    }
    lblFolderPath->setText(StripAtNull(WatchFolders[static_cast<size_t>(row) + 1].Path.get()));
}

int WatchPage::folderIndex(int row) {
    const int index = row + 1;
    if (index < 1) return 0;
    // A command run by this program meanwhile may have changed the table under the list.
    if (index > WatchFolders.count() ||
        lstWatchFolders->item(row)->text() != WatchFolders[static_cast<size_t>(index)].Name.get()) {
        // Refilled after this event: the row that raised it must outlive its handler.
        ui().beep();
        QMetaObject::invokeMethod(
            this, [this] { InitWatchFolderList(QString()); }, Qt::QueuedConnection);
        return 0;
    }
    return index;
}

void WatchPage::lstWatchFolders_ItemCheck(QListWidgetItem* item) {
    if (m_filling || m_form.bLoading) return;
    const int index = folderIndex(lstWatchFolders->row(item));
    if (index == 0) return;
    const bool on = item->checkState() == Qt::Checked;
    if (IsTrue(WatchFolders[static_cast<size_t>(index)].Active) == on) return;
    if (!on) {
        ui().beep();
        const QString name = WatchFolders[static_cast<size_t>(index)].Name.get();
        if (ui().messageBox(
                LangText(
                    QStringLiteral("Möchten Sie den Ordner '%1' wirklich aus der Überwachung "
                                   "nehmen?")
                        .arg(name),
                    QStringLiteral("Do you really wish to exclude '%1' from watching?").arg(name)),
                MsgButtons::YesNo, MsgIcon::Exclamation, gAppCaption) != MsgAnswer::Yes) {
            m_filling = true;
            item->setCheckState(Qt::Checked);
            m_filling = false;
            return;
        }
    }
    SetWatchFolderActive(index, on);
    SetWatchFolders();
}

void WatchPage::btnFolderAdd_Click() {
    const QString path = ui().pickMailFolder(
        LangText(QStringLiteral("Ordner hinzufügen"), QStringLiteral("Add folder")));
    if (path.isEmpty()) return;
    const MailFolderPtr folder = StoreFolderByPath(path);
    if (!folder) {
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Der Ordner '%1' wurde nicht gefunden.").arg(path),
                                 QStringLiteral("The folder '%1' was not found.").arg(path)),
                        MsgButtons::OK, MsgIcon::None, gAppCaption);
        return;
    }
    const EditResult result = AddWatchedMailFolder(folder);
    if (result.refusal == EditRefusal::Duplicate) {
        lstWatchFolders->setCurrentRow(result.index - 1);
        const QString name = WatchFolders[static_cast<size_t>(result.index)].Name.get();
        Warn(LangText(QStringLiteral("'%1' wird bereits überwacht...").arg(name),
                      QStringLiteral("'%1' is allready watched...").arg(name)));
        return;
    }
    if (!result.ok()) {
        Warn(result.refusal == EditRefusal::Meaningless
                 ? LangText(QStringLiteral("Ordner ist kein Nachrichtenordner!"),
                            QStringLiteral("Folder is not a mail folder!"))
                 : result.message);
        return;
    }
    InitWatchFolderList(GetFolderPath(folder));
}

void WatchPage::btnFolderDel_Click() {
    const int row = lstWatchFolders->currentRow();
    if (row < 0) {
        ui().beep();
        return;
    }
    if (folderIndex(row) == 0) return;
    const QString name = WatchFolders[static_cast<size_t>(row) + 1].Name.get();
    ui().beep();
    if (ui().messageBox(LangText(QStringLiteral("Ordner '%1' wirklich entfernen?").arg(name),
                                 QStringLiteral("Remove folder '%1'?").arg(name)),
                        MsgButtons::YesNo, MsgIcon::Question, gAppCaption) != MsgAnswer::Yes)
        return;
    m_filling = true;
    delete lstWatchFolders->takeItem(row);
    RemoveWatchFolder(row + 1);
    lstWatchFolders->setCurrentRow(-1);
    m_filling = false;
    if (lstWatchFolders->count() > 0)
        lstWatchFolders->setCurrentRow(std::min(row, lstWatchFolders->count() - 1));
    SetWatchFolders();
}
