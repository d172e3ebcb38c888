#include "dialogs/options/frm_stowaway.h"

#include "common/folders.h"
#include "common/lang.h"
#include "common/shell.h"
#include "data/defaults.h"
#include "data/globals.h"
#include "data/settings.h"
#include "dialogs/common/dlg_info.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/extras_page.h"
#include "dialogs/options/options_page.h"
#include "dialogs/options/rules_page.h"
#include "dialogs/options/search_page.h"
#include "dialogs/options/watch_page.h"
#include "dialogs/translate.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTabWidget>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
const QString kHelpTip = QStringLiteral("|Klicken Sie hier, um die Dokumentation "
                                        "anzuzeigen...||Click here to read the documentation...");
const QString kInfoTip =
    QStringLiteral("|Klicken Sie hier, um Infos zum Add-In anzuzeigen...||Click here for "
                   "informations on the add in...");

QPushButton* Button(QWidget* parent, const QString& name, const QString& tag) {
    auto* b = new QPushButton(parent);
    b->setObjectName(name);
    b->setAutoDefault(false);
    SetTag(b, tag);
    return b;
}

QFrame* Bar(QWidget* parent, const QString& name, const QString& colour) {
    auto* bar = new QFrame(parent);
    bar->setObjectName(name);
    bar->setStyleSheet(QStringLiteral("background-color: %1;").arg(colour));
    bar->setAttribute(Qt::WA_TransparentForMouseEvents);
    bar->hide();
    return bar;
}

} // namespace

void HideSpareTabs(QTabWidget* tabs) {
    for (int i = 0; i < tabs->count(); ++i)
        if (tabs->tabText(i).left(4) == QLatin1String("Tab ")) tabs->setTabVisible(i, false);
    tabs->setCurrentIndex(0);
}

frmStowaway::frmStowaway(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmStowaway"));
    setWindowIcon(ProgramIcon());
    m_regMain = new QTabWidget(this);
    m_regMain->setObjectName(QStringLiteral("regMain"));
    SetTag(m_regMain, QStringLiteral("Überwachung|Regeln|Suchen|Extras|Optionen|Tab 5|"
                                     "Watch|Rules|Search|Tools|Options|Tab 5"));
    m_watch = new WatchPage(*this);
    m_rules = new RulesPage(*this);
    m_search = new SearchPage(*this);
    m_extras = new ExtrasPage(*this);
    m_options = new OptionsPage(*this);
    m_regMain->addTab(m_watch, QStringLiteral("Überwachung"));
    m_regMain->addTab(m_rules, QStringLiteral("Regeln"));
    m_regMain->addTab(m_search, QStringLiteral("Suchen"));
    m_regMain->addTab(m_extras, QStringLiteral("Extras"));
    m_regMain->addTab(m_options, QStringLiteral("Optionen"));
    m_regMain->addTab(new QWidget, QStringLiteral("Tab 5"));
    connect(m_regMain, &QTabWidget::currentChanged, this, [this](int tab) {
        if (!bLoading) regMain_Click(tab);
    });

    auto* image1 = PictureButton(this, QStringLiteral("Image1"), ProgramIcon(), QString());
    image1->setIconSize(QSize(32, 32));
    image1->setToolTip(QStringLiteral(" Klicken Sie hier, um uns im Internet zu besuchen..."));
    auto* imgHelp = PictureButton(this, QStringLiteral("imgHelp"),
                                  style()->standardIcon(QStyle::SP_MessageBoxQuestion), kHelpTip);
    auto* btnHelp =
        Button(this, QStringLiteral("btnHelp"),
               QStringLiteral("Hilfe|Klicken Sie hier, um die Dokumentation anzuzeigen..."
                              "|Help|Click here to read the documentation..."));
    auto* imgInfo =
        PictureButton(this, QStringLiteral("imgInfo"),
                      style()->standardIcon(QStyle::SP_MessageBoxInformation), kInfoTip);
    auto* btnInfo = Button(this, QStringLiteral("btnInfo"),
                           QStringLiteral("Info|Klicken Sie hier, um Infos zum Add-In anzuzeigen..."
                                          "|Info|Click here for informations on the add in..."));
    auto* btnDone =
        Button(this, QStringLiteral("btnDone"), QStringLiteral("Schließen|Schließen|Close|Close"));
    btnDone->setDefault(true);
    connect(image1, &QToolButton::clicked, this, [this] { Image1_Click(); });
    connect(imgHelp, &QToolButton::clicked, this, [this] { btnHelp_Click(); });
    connect(btnHelp, &QPushButton::clicked, this, [this] { btnHelp_Click(); });
    connect(imgInfo, &QToolButton::clicked, this, [this] { btnInfo_Click(); });
    connect(btnInfo, &QPushButton::clicked, this, [this] { btnInfo_Click(); });
    connect(btnDone, &QPushButton::clicked, this, &QDialog::close);

    m_lblStatus = new QLabel(this);
    m_lblStatus->setObjectName(QStringLiteral("lblStatus"));
    m_lblStatus->setAlignment(Qt::AlignCenter);
    m_lblStatus->setMinimumHeight(18);
    m_lblStatus->setAccessibleName(QStringLiteral("Status"));
    m_rctStatus =
        Bar(m_lblStatus, QStringLiteral("rctStatus"), QStringLiteral("rgba(48, 120, 200, 110)"));
    m_rctStatus->setAccessibleName(
        LangText(QStringLiteral("Fortschritt"), QStringLiteral("Progress")));
    m_rctSubStatus =
        Bar(m_lblStatus, QStringLiteral("rctSubStatus"), QStringLiteral("rgba(40, 160, 90, 140)"));
    m_rctSubStatus->setAccessibleName(LangText(QStringLiteral("Fortschritt im Ordner"),
                                               QStringLiteral("Progress in the folder")));

    auto* row = new QHBoxLayout;
    row->addWidget(image1);
    row->addWidget(m_lblStatus, 1);
    row->addWidget(imgHelp);
    row->addWidget(btnHelp);
    row->addWidget(imgInfo);
    row->addWidget(btnInfo);
    row->addSpacing(12);
    row->addWidget(btnDone);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_regMain, 1);
    layout->addLayout(row);
    resize(760, 540);
}

frmStowaway::~frmStowaway() = default;

void frmStowaway::Form_Load() {
    bLoading = true;
    setWindowTitle(QLatin1Char(' ') + gAppCaption);
    TranslateForm(this);
    m_watch->noteProtoFrame();
    m_search->clearFileInfos();
    m_watch->lblLastAction->setText(gLastAction);
    m_rules->placeFormatPicture();
    HideSpareTabs(m_regMain);
    m_rules->hideSpareTabs();
    m_rules->fillCombos();
    m_watch->fillProtoCombos();
    InitProtoList();
    m_options->fillLists();
    m_options->readLanguage();
    SWActive = GetBoolSetting(QStringLiteral("SWActive"), QStringLiteral("0"));
    m_watch->cbActive->setChecked(SWActive);
    SWTest = GetBoolSetting(QStringLiteral("SWTest"), QStringLiteral("1"));
    m_watch->cbTestmode->setChecked(SWTest);
    m_options->readSettings();
    m_options->readMarkMail();
    m_options->cbMarkMail_Click();
    m_options->showLogFile();
    UpdateOBs();
    InitWatchFolderList(QString());
    InitRulesList(QString());
    bLoading = false;
}

void frmStowaway::UpdateOBs() {
    switch (currentTab()) {
    case 0:
        m_watch->updateOBs();
        break;
    case 1:
        m_rules->updateOBs();
        break;
    case 3:
        m_extras->updateOBs();
        break;
    default:
        break;
    }
    QCoreApplication::processEvents();
}

void frmStowaway::UpdateRulesText() {
    m_rules->UpdateRulesText();
}

void frmStowaway::InitProtoList() {
    m_watch->InitProtoList();
}

void frmStowaway::InitWatchFolderList(const QString& name) {
    m_watch->InitWatchFolderList(name);
}

void frmStowaway::InitRulesList(const QString& name) {
    m_rules->InitRulesList(name);
}

void frmStowaway::InitStowawayFolderList() {
    m_search->InitStowawayFolderList();
}

void frmStowaway::SelectProtoEntry(int index) {
    m_watch->selectProtoEntry(index);
}

int frmStowaway::currentTab() const {
    return m_regMain->currentIndex();
}

void frmStowaway::showTab(int tab) {
    m_regMain->setCurrentIndex(tab);
}

void frmStowaway::SwitchLanguage(int lang) {
    ApplySetting(QStringLiteral("CurrLang"), QString::number(lang));
    Form_Load();
}

void frmStowaway::regMain_Click(int tab) {
    switch (tab) {
    case 2:
        m_search->prepare();
        break;
    case 3:
        m_extras->prepare();
        break;
    case 4:
        m_options->prepare();
        break;
    default:
        break;
    }
    UpdateOBs();
}

void frmStowaway::setBusy(bool busy) {
    if (busy)
        setCursor(Qt::WaitCursor);
    else
        unsetCursor();
}

void frmStowaway::showLastAction(const QString& text) {
    m_watch->lblLastAction->setText(text);
}

void frmStowaway::placeBars() {
    const QRect track = m_lblStatus->rect();
    m_rctStatus->setGeometry(0, 0, int(track.width() * m_mainFill), track.height());
    m_rctSubStatus->setGeometry(0, track.height() / 2, int(track.width() * m_subFill),
                                track.height() / 2);
}

void frmStowaway::setMainProgress(bool visible, const QString& caption, double fill) {
    m_mainFill = fill;
    m_lblStatus->setText(visible ? caption : QString());
    m_rctStatus->setVisible(visible);
    placeBars();
}

void frmStowaway::setSubProgress(bool visible, double fill) {
    m_subFill = fill;
    m_rctSubStatus->setVisible(visible);
    placeBars();
}

void frmStowaway::resizeEvent(QResizeEvent* event) {
    QDialog::resizeEvent(event);
    placeBars();
}

void frmStowaway::keyPressEvent(QKeyEvent* event) {
    // Enter in a text field is that field's (the Search tab searches): the dialog stays open.
    const bool enter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (enter && qobject_cast<QLineEdit*>(focusWidget())) {
        event->accept();
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmStowaway::btnHelp_Click() {
    const QString doc = GetSetting(QStringLiteral("Doku"), DefaultManual());
    if (QFileInfo(doc).isFile()) {
        OpenWithShell(doc);
        return;
    }
    QString text = LangText(QStringLiteral("Die Anleitung wurde nicht gefunden:\n%1\n\nDas Paket "
                                           "installiert sie als %2; die Einstellung 'Doku' kann "
                                           "auf eine andere Datei zeigen."),
                            QStringLiteral("The manual was not found:\n%1\n\nThe package installs "
                                           "it as %2; the setting 'Doku' can point to another "
                                           "file."))
                       .arg(doc, InstalledManualPath());
    if (const QString here = DefaultManual(); here != doc && QFileInfo(here).isFile())
        text += LangText(QStringLiteral("\nAuf diesem Rechner liegt sie hier: "),
                         QStringLiteral("\nOn this computer it is here: ")) +
                here;
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Information, gAppCaption);
}

void frmStowaway::btnInfo_Click() {
    QWKAddInShowInfo(this);
}

void frmStowaway::Image1_Click() {
    // The maker's web page is a setting; without one the click has nothing to open.
    const QString address = GetSetting(QStringLiteral("WebAddress"), QString());
    if (address.isEmpty()) {
        ui().beep();
        return;
    }
    OpenWithShell(address);
}
