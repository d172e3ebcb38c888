#include "dialogs/forms/dlg_choose_adr.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/shell.h"
#include "data/settings.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "ui/user_interaction.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
constexpr int kAllBooks = -1;
constexpr int kSearchResults = -2;
constexpr int kTagRole = Qt::UserRole;
constexpr int kFileRole = Qt::UserRole + 1;
// Name, address and type apart, so a "|" in a name can't shift them.
constexpr int kAddressRole = Qt::UserRole + 2;
constexpr int kTypeRole = Qt::UserRole + 3;

void Box(const QString& text, MsgIcon icon) {
    ui().messageBox(text, MsgButtons::OK, icon, gAppCaption);
}

QString MailBookName() {
    return LangText(QStringLiteral("Absender und Empfänger der überwachten Ordner"),
                    QStringLiteral("Senders and recipients of the watched folders"));
}
} // namespace

dlgChooseAdr::dlgChooseAdr(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("dlgChooseAdr"));
    SetTag(this, QStringLiteral(" Empfänger wählen:| Choose recipient:"));
    lblAdrBookTxt = Named<QLabel>(this, QStringLiteral("lblAdrBookTxt"),
                                  QStringLiteral("Adressbuch:||Address book:|"));
    clAdrBooks = Named<QComboBox>(this, QStringLiteral("clAdrBooks"));
    lblAdrBookTxt->setBuddy(clAdrBooks);
    btnUpdate =
        Named<QToolButton>(this, QStringLiteral("btnUpdate"),
                           QStringLiteral("|Nach Änderungen neu einlesen||Refresh after changes"));
    btnUpdate->setIcon(ThemeIcon({"view-refresh"}));
    lblSearchTxt =
        Named<QLabel>(this, QStringLiteral("lblSearchTxt"), QStringLiteral("Suchen:||Search:|"));
    txtSearch = Named<QLineEdit>(this, QStringLiteral("txtSearch"),
                                 QStringLiteral("|Suchbegriff eingeben||Enter search criteria"));
    lblSearchTxt->setBuddy(txtSearch);
    btnSearch = Named<QPushButton>(this, QStringLiteral("btnSearch"),
                                   QStringLiteral("Suchen|Suche starten|Search|Start search"));
    btnSearch->setAutoDefault(false);
    lvAdr = Named<QTreeWidget>(this, QStringLiteral("lvAdr"),
                               QStringLiteral("Name|E-Mail-Adresse|Typ|Name|eMail address|Type"));
    lvAdr->setColumnCount(3);
    lvAdr->setRootIsDecorated(false);
    lvAdr->setSelectionBehavior(QAbstractItemView::SelectRows);
    lvAdr->setSortingEnabled(true);
    lvAdr->sortByColumn(0, Qt::AscendingOrder);
    lvAdr->header()->setSectionResizeMode(QHeaderView::Interactive);
    lvAdr->header()->setStretchLastSection(false);
    cbHideInvalids =
        Named<QCheckBox>(this, QStringLiteral("cbHideInvalids"),
                         QStringLiteral("Ungültige ausblenden||Suppress invalid addresses|"));
    btnNew = Named<QPushButton>(this, QStringLiteral("btnNew"), QStringLiteral("Neu...||New...|"));
    btnEdit = Named<QPushButton>(this, QStringLiteral("btnEdit"),
                                 QStringLiteral("Bearbeiten...||Edit...|"));
    btnOK = Named<QPushButton>(this, QStringLiteral("btnOK"), QStringLiteral("OK||OK|"));
    btnCancel =
        Named<QPushButton>(this, QStringLiteral("btnCancel"), QStringLiteral("Abbrechen||Cancel|"));
    for (QPushButton* b : {btnNew, btnEdit, btnCancel})
        b->setAutoDefault(false);

    connect(clAdrBooks, &QComboBox::currentIndexChanged, this, [this] {
        if (!m_loading) clAdrBooks_Click();
    });
    connect(btnUpdate, &QToolButton::clicked, this, [this] { btnUpdate_Click(); });
    connect(btnSearch, &QPushButton::clicked, this, [this] { btnSearch_Click(); });
    connect(txtSearch, &QLineEdit::returnPressed, this, [this] { btnSearch_Click(); });
    connect(lvAdr, &QTreeWidget::itemDoubleClicked, this, [this] { btnOK_Click(); });
    connect(cbHideInvalids, &QCheckBox::clicked, this, [this] { cbHideInvalids_Click(); });
    connect(btnNew, &QPushButton::clicked, this, [this] { btnNew_Click(); });
    connect(btnEdit, &QPushButton::clicked, this, [this] { btnEdit_Click(); });
    connect(btnOK, &QPushButton::clicked, this, [this] { btnOK_Click(); });
    connect(btnCancel, &QPushButton::clicked, this, [this] { btnCancel_Click(); });

    auto* book = new QHBoxLayout;
    book->addWidget(lblAdrBookTxt);
    book->addWidget(clAdrBooks, 1);
    book->addWidget(btnUpdate);
    auto* search = new QHBoxLayout;
    search->addWidget(lblSearchTxt);
    search->addWidget(txtSearch, 1);
    search->addWidget(btnSearch);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cbHideInvalids);
    buttons->addStretch(1);
    buttons->addWidget(btnNew);
    buttons->addWidget(btnEdit);
    buttons->addSpacing(12);
    buttons->addWidget(btnOK);
    buttons->addWidget(btnCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(book);
    layout->addLayout(search);
    layout->addWidget(lvAdr, 1);
    layout->addLayout(buttons);
    resize(620, 420);
}

bool dlgChooseAdr::InitDialog() {
    TranslateForm(this);
    if (!Titletext.isEmpty()) setWindowTitle(Titletext);
    const int typeWidth = 70;
    const int width = lvAdr->viewport()->width() > 200 ? lvAdr->viewport()->width() : 580;
    lvAdr->setColumnWidth(0, (width - typeWidth) / 2);
    lvAdr->setColumnWidth(1, (width - typeWidth) / 2);
    lvAdr->setColumnWidth(2, typeWidth);
    m_books = LoadAddressBooks();
    fillBookList();
    if (clAdrBooks->count() < 3) {
        ui().beep();
        Box(LangText(QStringLiteral("Problem beim Zugriff auf das Adressbuch, bitte Installation "
                                    "und Zugriffsrechte prüfen!"),
                     QStringLiteral("Can't access the address book, please check installation and "
                                    "access rights!")),
            MsgIcon::Exclamation);
    }
    {
        const QSignalBlocker block(cbHideInvalids);
        cbHideInvalids->setChecked(GetBoolSetting(QStringLiteral("DoInvAdr"), QStringLiteral("0")));
    }
    clAdrBooks_Click();
    return true;
}

void dlgChooseAdr::fillBookList() {
    m_loading = true;
    const int keep = clAdrBooks->currentIndex();
    clAdrBooks->clear();
    clAdrBooks->addItem(LangText(QStringLiteral("<Alle>"), QStringLiteral("<All>")), kAllBooks);
    clAdrBooks->addItem(
        LangText(QStringLiteral("<Suchergebnis>"), QStringLiteral("<Search results>")),
        kSearchResults);
    for (size_t i = 0; i < m_books.size(); ++i)
        clAdrBooks->addItem(m_books[i].folder.isEmpty() ? MailBookName() : m_books[i].name,
                            static_cast<int>(i));
    clAdrBooks->setCurrentIndex(keep >= 0 && keep < clAdrBooks->count() ? keep : 0);
    m_loading = false;
}

int dlgChooseAdr::currentBook() const {
    return clAdrBooks->currentData().isValid() ? clAdrBooks->currentData().toInt() : kAllBooks;
}

bool dlgChooseAdr::wanted(const AddressEntry& entry) const {
    if (entry.distList ? !DoDistLists : !DoAdrs) return false;
    return !entry.type.trimmed().toLower().contains(QLatin1String("fax"));
}

void dlgChooseAdr::addRow(const AddressEntry& entry, int number, int count) {
    if (entry.invalid && cbHideInvalids->isChecked()) return;
    auto* item = new QTreeWidgetItem;
    item->setText(0, entry.name);
    item->setIcon(0, entry.distList ? ThemeIcon({"system-users", "user-group-new"})
                                    : ThemeIcon({"avatar-default", "contact-new"}));
    if (entry.invalid) {
        item->setText(1, LangText(QStringLiteral("<Keine>"), QStringLiteral("<None>")));
        item->setText(2, LangText(QStringLiteral("<Ungültig>"), QStringLiteral("<Invalid>")));
        for (int c = 0; c < 3; ++c)
            item->setForeground(c, QColor(Qt::red));
    } else {
        item->setText(1, entry.address);
        item->setText(2, entry.type);
        if (entry.distList) {
            QFont bold = item->font(0);
            bold.setBold(true);
            for (int c = 0; c < 3; ++c) {
                item->setForeground(c, QColor(0, 0, 255));
                item->setFont(c, bold);
            }
        }
    }
    for (int c = 0; c < 3; ++c)
        item->setToolTip(c, QStringLiteral("%1/%2").arg(number).arg(count));
    item->setData(0, kTagRole,
                  entry.name + QLatin1Char('|') + entry.address + QLatin1Char('|') + entry.type);
    item->setData(0, kFileRole, entry.file);
    item->setData(0, kAddressRole, entry.address);
    item->setData(0, kTypeRole, entry.type);
    lvAdr->addTopLevelItem(item);
}

void dlgChooseAdr::clAdrBooks_Click() {
    lvAdr->clear();
    const int book = currentBook();
    btnNew->setEnabled(book != kSearchResults);
    std::vector<const AddressEntry*> rows;
    if (book == kSearchResults) {
        for (const AddressEntry& e : m_hits)
            rows.push_back(&e);
        if (m_hits.empty())
            Box(LangText(QStringLiteral("Keine Suchergebnisse verfügbar..."),
                         QStringLiteral("No search results available...")),
                MsgIcon::Information);
    } else {
        for (size_t i = 0; i < m_books.size(); ++i) {
            if (book != kAllBooks && book != static_cast<int>(i)) continue;
            for (const AddressEntry& e : m_books[i].entries)
                if (wanted(e)) rows.push_back(&e);
        }
    }
    lvAdr->setSortingEnabled(false);
    int number = 0;
    for (const AddressEntry* e : rows)
        addRow(*e, ++number, static_cast<int>(rows.size()));
    lvAdr->setSortingEnabled(true);
    if (lvAdr->topLevelItemCount() > 0) lvAdr->setCurrentItem(lvAdr->topLevelItem(0));
}

void dlgChooseAdr::btnUpdate_Click() {
    m_books = LoadAddressBooks();
    fillBookList();
    clAdrBooks_Click();
}

void dlgChooseAdr::cbHideInvalids_Click() {
    ApplySetting(QStringLiteral("DoInvAdr"),
                 cbHideInvalids->isChecked() ? QStringLiteral("1") : QStringLiteral("0"));
    clAdrBooks_Click();
}

void dlgChooseAdr::btnSearch_Click() {
    const QString term = txtSearch->text().trimmed().toLower();
    if (term.isEmpty()) {
        ui().beep();
        txtSearch->setFocus();
        return;
    }
    m_hits.clear();
    for (const AddressBook& b : m_books)
        for (const AddressEntry& e : b.entries)
            if (wanted(e) &&
                (e.name.toLower().contains(term) || e.address.toLower().contains(term)))
                m_hits.push_back(e);
    const int search = clAdrBooks->findData(kSearchResults);
    if (clAdrBooks->currentIndex() == search)
        clAdrBooks_Click();
    else
        clAdrBooks->setCurrentIndex(search);
    txtSearch->setFocus();
    txtSearch->selectAll();
}

void dlgChooseAdr::selectFile(const QString& file) {
    for (int i = 0; i < lvAdr->topLevelItemCount(); ++i)
        if (lvAdr->topLevelItem(i)->data(0, kFileRole).toString() == file) {
            lvAdr->setCurrentItem(lvAdr->topLevelItem(i));
            return;
        }
}

void dlgChooseAdr::btnNew_Click() {
    const int book = currentBook();
    QString folder;
    if (book >= 0) {
        folder = m_books[static_cast<size_t>(book)].folder;
    } else {
        for (const AddressBook& b : m_books)
            if (!b.folder.isEmpty()) {
                folder = b.folder;
                break;
            }
        if (folder.isEmpty()) folder = QDir::homePath() + QStringLiteral("/.local/share/contacts");
    }
    if (folder.isEmpty()) {
        Box(LangText(QStringLiteral("Diesem Adressbuch können neue Einträge nur über den "
                                    "Kontakte-Ordner hinzugefügt werden."),
                     QStringLiteral("To add new entries to this address book you'll have to add "
                                    "them directly to the contacts folder.")),
            MsgIcon::Information);
        return;
    }
    InpBoxExRequest ask;
    ask.title = gAppCaption;
    ask.prompt = LangText(QStringLiteral("Name:"), QStringLiteral("Name:"));
    ask.defaultText = LangText(QStringLiteral("Neuer Kontakt"), QStringLiteral("New contact"));
    const QString name = ui().inpBoxEx(ask).trimmed();
    if (name.isEmpty()) return;
    ask.prompt = LangText(QStringLiteral("E-Mail-Adresse:"), QStringLiteral("eMail address:"));
    ask.defaultText.clear();
    const QString address = ui().inpBoxEx(ask).trimmed();
    if (address.isEmpty()) return; // nothing filled in: no entry
    const QString file = WriteVCard(folder, name, address);
    if (file.isEmpty()) {
        Box(LangText(QStringLiteral("Fehler beim Anlegen des Adresseintrages: "),
                     QStringLiteral("Error creating address entry: ")) +
                folder,
            MsgIcon::Exclamation);
        return;
    }
    btnUpdate_Click();
    selectFile(file);
}

void dlgChooseAdr::btnEdit_Click() {
    QTreeWidgetItem* item = lvAdr->currentItem();
    const QString file = item ? item->data(0, kFileRole).toString() : QString();
    if (file.isEmpty()) {
        Box(LangText(QStringLiteral("Fehler beim Zugriff auf Adresseintrag: "),
                     QStringLiteral("Error accessing address entry: ")) +
                LangText(QStringLiteral("keine Kontaktdatei"), QStringLiteral("no contact file")),
            MsgIcon::Exclamation);
        return;
    }
    // The desktop's contact editor shows the details; the list is read anew afterwards.
    OpenWithShell(file);
    btnUpdate_Click();
    selectFile(file);
}

void dlgChooseAdr::btnOK_Click() {
    QTreeWidgetItem* item = lvAdr->currentItem();
    if (!item) {
        ui().beep();
        return;
    }
    SelectedName = item->text(0);
    SelectedAdr = item->data(0, kAddressRole).toString();
    AdrType = item->data(0, kTypeRole).toString();
    accept();
}

void dlgChooseAdr::btnCancel_Click() {
    SelectedName.clear();
    SelectedAdr.clear();
    reject();
}

void dlgChooseAdr::closeEvent(QCloseEvent* event) {
    SelectedName.clear();
    SelectedAdr.clear();
    QDialog::closeEvent(event);
}
