#include "dialogs/options/search_page.h"

#include "addin/extras_run.h"
#include "common/dates.h"
#include "common/file_icons.h"
#include "common/files.h"
#include "common/find_files.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/mail_program.h"
#include "common/paths.h"
#include "common/shell.h"
#include "common/vbstring.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "data/saved_files.h"
#include "dialogs/icons.h"
#include "dialogs/models/found_files_model.h"
#include "dialogs/models/proto_model.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/translate.h"
#include "ui/user_interaction.h"

#include <QDir>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QToolButton>
#include <QTreeView>
#include <QVBoxLayout>

#include <algorithm>

namespace {
void Warn(const QString& text, MsgIcon icon = MsgIcon::Exclamation) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, icon, gAppCaption);
}

// The busy pointer over the form for the length of a scope.
struct Busy {
    explicit Busy(frmStowaway& form) : m_form(form) { m_form.setBusy(true); }
    ~Busy() { m_form.setBusy(false); }
    frmStowaway& m_form;
};
} // namespace

SearchPage::SearchPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgSearch"));
    m_files = new FoundFilesModel(this);

    auto* label2 =
        Named<QLabel>(this, QStringLiteral("Label2"), QStringLiteral("Suchen:||Search:|"));
    txtSearch = Named<QLineEdit>(this, QStringLiteral("txtSearch"));
    label2->setBuddy(txtSearch);
    btnSearch =
        PictureButton(this, QStringLiteral("btnSearch"), ThemeIcon({"edit-find", "system-search"}));
    btnSearchBack = PictureButton(this, QStringLiteral("btnSearchBack"),
                                  ThemeIcon({"go-previous", "edit-undo"}));
    btnSearchBack->setEnabled(false);
    btnSearchRefresh = PictureButton(this, QStringLiteral("btnSearchRefresh"),
                                     ThemeIcon({"view-refresh", "reload"}),
                                     QStringLiteral("|Aktualisieren||Refresh"));

    lvFiles = Named<QTreeView>(this, QStringLiteral("lvFiles"),
                               QStringLiteral("Dateiname|Datum|Größe|Filename|Date|Size"));
    lvFiles->setModel(m_files);
    lvFiles->setRootIsDecorated(false);
    lvFiles->setUniformRowHeights(true);
    lvFiles->setAllColumnsShowFocus(true);
    lvFiles->header()->setStretchLastSection(false);
    lvFiles->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    lstFoundFiles = Named<QListWidget>(this, QStringLiteral("lstFoundFiles"));
    lstFoundFiles->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lstFoundFiles->setUniformItemSizes(true);
    lstFoundFiles->hide();

    imgSearchFileFormat = Named<QLabel>(this, QStringLiteral("imgSearchFileFormat"));
    imgSearchFileFormat->setFixedSize(20, 20);
    for (int i = 0; i < 4; ++i) {
        lblSearchFileInfos[i] = Named<QLabel>(this, QStringLiteral("lblSearchFileInfos_%1").arg(i));
        lblSearchFileInfos[i]->setTextFormat(Qt::PlainText);
        lblSearchFileInfos[i]->setMinimumWidth(120);
        lblSearchFileInfos[i]->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    }
    // Three dates do not fit beside the buttons in one line.
    lblSearchFileInfos[3]->setWordWrap(true);

    connect(txtSearch, &QLineEdit::returnPressed, this, [this] { btnSearch_Click(); });
    connect(btnSearch, &QToolButton::clicked, this, [this] { btnSearch_Click(); });
    connect(btnSearchBack, &QToolButton::clicked, this, [this] { btnSearchBack_Click(); });
    connect(btnSearchRefresh, &QToolButton::clicked, this, [this] { btnSearchRefresh_Click(); });
    connect(lvFiles->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this] { lvFiles_Click(); });
    connect(lvFiles, &QTreeView::doubleClicked, this,
            [this](const QModelIndex& i) { lvFiles_DblClick(i); });
    connect(lstFoundFiles, &QListWidget::currentRowChanged, this, [this] { lvFiles_Click(); });
    connect(lstFoundFiles, &QListWidget::itemDoubleClicked, this,
            [this] { btnSearchView_Click(); });

    auto* searchRow = new QHBoxLayout;
    searchRow->addWidget(label2);
    searchRow->addWidget(txtSearch, 1);
    searchRow->addWidget(btnSearch);
    searchRow->addWidget(btnSearchBack);
    searchRow->addWidget(btnSearchRefresh);
    auto* views = new QGridLayout;
    views->addWidget(lvFiles, 0, 0);
    views->addWidget(lstFoundFiles, 0, 0);
    auto* facts = new QGridLayout;
    facts->addWidget(imgSearchFileFormat, 0, 0);
    // The path, its size, its dates, then what the protocol knows of it.
    facts->addWidget(lblSearchFileInfos[0], 0, 1);
    facts->addWidget(buildButtons(), 0, 2);
    facts->addWidget(lblSearchFileInfos[2], 1, 1, 1, 2);
    facts->addWidget(lblSearchFileInfos[3], 2, 1, 1, 2);
    facts->addWidget(lblSearchFileInfos[1], 3, 1, 1, 2);
    facts->setColumnStretch(1, 1);
    auto* right = new QVBoxLayout;
    right->addLayout(searchRow);
    right->addLayout(views, 1);
    right->addLayout(facts);
    auto* layout = new QHBoxLayout(this);
    layout->addWidget(buildFolders(), 2);
    layout->addLayout(right, 5);
}

QGroupBox* SearchPage::buildFolders() {
    auto* frame = Named<QGroupBox>(this, QStringLiteral("frAttchDirs"),
                                   QStringLiteral("Stowaway-Ordner:||Stowaway folder:|"));
    lstStowawayFolders = Named<QListWidget>(frame, QStringLiteral("lstStowawayFolders"));
    // The folder list box that holds the current folder lies under the target folders, out of
    // sight: the user walks through the folders in lvFiles.
    Dir1 = Named<QListWidget>(frame, QStringLiteral("Dir1"));
    Dir1->hide();
    connect(lstStowawayFolders, &QListWidget::currentRowChanged, this,
            [this](int row) { lstStowawayFolders_Click(row); });
    auto* box = new QGridLayout(frame);
    box->addWidget(Dir1, 0, 0);
    box->addWidget(lstStowawayFolders, 0, 0);
    return frame;
}

QWidget* SearchPage::buildButtons() {
    auto* row = new QWidget(this);
    btnSearchOpenFolder = PictureButton(
        row, QStringLiteral("btnSearchOpenFolder"),
        ThemeIcon({"folder-open", "system-file-manager"}),
        QStringLiteral("|Aktuellen Ordner mit Dateimanager öffnen||Open current folder in file "
                       "manager"));
    btnSearchView = PictureButton(row, QStringLiteral("btnSearchView"),
                                  ThemeIcon({"document-open", "document-preview"}));
    btnSearchRenFile = PictureButton(row, QStringLiteral("btnSearchRenFile"),
                                     ThemeIcon({"edit-rename", "document-edit"}),
                                     QStringLiteral("|Umbenennen...||Rename..."));
    btnSearchDelFile =
        PictureButton(row, QStringLiteral("btnSearchDelFile"), ThemeIcon({"edit-delete"}));
    btnSearchSend = PictureButton(row, QStringLiteral("btnSearchSend"),
                                  ThemeIcon({"mail-forward", "mail-send", "mail-message-new"}),
                                  QStringLiteral("|Versenden...||Send to..."));
    connect(btnSearchOpenFolder, &QToolButton::clicked, this,
            [this] { btnSearchOpenFolder_Click(); });
    connect(btnSearchView, &QToolButton::clicked, this, [this] { btnSearchView_Click(); });
    // Renaming and deleting are not offered here: the buttons only say so.
    for (QToolButton* b : {btnSearchRenFile, btnSearchDelFile})
        connect(b, &QToolButton::clicked, this, [] {
            Warn(LangText(QStringLiteral("Keine Datei markiert!"),
                          QStringLiteral("No file selected!")));
        });
    connect(btnSearchSend, &QToolButton::clicked, this, [this] { btnSearchSend_Click(); });
    auto* box = new QHBoxLayout(row);
    box->setContentsMargins(0, 0, 0, 0);
    for (QToolButton* b :
         {btnSearchOpenFolder, btnSearchView, btnSearchRenFile, btnSearchDelFile, btnSearchSend})
        box->addWidget(b);
    return row;
}

void SearchPage::clearFileInfos() {
    // Picture buttons without a caption or a tooltip of their own still need a name.
    btnSearch->setAccessibleName(LangText(QStringLiteral("Suchen"), QStringLiteral("Search")));
    btnSearchBack->setAccessibleName(LangText(QStringLiteral("Zurück"), QStringLiteral("Back")));
    btnSearchView->setAccessibleName(LangText(QStringLiteral("Anzeigen"), QStringLiteral("View")));
    btnSearchDelFile->setAccessibleName(
        LangText(QStringLiteral("Löschen"), QStringLiteral("Delete")));
    for (QLabel* label : lblSearchFileInfos) {
        label->clear();
        label->setToolTip(QString());
    }
    imgSearchFileFormat->clear();
    m_infoPath.clear();
}

void SearchPage::prepare() {
    InitStowawayFolderList();
}

void SearchPage::InitStowawayFolderList() {
    lstStowawayFolders->clear();
    lstStowawayFolders->addItems(StowawayFolderList());
    if (lstStowawayFolders->count() > 0) lstStowawayFolders->setCurrentRow(0);
}

void SearchPage::lstStowawayFolders_Click(int row) {
    if (row < 0) return;
    const QString text = lstStowawayFolders->item(row)->text();
    bool failed = false;
    {
        Busy busy(m_form);
        QString path = text;
        while (!setDir1(path)) {
            failed = true;
            const QString parent = GetParentFolder(path);
            if (parent.isEmpty() || parent == path) break;
            path = parent;
        }
    }
    if (failed && m_form.currentTab() == 2)
        Warn(LangText(QStringLiteral("Mindestens ein Ordner wurde nicht im angegebenen Pfad "
                                     "gefunden:"),
                      QStringLiteral("At least one folder not found in specified path:")) +
                 QLatin1Char('\n') + text + QLatin1Char('\n') +
                 LangText(QStringLiteral("Vermutlich ist der Pfad einer Regel zugeordnet, aber es "
                                         "wurden noch keine Dateien darin gespeichert..."),
                          QStringLiteral("Probably the path is assigned to a rule but 'til now "
                                         "there are no files saved to it...")),
             MsgIcon::None);
}

bool SearchPage::setDir1(const QString& path) {
    const QFileInfo info(path);
    if (path.isEmpty() || !info.isAbsolute() || !info.isDir()) return false;
    m_dir1 = QDir::cleanPath(path);
    // As a folder list box shows it: the folders down to this one, then its subfolders.
    Dir1->clear();
    QStringList above;
    for (QString up = m_dir1; !up.isEmpty(); up = GetParentFolder(up)) {
        above.prepend(up);
        if (GetParentFolder(up) == up) break;
    }
    Dir1->addItems(above);
    Dir1->setCurrentRow(Dir1->count() - 1);
    const QDir dir(m_dir1);
    for (const QString& sub : dir.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name))
        Dir1->addItem(dir.filePath(sub));
    Dir1_Change();
    return true;
}

void SearchPage::Dir1_Change() {
    clearFileInfos();
    m_files->clear();
    Busy busy(m_form);
    QStringList found;
    int files = 0;
    int folders = 0;
    FindFilesAPI(m_dir1, QStringLiteral("*.*"), found, files, folders, false);
    if (found.isEmpty()) return;
    std::sort(found.begin(), found.end());
    m_files->setEntries(found);
    lvFiles->resizeColumnToContents(1);
    lvFiles->resizeColumnToContents(2);
    lvFiles->setCurrentIndex(m_files->index(0, 0));
    lvFiles_Click();
}

bool SearchPage::showingFound() const {
    return !lstFoundFiles->isHidden();
}

void SearchPage::btnSearch_Click() {
    const QString mask = txtSearch->text();
    if (mask.isEmpty()) {
        ui().beep();
        txtSearch->setFocus();
        return;
    }
    QStringList found;
    {
        Busy busy(m_form);
        int files = 0;
        int folders = 0;
        if (!m_dir1.isEmpty()) FindFilesAPI(m_dir1, mask, found, files, folders, true);
    }
    if (found.isEmpty()) {
        Warn(LangText(QStringLiteral("Keine passenden Anhänge gefunden!"),
                      QStringLiteral("No matching attachments found!")));
        txtSearch->setFocus();
        txtSearch->selectAll();
        return;
    }
    lstFoundFiles->clear();
    QStringList paths;
    paths.reserve(found.size());
    for (const QString& text : found)
        paths << ParseFoundEntry(text).path;
    lstFoundFiles->addItems(paths);
    lstFoundFiles->setCurrentRow(0);
    lstFoundFiles->show();
    lvFiles->hide();
    btnSearchBack->setEnabled(true);
    lvFiles_Click();
}

void SearchPage::btnSearchBack_Click() {
    lstFoundFiles->hide();
    lvFiles->show();
    btnSearchBack->setEnabled(false);
}

void SearchPage::btnSearchRefresh_Click() {
    if (showingFound())
        btnSearch_Click();
    else
        Dir1_Change();
}

void SearchPage::lvFiles_Click() {
    clearFileInfos();
    QString path;
    bool upward = false;
    if (showingFound()) {
        if (QListWidgetItem* item = lstFoundFiles->currentItem()) path = item->text();
    } else {
        const FoundEntry entry = m_files->entry(lvFiles->currentIndex().row());
        path = entry.path;
        upward = entry.kind == FoundKind::UpOneDir;
    }
    if (path.isEmpty()) return;
    if (!upward) imgSearchFileFormat->setPixmap(GetFileIcon(257, path).pixmap(16, 16));
    FileFindData data;
    if (GetFileFindData(path, data)) {
        const auto date = [](double d) { return FormatDate(d, QStringLiteral("General Date")); };
        const QString size = LangText(QStringLiteral("Größe: "), QStringLiteral("Size: ")) +
                             FormatThousands(data.size) + QStringLiteral(" Bytes");
        const QString dates =
            LangText(QStringLiteral("Angelegt: "), QStringLiteral("Created: ")) +
            date(data.creationTime) + QStringLiteral(", ") +
            LangText(QStringLiteral("Letzter Zugriff: "), QStringLiteral("Last accessed: ")) +
            date(data.lastAccessTime) + QStringLiteral(", ") +
            LangText(QStringLiteral("Letzte Änderung: "), QStringLiteral("Last edited: ")) +
            date(data.lastWriteTime);
        // The whole line is the path's tooltip; size and dates also stand on lines of their own.
        const QString text = size + QStringLiteral(", ") + dates;
        lblSearchFileInfos[0]->setToolTip(text);
        lblSearchFileInfos[2]->setText(size);
        lblSearchFileInfos[3]->setText(dates);
    }
    lblSearchFileInfos[0]->setText(AdjustedPath(path));
    m_infoPath = path;

    if (GetFileNamePart(path).isEmpty()) return;
    QString line2 =
        LangText(QStringLiteral("Nichts protokolliert..."), QStringLiteral("Nothing recorded..."));
    if (const int32_t index = FindProtoEntry(path); index > 0) {
        m_form.SelectProtoEntry(index);
        const udtProtoEntry& entry = ProtoEntries[size_t(index)];
        QString sender = VbTrim(ProtoText(entry, ProtoField::Sender));
        if (sender.contains(QLatin1Char('('))) {
            lblSearchFileInfos[1]->setToolTip(sender);
            sender = sender.section(QLatin1Char('('), 0, 0).trimmed();
        }
        line2 = IsGerman() ? QStringLiteral("Empfangen am ") +
                                 FormatDate(entry.Date, QStringLiteral("Short Date")) +
                                 QStringLiteral(" von ") + sender
                           : QStringLiteral("Received on ") +
                                 FormatDate(entry.Date, QStringLiteral("Long Date")) +
                                 QStringLiteral(" from ") + sender;
    }
    lblSearchFileInfos[1]->setText(line2);
}

QString SearchPage::AdjustedPath(const QString& path) const {
    const QFontMetrics metrics = lblSearchFileInfos[0]->fontMetrics();
    const int width = lblSearchFileInfos[0]->width();
    if (metrics.horizontalAdvance(path) <= width) return path;
    for (qsizetype part = path.size() / 2 - 2; part > 0; --part) {
        const QString candidate = path.left(part) + QStringLiteral("[...]") + path.right(part);
        if (metrics.horizontalAdvance(candidate) <= width) return candidate;
    }
    return QStringLiteral("[...]");
}

QString SearchPage::viewPath() const {
    QString path = m_infoPath;
    if (path.endsWith(QLatin1String(".."))) {
        path.chop(2);
        path = StripBackslash(path);
    }
    return path;
}

void SearchPage::lvFiles_DblClick(const QModelIndex& index) {
    const FoundEntry entry = m_files->entry(index.row());
    if (entry.kind == FoundKind::UpOneDir) {
        QString path = entry.path;
        path.chop(2);
        setDir1(GetParentFolder(path));
    } else if (entry.kind == FoundKind::Folder) {
        setDir1(entry.path);
    } else {
        btnSearchView_Click();
    }
}

void SearchPage::btnSearchView_Click() {
    const QString path = viewPath();
    if (path.isEmpty()) return;
    const QString ext = GetExtensionUpper(path);
    if (ext.isEmpty()) {
        // Taken for a folder.
        OpenWithShell(path);
    } else if (IsFormatBlocked(ext)) {
        Warn(LangText(QStringLiteral("Dateien dieses Typs sind blockiert und können nicht "
                                     "geöffnet werden!"),
                      QStringLiteral("Files of this type are blocked and can't be opened!")),
             MsgIcon::Stop);
    } else {
        OpenWithShell(path);
    }
}

void SearchPage::btnSearchOpenFolder_Click() {
    const QString path = viewPath();
    if (path.isEmpty()) return;
    OpenWithShell(GetExtensionUpper(path).isEmpty() ? StripBackslash(path)
                                                    : StripBackslash(GetFolderPart(path)));
}

void SearchPage::btnSearchSend_Click() {
    QStringList files;
    if (showingFound()) {
        for (int row = 0; row < lstFoundFiles->count(); ++row)
            if (lstFoundFiles->item(row)->isSelected()) files << lstFoundFiles->item(row)->text();
    } else {
        for (int row = 0; row < m_files->rowCount(); ++row) {
            if (!m_files->isTicked(row)) continue;
            const FoundEntry entry = m_files->entry(row);
            if (entry.kind != FoundKind::File) {
                Warn(LangText(QStringLiteral("Es können nur Dateien versendet werden, keine "
                                             "Ordner..."),
                              QStringLiteral("Only files can be send, not folders...")));
                return;
            }
            files << entry.path;
        }
    }
    if (files.isEmpty()) {
        Warn(LangText(QStringLiteral("Keine Datei(en) markiert!"),
                      QStringLiteral("No file(s) selected!")));
        return;
    }
    const QString problem =
        ComposeMailWithFiles(LangText(QStringLiteral("Weitergeleitete Anhänge..."),
                                      QStringLiteral("Forwarded attachments...")),
                             files);
    if (!problem.isEmpty()) Warn(problem);
}
