#include "dialogs/forms/frm_sender_recp.h"

#include "common/folders.h"
#include "common/lang.h"
#include "dialogs/forms/dlg_choose_adr.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "host/address_sources.h"
#include "ui/user_interaction.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFrame>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

namespace {
void Warn(const QString& text) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}
} // namespace

frmSenderRecp::frmSenderRecp(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmSenderRecp"));
    SetTag(this, QStringLiteral("Absender spezifizieren:|Specify sender:"));
    imgSender = Named<QLabel>(this, QStringLiteral("imgSender"));
    imgSender->setPixmap(ThemeIcon({"mail-reply-sender", "mail-message-new"}).pixmap(24, 24));
    imgRecp = Named<QLabel>(this, QStringLiteral("imgRecp"));
    imgRecp->setPixmap(ThemeIcon({"mail-forward", "mail-send"}).pixmap(24, 24));
    imgIcon = Named<QLabel>(this, QStringLiteral("imgIcon"));
    imgIcon->setPixmap(
        ThemeIcon({"x-office-address-book", "contact-new", "avatar-default"}).pixmap(48, 48));
    lblPrompt = Named<QLabel>(this, QStringLiteral("lblPrompt"));
    lblPrompt->setWordWrap(true);
    lblPrompt->setTextFormat(Qt::PlainText);
    frOptions = Named<QGroupBox>(
        this, QStringLiteral("frOptions"),
        QStringLiteral("Name oder E-Mail-Adresse prüfen?||Check name or eMail address?|"));
    obNameEMail[0] = Named<QRadioButton>(frOptions, QStringLiteral("obNameEMail_0"),
                                         QStringLiteral("Name||Name|"));
    obNameEMail[1] = Named<QRadioButton>(frOptions, QStringLiteral("obNameEMail_1"),
                                         QStringLiteral("E-Mail-Adresse||eMail address|"));
    txtInput = Named<QLineEdit>(this, QStringLiteral("txtInput"));
    txtInput->installEventFilter(this);
    btnChooseSender = Named<QPushButton>(
        this, QStringLiteral("btnChooseSender"),
        QStringLiteral("...|Empfänger aus Adressbuch wählen|...|Choose reciepient from address "
                       "book"));
    btnChooseSender->setAutoDefault(false);
    btnOK = Named<QPushButton>(this, QStringLiteral("btnOK"), QStringLiteral("OK||OK|"));
    btnOK->setDefault(true);
    btnCancel =
        Named<QPushButton>(this, QStringLiteral("btnCancel"), QStringLiteral("Abbrechen||Cancel|"));
    btnCancel->setAutoDefault(false);
    auto* line1 = Named<QFrame>(this, QStringLiteral("Line1"));
    line1->setFrameShape(QFrame::HLine);
    line1->setFrameShadow(QFrame::Sunken);

    for (QRadioButton* ob : obNameEMail)
        connect(ob, &QRadioButton::toggled, this, [this](bool on) {
            if (on) obNameEMail_Click();
        });
    connect(btnOK, &QPushButton::clicked, this, [this] { btnOK_Click(); });
    connect(btnCancel, &QPushButton::clicked, this, [this] { btnCancel_Click(); });
    connect(btnChooseSender, &QPushButton::clicked, this, [this] { btnChooseSender_Click(); });

    auto* options = new QHBoxLayout(frOptions);
    options->addWidget(obNameEMail[0]);
    options->addWidget(obNameEMail[1]);
    options->addStretch(1);
    auto* icons = new QVBoxLayout;
    icons->addWidget(imgIcon);
    icons->addWidget(imgSender, 0, Qt::AlignHCenter);
    icons->addWidget(imgRecp, 0, Qt::AlignHCenter);
    icons->addStretch(1);
    auto* input = new QHBoxLayout;
    input->addWidget(txtInput, 1);
    input->addWidget(btnChooseSender);
    auto* right = new QVBoxLayout;
    right->addWidget(frOptions);
    right->addWidget(lblPrompt);
    right->addLayout(input);
    auto* top = new QHBoxLayout;
    top->addLayout(icons);
    top->addLayout(right, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(btnOK);
    buttons->addWidget(btnCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(line1);
    layout->addLayout(buttons);
    resize(480, 220);

    TranslateForm(this);
    obNameEMail[0]->setChecked(true);
    InitForSender();
}

void frmSenderRecp::InitForSender() {
    imgSender->show();
    imgRecp->hide();
    setWindowTitle(LangText(QStringLiteral("Absender wählen:"), QStringLiteral("Choose sender:")));
}

void frmSenderRecp::InitForRecipient() {
    imgRecp->show();
    imgSender->hide();
    setWindowTitle(
        LangText(QStringLiteral("Empfänger wählen:"), QStringLiteral("Choose recipient:")));
}

void frmSenderRecp::setTerm(const QString& text) {
    txtInput->setText(text);
    obNameEMail[text.contains(QLatin1Char('@')) ? 1 : 0]->setChecked(true);
}

bool frmSenderRecp::checksAddress() const {
    return obNameEMail[1]->isChecked();
}

void frmSenderRecp::obNameEMail_Click() {
    if (!checksAddress()) {
        lblPrompt->setText(
            LangText(QStringLiteral(
                         "Bitte geben Sie einen Namen wie 'Erika Mustermann' oder 'Beispiel GmbH' "
                         "ein..."),
                     QStringLiteral("Please enter a name like 'Jane Doe' or 'Example Ltd.'...")));
        return;
    }
    lblPrompt->setText(
        LangText(QStringLiteral("Bitte geben Sie eine E-Mail-Adresse wie "),
                 QStringLiteral("Please enter an eMail address like ")) +
        LangText(QStringLiteral("'erika@beispiel.de'"), QStringLiteral("'jane@example.com'")) +
        LangText(QStringLiteral(" für eine einzelne Person oder eine Domain wie "),
                 QStringLiteral(" for a single person or a domain like ")) +
        LangText(QStringLiteral("'@beispiel.de'"), QStringLiteral("'@example.com'")) +
        LangText(QStringLiteral(" für eine Personengruppe ein..."),
                 QStringLiteral(" for a group of persons...")));
}

void frmSenderRecp::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    txtInput->setFocus();
}

bool frmSenderRecp::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtInput && event->type() == QEvent::FocusIn)
        QTimer::singleShot(0, txtInput, [this] { txtInput->selectAll(); });
    return QDialog::eventFilter(watched, event);
}

void frmSenderRecp::btnOK_Click() {
    if (txtInput->text().isEmpty()) {
        ui().beep();
        txtInput->setFocus();
        return;
    }
    Term = txtInput->text();
    accept();
}

void frmSenderRecp::btnCancel_Click() {
    Term.clear();
    reject();
}

void frmSenderRecp::closeEvent(QCloseEvent* event) {
    Term.clear();
    QDialog::closeEvent(event);
}

void frmSenderRecp::btnChooseSender_Click() {
    // Ctrl takes a contact file that the desktop's address book exported; the click alone opens
    // the address chooser.
    if (QApplication::queryKeyboardModifiers() & Qt::ControlModifier)
        chooseFromCardFile();
    else
        chooseFromAddressBook();
}

void frmSenderRecp::takeChoice(const QString& name, const QString& address) {
    txtInput->setText(checksAddress() ? address : name);
    txtInput->setFocus();
}

void frmSenderRecp::chooseFromCardFile() {
    OpenFileRequest request;
    request.title = LangText(QStringLiteral("Absender wählen:"), QStringLiteral("Choose sender:"));
    const QStringList folders = VCardFolders();
    request.initialFolder = folders.isEmpty() ? QDir::homePath() : folders.constFirst();
    request.filter = QStringLiteral("vCard (*.vcf)|*.vcf");
    const QString path = ui().chooseOpenFile(request);
    if (path.isEmpty()) return; // the user's cancel says nothing
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        Warn(QStringLiteral("Error reading address (") + file.errorString() +
             LangText(QStringLiteral(") - bitte Auswahl wiederholen..."),
                      QStringLiteral(") - Try again...")));
        return;
    }
    std::vector<AddressEntry> entries;
    for (AddressEntry& e : ParseVCards(file.read(4 * 1024 * 1024), path))
        if (!e.invalid && !e.distList) entries.push_back(std::move(e));
    if (entries.empty()) {
        Warn(QStringLiteral("Access denied..."));
        return;
    }
    if (entries.size() > 1)
        ui().messageBox(
            LangText(QStringLiteral("Sie haben mehr als eine Adresse gewählt, es kann jedoch nur "
                                    "eine Adresse verwendet werden - die erste gewählte Adresse "
                                    "wird verwendet..."),
                     QStringLiteral("You've selected more than one address, can't only use a "
                                    "single address here - first selected address will be "
                                    "used...")),
            MsgButtons::OK, MsgIcon::Information, gAppCaption);
    const QString value = checksAddress() ? entries.front().address : entries.front().name;
    if (value.isEmpty()) {
        Warn(QStringLiteral("Access denied..."));
        return;
    }
    takeChoice(entries.front().name, entries.front().address);
}

void frmSenderRecp::chooseFromAddressBook() {
    dlgChooseAdr chooser(this);
    chooser.DoAdrs = true;
    chooser.DoDistLists = false;
    if (!chooser.InitDialog()) return;
    chooser.exec();
    if (!chooser.SelectedName.isEmpty() || !chooser.SelectedAdr.isEmpty())
        takeChoice(chooser.SelectedName, chooser.SelectedAdr);
}
