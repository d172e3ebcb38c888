#include "dialogs/options/extras_page.h"

#include "addin/extras_run.h"
#include "common/folders.h"
#include "common/lang.h"
#include "data/globals.h"
#include "data/settings.h"
#include "dialogs/icons.h"
#include "dialogs/models/mails_list_model.h"
#include "dialogs/models/mails_tree_model.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/translate.h"
#include "ui/user_interaction.h"

#include <QCheckBox>
#include <QFontDatabase>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

namespace {
QToolButton* FolderButton(QWidget* parent, const QString& name) {
    return PictureButton(parent, name, ThemeIcon({"folder-open", "document-open", "folder"}),
                         QStringLiteral("|Ordner wählen...||Choose folder..."));
}

void Warn(const QString& text) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}

// Marks the flag for the length of a scope.
struct Working {
    explicit Working(bool& flag) : m_flag(flag) { m_flag = true; }
    ~Working() { m_flag = false; }
    bool& m_flag;
};
} // namespace

ExtrasPage::ExtrasPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgExtras"));
    m_list = new MailsListModel(this);
    m_tree = new MailsTreeModel(this);

    lvMails = Named<QTreeView>(this, QStringLiteral("lvMails"),
                               QStringLiteral("Ordner|Nachricht|Von|Anhang|Folder|Mail|From|"
                                              "Attachment"));
    lvMails->setModel(m_list);
    lvMails->setRootIsDecorated(false);
    lvMails->setUniformRowHeights(true);
    lvMails->setAllColumnsShowFocus(true);
    tvMails = Named<QTreeView>(this, QStringLiteral("tvMails"), QString());
    tvMails->setModel(m_tree);
    tvMails->setHeaderHidden(true);
    tvMails->setUniformRowHeights(true);
    // The fixed pitch lines the sizes up.
    tvMails->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    tvMails->hide();
    lblMailsTotals =
        Named<QLabel>(this, QStringLiteral("lblMailsTotals"),
                      QStringLiteral("|Ordner/Nachrichten, Größe||Folders/Mails, Size"));
    btnSaveDoNow = Named<QPushButton>(this, QStringLiteral("btnSaveDoNow"),
                                      QStringLiteral("Ausführen!||Process!|"));
    btnSaveDoNow->setAutoDefault(false);

    connect(tvMails, &QTreeView::clicked, this, [this](const QModelIndex& i) { tvMails_Click(i); });
    connect(btnSaveDoNow, &QPushButton::clicked, this, [this] { btnSaveDoNow_Click(); });

    auto* views = new QGridLayout;
    views->addWidget(lvMails, 0, 0);
    views->addWidget(tvMails, 0, 0);
    auto* bottom = new QHBoxLayout;
    bottom->addWidget(lblMailsTotals, 1);
    bottom->addWidget(btnSaveDoNow);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(buildChoices());
    layout->addLayout(views, 1);
    layout->addLayout(bottom);
}

QGroupBox* ExtrasPage::buildChoices() {
    auto* frame = Named<QGroupBox>(this, QStringLiteral("frSaveAttachm"),
                                   QStringLiteral("Anhänge speichern/auswerten:||Save/analyze "
                                                  "attachments:|"));
    auto* label5 = Named<QLabel>(frame, QStringLiteral("Label5"),
                                 QStringLiteral("Speichern aus:||Save from:|"));
    lblSaveOutlFolder = Named<QLabel>(frame, QStringLiteral("lblSaveOutlFolder"),
                                      QStringLiteral("<Ordner wählen>||<Choose folder>|"));
    lblSaveOutlFolder->setTextFormat(Qt::PlainText);
    btnSaveOutlFolder = FolderButton(frame, QStringLiteral("btnSaveOutlFolder"));
    label5->setBuddy(btnSaveOutlFolder);
    cbSubfolders = Named<QCheckBox>(frame, QStringLiteral("cbSubfolders"),
                                    QStringLiteral("Unterordner einbeziehen||Include subfolders|"));
    static const char* const kModes[] = {"Speichern gemäß Regeln||Save according rules|",
                                         "Speichern in:||Save to:|",
                                         "Übersicht anzeigen||Overview|"};
    for (int i = 0; i < 3; ++i) {
        obSaveMode[i] = Named<QRadioButton>(frame, QStringLiteral("obSaveMode_%1").arg(i),
                                            QString::fromUtf8(kModes[i]));
        connect(obSaveMode[i], &QRadioButton::toggled, this, [this](bool on) {
            if (on) obSaveMode_Click();
        });
    }
    lblSaveToFolder = Named<QLabel>(frame, QStringLiteral("lblSaveToFolder"),
                                    QStringLiteral("<Ordner wählen>||<Choose folder>|"));
    lblSaveToFolder->setTextFormat(Qt::PlainText);
    btnSaveOpenFolder = FolderButton(frame, QStringLiteral("btnSaveOpenFolder"));
    cbOutlStructs = Named<QCheckBox>(
        frame, QStringLiteral("cbOutlStructs"),
        QStringLiteral("Mail-Ordnerstruktur übernehmen||Retain mail folder structure|"));
    cbExtrasDelAttach = Named<QCheckBox>(
        frame, QStringLiteral("cbExtrasDelAttach"),
        QStringLiteral("Anhänge aus Nachrichten löschen||Remove attachments from mails|"));
    cbExtrasHyperlinks =
        Named<QCheckBox>(frame, QStringLiteral("cbExtrasHyperlinks"),
                         QStringLiteral("Hyperlinks einfügen||Insert hyperlinks|"));

    connect(btnSaveOutlFolder, &QToolButton::clicked, this, [this] { btnSaveOutlFolder_Click(); });
    connect(btnSaveOpenFolder, &QToolButton::clicked, this, [this] { btnSaveOpenFolder_Click(); });
    connect(cbSubfolders, &QCheckBox::clicked, this, [this] {
        if (m_outlFolder) InitMailsList();
    });
    connect(cbExtrasDelAttach, &QCheckBox::toggled, this, [this] { m_form.UpdateOBs(); });

    auto* grid = new QGridLayout(frame);
    grid->addWidget(label5, 0, 0);
    grid->addWidget(lblSaveOutlFolder, 0, 1);
    grid->addWidget(btnSaveOutlFolder, 0, 2);
    grid->addWidget(cbSubfolders, 0, 3);
    grid->addWidget(obSaveMode[1], 1, 0);
    grid->addWidget(lblSaveToFolder, 1, 1);
    grid->addWidget(btnSaveOpenFolder, 1, 2);
    grid->addWidget(cbOutlStructs, 1, 3);
    grid->addWidget(cbExtrasDelAttach, 2, 1);
    grid->addWidget(cbExtrasHyperlinks, 2, 3);
    grid->addWidget(obSaveMode[0], 3, 0, 1, 2);
    grid->addWidget(obSaveMode[2], 4, 0, 1, 2);
    grid->setColumnStretch(1, 1);
    return frame;
}

void ExtrasPage::prepare() {
    const bool wasLoading = m_form.bLoading;
    m_form.bLoading = true;
    obSaveMode[2]->setChecked(true);
    m_form.bLoading = wasLoading;
}

void ExtrasPage::updateOBs() {
    const bool toFolder = obSaveMode[1]->isChecked();
    lblSaveToFolder->setEnabled(toFolder);
    btnSaveOpenFolder->setEnabled(toFolder);
    cbOutlStructs->setEnabled(toFolder);
    cbExtrasDelAttach->setEnabled(toFolder);
    cbExtrasHyperlinks->setEnabled(toFolder && cbExtrasDelAttach->isChecked());
    btnSaveDoNow->setEnabled(obSaveMode[0]->isChecked() || toFolder);
}

bool ExtrasPage::overview() const {
    return obSaveMode[2]->isChecked();
}

bool ExtrasPage::busyRefused() {
    if (!m_working) return false;
    ui().beep();
    return true;
}

void ExtrasPage::obSaveMode_Click() {
    m_form.UpdateOBs();
    if (m_form.bLoading) return;
    if (m_outlFolder) InitMailsList();
}

void ExtrasPage::btnSaveOutlFolder_Click() {
    if (busyRefused()) return;
    const QString path = ui().pickMailFolder(
        LangText(QStringLiteral("Ordner wählen..."), QStringLiteral("Choose folder...")));
    if (path.isEmpty()) return;
    const MailFolderPtr folder = FindFolderByPath(path);
    if (!folder) {
        Warn(LangText(QStringLiteral("Ordner ist kein Nachrichtenordner!"),
                      QStringLiteral("Folder is not a mail folder!")));
        return;
    }
    m_outlFolder = folder;
    lblSaveOutlFolder->setText(folder->Name().value);
    lblSaveOutlFolder->setToolTip(GetFolderPath(folder));
    InitMailsList();
}

void ExtrasPage::btnSaveOpenFolder_Click() {
    const QString chosen = ui().browseForFolder(
        LangText(QStringLiteral("Basisordner für die Speicherung der Anhänge wählen:"),
                 QStringLiteral("Choose base folder for saving the attachments:")),
        GetSetting(QStringLiteral("LastPath"), QString()));
    if (chosen.isEmpty()) return;
    lblSaveToFolder->setText(chosen);
    ApplySetting(QStringLiteral("LastPath"), chosen);
}

void ExtrasPage::InitMailsList() {
    if (busyRefused()) return;
    if (!gobjRDOSession()) {
        Warn(LangText(QStringLiteral("Fehler bei Initialisierung des Mail-Speichers: "),
                      QStringLiteral("Error opening the mail store: ")) +
             QStringLiteral("no mail store"));
        return;
    }
    ExtrasListing listing;
    {
        Working working(m_working);
        listing = ListExtrasMails(m_outlFolder, cbSubfolders->isChecked(), &m_form);
    }
    if (overview()) {
        lvMails->hide();
        m_list->clear();
        m_tree->setListing(listing);
        tvMails->setCurrentIndex(m_tree->index(0, 0));
        tvMails->expand(m_tree->index(0, 0));
        tvMails->show();
    } else {
        tvMails->hide();
        m_tree->clear();
        m_list->setRows(std::move(listing.rows));
        lvMails->header()->resizeSections(QHeaderView::ResizeToContents);
        lvMails->setCurrentIndex(m_list->index(0, 0));
        lvMails->show();
    }
    lblMailsTotals->setText(ExtrasTotalsText(listing));
}

void ExtrasPage::tvMails_Click(const QModelIndex& index) {
    const QString tag = index.data(MailsTreeModel::TagRole).toString();
    if (tag.isEmpty()) return; // a folder
    const Result<MailItemPtr> item = GetItemFromTag(tag);
    const OpError error = item.error ? item.error : item.value->Display();
    if (error)
        Warn(LangText(QStringLiteral("Nachricht kann nicht angezeigt werden: "),
                      QStringLiteral("Can't display mail: ")) +
             error.description);
}

void ExtrasPage::btnSaveDoNow_Click() {
    if (busyRefused()) return;
    ExtrasRunOptions options;
    options.sourceFolder = m_outlFolder;
    options.mode = obSaveMode[0]->isChecked()   ? ExtrasMode::ByRules
                   : obSaveMode[1]->isChecked() ? ExtrasMode::ToFolder
                                                : ExtrasMode::Overview;
    options.targetFolder = lblSaveToFolder->text();
    options.keepStructure = cbOutlStructs->isChecked();
    options.delAttach = cbExtrasDelAttach->isChecked();
    options.hyperlinks = cbExtrasHyperlinks->isChecked();
    ExtrasRunSummary summary;
    {
        Working working(m_working);
        // A copy: events pumped during the run must not pull the rows away from under it.
        const std::vector<ExtrasRow> rows = m_list->rows();
        summary = RunExtras(options, rows, &m_form);
    }
    if (!summary.refused) InitMailsList();
}
