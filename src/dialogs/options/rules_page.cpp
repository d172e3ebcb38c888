#include "dialogs/options/rules_page.h"

#include "addin/folder_commands.h"
#include "common/file_icons.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/shell.h"
#include "common/text.h"
#include "data/globals.h"
#include "data/protocol.h"
#include "dialogs/forms/frm_projects.h"
#include "dialogs/forms/frm_sender_recp.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/rule_sentence.h"
#include "ui/user_interaction.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QTimer>
#include <QToolButton>
#include <QVBoxLayout>

namespace {
const RuleField kCheckFields[kCriteria] = {RuleField::CheckSender, RuleField::CheckRecp,
                                           RuleField::CheckSubj, RuleField::CheckFileFormat};
const RuleField kValueFields[kCriteria] = {RuleField::Sender, RuleField::Recipient,
                                           RuleField::Subject, RuleField::FileFormat};

QString Tag(const char* tag) {
    return QString::fromUtf8(tag);
}

void Box(const QString& text, MsgIcon icon) {
    ui().beep();
    ui().messageBox(text, MsgButtons::OK, icon, gAppCaption);
}

QString FieldEmpty() {
    return LangText(QStringLiteral("Feld darf nicht leer sein!"),
                    QStringLiteral("Field can't be empty!"));
}

QString BlockedText() {
    return LangText(QStringLiteral("Dateien dieses Typs sind blockiert und können nicht ausgeführt "
                                   "oder geöffnet werden!"),
                    QStringLiteral("Files of this type are blocked and can't be executed or "
                                   "opened!"));
}

QString Ask(const QString& prompt, const QString& defaultText) {
    InpBoxExRequest ask;
    ask.prompt = prompt;
    ask.title = gAppCaption;
    ask.defaultText = defaultText;
    return ui().inpBoxEx(ask);
}

// The link-like look of the labels that open an editor.
void MakeLink(QLabel* label) {
    label->setCursor(Qt::PointingHandCursor);
    label->setStyleSheet(QStringLiteral("color: #0000c0; text-decoration: underline;"));
    label->setTextFormat(Qt::PlainText);
}
} // namespace

RulesPage::RulesPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgRules"));
    frRuleOptions = Named<QGroupBox>(this, QStringLiteral("frRuleOptions"),
                                     QStringLiteral("Einstellungen:||Settings:|"));
    auto* options = new QVBoxLayout(frRuleOptions);
    options->addWidget(buildCriteria());
    regRuleOptions = Named<QTabWidget>(
        frRuleOptions, QStringLiteral("regRuleOptions"),
        QStringLiteral("Aktionen, die bei erfüllten Kriterien ausgeführt werden sollen|Weitere "
                       "Optionen|Actions to take if criterias are matching|More Options"));
    regRuleOptions->addTab(buildActions(), QString());
    regRuleOptions->addTab(buildMoreOptions(), QString());
    options->addWidget(regRuleOptions, 1);

    auto* layout = new QHBoxLayout(this);
    layout->addWidget(buildList());
    layout->addWidget(frRuleOptions, 1);
}

QWidget* RulesPage::buildList() {
    auto* box = new QWidget(this);
    box->setFixedWidth(220);
    lblRulesTXT = Named<QLabel>(
        box, QStringLiteral("lblRulesTXT"),
        QStringLiteral("Regeln für die automatische Speicherung von Anhängen:||Rules for "
                       "automatically saving attachments:|"));
    lblRulesTXT->setWordWrap(true);
    lstRules = Named<QListWidget>(box, QStringLiteral("lstRules"));
    lblRulesTXT->setBuddy(lstRules);
    btnRulesAdd = PictureButton(box, QStringLiteral("btnRulesAdd"), ThemeIcon({"list-add"}),
                                QStringLiteral("|Neue Regel||Add rule"));
    btnRulesDel =
        PictureButton(box, QStringLiteral("btnRulesDel"), ThemeIcon({"list-remove", "edit-delete"}),
                      QStringLiteral("|Regel löschen||Delete rule"));
    btnRuleEdit =
        PictureButton(box, QStringLiteral("btnRuleEdit"),
                      ThemeIcon({"document-edit", "edit-rename", "accessories-text-editor"}),
                      QStringLiteral("|Regel umbenennen||Rename rule"));
    spnUpDown = Named<QWidget>(
        box, QStringLiteral("spnUpDown"),
        QStringLiteral("|Eintrag nach oben/nach unten verschieben||Move entry up/down"));
    auto* up = Named<QToolButton>(spnUpDown, QStringLiteral("spnUpDownUp"));
    up->setArrowType(Qt::UpArrow);
    up->setAccessibleName(QStringLiteral("Up"));
    auto* down = Named<QToolButton>(spnUpDown, QStringLiteral("spnUpDownDown"));
    down->setArrowType(Qt::DownArrow);
    down->setAccessibleName(QStringLiteral("Down"));
    auto* arrows = new QVBoxLayout(spnUpDown);
    arrows->setContentsMargins(0, 0, 0, 0);
    arrows->setSpacing(0);
    arrows->addWidget(up);
    arrows->addWidget(down);
    auto* label7 =
        Named<QLabel>(box, QStringLiteral("Label7"),
                      QStringLiteral("Regel prüfen mit Ordner:||Check rule with folder:|"));
    clFoldersCheckRule = Named<QComboBox>(box, QStringLiteral("clFoldersCheckRule"));
    label7->setBuddy(clFoldersCheckRule);
    btnCheckRule = Named<QPushButton>(box, QStringLiteral("btnCheckRule"),
                                      QStringLiteral("Regel prüfen||Check rule|"));
    btnCheckRule->setAutoDefault(false);

    connect(lstRules, &QListWidget::currentRowChanged, this, [this] { lstRules_Click(); });
    connect(lstRules, &QListWidget::itemChanged, this,
            [this](QListWidgetItem* item) { lstRules_ItemCheck(lstRules->row(item)); });
    connect(btnRulesAdd, &QToolButton::clicked, this, [this] { btnRulesAdd_Click(); });
    connect(btnRulesDel, &QToolButton::clicked, this, [this] { btnRulesDel_Click(); });
    connect(btnRuleEdit, &QToolButton::clicked, this, [this] { btnRuleEdit_Click(); });
    connect(up, &QToolButton::clicked, this, [this] { spnUpDown_Change(-1); });
    connect(down, &QToolButton::clicked, this, [this] { spnUpDown_Change(+1); });
    connect(btnCheckRule, &QPushButton::clicked, this, [this] { btnCheckRule_Click(); });

    auto* tools = new QVBoxLayout;
    tools->addWidget(btnRulesAdd);
    tools->addWidget(btnRulesDel);
    tools->addWidget(btnRuleEdit);
    tools->addSpacing(8);
    tools->addWidget(spnUpDown);
    tools->addStretch(1);
    auto* list = new QHBoxLayout;
    list->addWidget(lstRules, 1);
    list->addLayout(tools);
    auto* layout = new QVBoxLayout(box);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(lblRulesTXT);
    layout->addLayout(list, 1);
    layout->addWidget(label7);
    layout->addWidget(clFoldersCheckRule);
    layout->addWidget(btnCheckRule);
    return box;
}

QWidget* RulesPage::buildCriteria() {
    frCriteria = Named<QGroupBox>(
        frRuleOptions, QStringLiteral("frCriteria"),
        QStringLiteral("Kriterien, die überprüft werden sollen:||Criterias which should be "
                       "checked:|"));
    static const char* const kCheckNames[] = {"cbRulesSender", "cbRulesRecipient", "cbRulesSubj",
                                              "cbRulesFileFormat"};
    static const char* const kTextNames[] = {"lblSenderTXT", "lblRecipientTXT", "lblSubjTXT",
                                             "lblFileFormatTXT"};
    static const char* const kChooseNames[] = {"lblChooseSender", "lblChooseRecipient",
                                               "lblChooseSubj", "lblChooseFileFormat"};
    static const char* const kHiddenNames[] = {"txtRulesSender", "txtRulesRecipient",
                                               "txtRulesSubj"};
    auto* layout = new QVBoxLayout(frCriteria);
    layout->setSpacing(2);
    pnlRuleText = Named<QWidget>(frCriteria, QStringLiteral("pnlRuleText"));
    for (int i = 0; i < kCriteria; ++i) {
        const CriterionTexts& texts = TextsOf(static_cast<Criterion>(i));
        cbCriteria[i] =
            Named<QCheckBox>(frCriteria, QLatin1String(kCheckNames[i]), Tag(texts.checkBox));
        layout->addWidget(cbCriteria[i]);
        connect(cbCriteria[i], &QCheckBox::toggled, this, [this, i] { criterion_Click(i); });
        lblCriterionTXT[i] =
            Named<QLabel>(pnlRuleText, QLatin1String(kTextNames[i]), Tag(texts.textLabel));
        lblChoose[i] =
            Named<QLabel>(pnlRuleText, QLatin1String(kChooseNames[i]), Tag(texts.placeholder));
        MakeLink(lblChoose[i]);
        lblChoose[i]->installEventFilter(this);
        lblAND[i] = Named<QLabel>(pnlRuleText, QStringLiteral("lblAND%1").arg(i + 1),
                                  QStringLiteral("und||and|"));
        if (i < 3) {
            txtCriteria[i] = Named<QLineEdit>(frCriteria, QLatin1String(kHiddenNames[i]));
            txtCriteria[i]->hide();
        }
    }
    lblStdRule = Named<QLabel>(pnlRuleText, QStringLiteral("lblStdRule"));
    picFileFormat = Named<QLabel>(pnlRuleText, QStringLiteral("picFileFormat"));
    picFileFormat->setFixedSize(16, 16);
    clRulesFileFormat = Named<QComboBox>(frCriteria, QStringLiteral("clRulesFileFormat"));
    clRulesFileFormat->setEditable(true);
    clRulesFileFormat->hide();
    clRulesFileFormat->setAccessibleName(QStringLiteral("FileFormat"));
    btnChooseSender = Named<QPushButton>(frCriteria, QStringLiteral("btnChooseSender"));
    btnChooseSender->hide();
    btnChooseSender->setAccessibleName(QStringLiteral("Sender"));
    // The hidden criteria take no input; should one change, it writes like the folder box.
    for (int i = 0; i < 3; ++i)
        connect(txtCriteria[i], &QLineEdit::editingFinished, this, [this, i] {
            if (!m_form.bLoading && selectedRule() > 0 && txtCriteria[i]->isModified())
                writeField(kValueFields[i], txtCriteria[i]->text());
        });
    connect(clRulesFileFormat, &QComboBox::currentTextChanged, this, [this](const QString& text) {
        if (!m_form.bLoading && selectedRule() > 0) writeField(RuleField::FileFormat, text);
    });
    layout->addWidget(pnlRuleText);
    // The sentence needs its four rows and no more; the actions below take the rest.
    frCriteria->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    return frCriteria;
}

QWidget* RulesPage::buildActions() {
    auto* page = new QWidget;
    lblRulesSaveBy = Named<QLabel>(page, QStringLiteral("lblRulesSaveBy"),
                                   QStringLiteral("Speichern nach:||Save by:|"));
    clRulesSaveBy = Named<QComboBox>(page, QStringLiteral("clRulesSaveBy"));
    lblRulesSaveBy->setBuddy(clRulesSaveBy);
    lblRulesSaveFormat = Named<QLabel>(page, QStringLiteral("lblRulesSaveFormat"));
    lblRulesSaveFormat->setText(QStringLiteral("Format:"));
    clRulesSaveFormat = Named<QComboBox>(page, QStringLiteral("clRulesSaveFormat"));
    lblRulesSaveFormat->setBuddy(clRulesSaveFormat);
    btnEditProjects = PictureButton(page, QStringLiteral("btnEditProjects"),
                                    ThemeIcon({"folder-new", "document-properties"}),
                                    QStringLiteral("|Projekte verwalten||Manage projects"));
    lblSaveTo = Named<QLabel>(page, QStringLiteral("lblSaveTo"),
                              QStringLiteral("Speichern in Basisordner:||Save to base folder:|"));
    txtRulesFolder = Named<QLineEdit>(page, QStringLiteral("txtRulesFolder"),
                                      QStringLiteral("|Ordner festlegen||Specify folder"));
    txtRulesFolder->setMaxLength(decltype(udtRule::Folder)::Length);
    lblSaveTo->setBuddy(txtRulesFolder);
    btnChooseFolder = PictureButton(page, QStringLiteral("btnChooseFolder"),
                                    ThemeIcon({"folder-open", "document-open"}),
                                    QStringLiteral("|Ordner wählen...||Choose folder..."));
    btnOpenFolder = PictureButton(
        page, QStringLiteral("btnOpenFolder"), ThemeIcon({"system-file-manager", "folder"}),
        QStringLiteral("|Aktuellen Ordner mit Dateimanager öffnen||Open current folder in "
                       "file manager"));
    cbRulesDelAttach = Named<QCheckBox>(
        page, QStringLiteral("cbRulesDelAttach"),
        QStringLiteral("Anhang aus Nachricht löschen||Remove attachment from mail|"));
    cbInform = Named<QCheckBox>(page, QStringLiteral("cbInform"),
                                QStringLiteral("Benachrichtigung anzeigen||Display notification|"));
    cbRulesHyperlinks = Named<QCheckBox>(page, QStringLiteral("cbRulesHyperlinks"),
                                         QStringLiteral("Hyperlinks einfügen||Insert hyperlinks|"));
    lblRulesRunApp = Named<QLabel>(page, QStringLiteral("lblRulesRunApp"),
                                   QStringLiteral("Anwendung ausführen:||Run application:|"));
    txtRulesRunApp = Named<QLineEdit>(page, QStringLiteral("txtRulesRunApp"),
                                      QStringLiteral("|Anwendung festlegen||Specify application"));
    txtRulesRunApp->setMaxLength(decltype(udtRule::Execute)::Length);
    lblRulesRunApp->setBuddy(txtRulesRunApp);
    btnChooseApp = PictureButton(page, QStringLiteral("btnChooseApp"),
                                 ThemeIcon({"application-x-executable", "system-run"}),
                                 QStringLiteral("|Anwendung wählen...||Choose application..."));
    lblSaveInfos = Named<QLabel>(page, QStringLiteral("lblSaveInfos"));
    lblSaveInfos->setWordWrap(true);
    lblSaveInfos->setTextFormat(Qt::PlainText);

    connect(clRulesSaveBy, &QComboBox::currentIndexChanged, this,
            [this] { clRulesSaveBy_Click(); });
    connect(clRulesSaveFormat, &QComboBox::currentIndexChanged, this,
            [this] { clRulesSaveFormat_Click(); });
    connect(btnEditProjects, &QToolButton::clicked, this, [this] { editProjects(); });
    connect(txtRulesFolder, &QLineEdit::editingFinished, this,
            [this] { txtRulesFolder_Validate(); });
    connect(btnChooseFolder, &QToolButton::clicked, this, [this] { btnChooseFolder_Click(); });
    connect(btnOpenFolder, &QToolButton::clicked, this, [this] { btnOpenFolder_Click(); });
    connect(txtRulesRunApp, &QLineEdit::editingFinished, this,
            [this] { txtRulesRunApp_Validate(); });
    connect(btnChooseApp, &QToolButton::clicked, this, [this] { btnChooseApp_Click(); });
    connect(cbRulesDelAttach, &QCheckBox::toggled, this,
            [this] { flag_Click(RuleField::DelAttach, cbRulesDelAttach); });
    connect(cbInform, &QCheckBox::toggled, this,
            [this] { flag_Click(RuleField::Notify, cbInform); });
    connect(cbRulesHyperlinks, &QCheckBox::toggled, this,
            [this] { flag_Click(RuleField::Hyperlink, cbRulesHyperlinks); });

    auto* grid = new QGridLayout(page);
    grid->addWidget(lblRulesSaveBy, 0, 0);
    auto* saveBy = new QHBoxLayout;
    saveBy->addWidget(clRulesSaveBy, 1);
    saveBy->addWidget(lblRulesSaveFormat);
    saveBy->addWidget(clRulesSaveFormat, 1);
    saveBy->addWidget(btnEditProjects);
    grid->addLayout(saveBy, 0, 1);
    grid->addWidget(lblSaveTo, 1, 0);
    auto* folder = new QHBoxLayout;
    folder->addWidget(txtRulesFolder, 1);
    folder->addWidget(btnChooseFolder);
    folder->addWidget(btnOpenFolder);
    grid->addLayout(folder, 1, 1);
    auto* flags = new QHBoxLayout;
    flags->addWidget(cbRulesDelAttach);
    flags->addWidget(cbInform);
    flags->addWidget(cbRulesHyperlinks);
    flags->addStretch(1);
    grid->addLayout(flags, 2, 0, 1, 2);
    grid->addWidget(lblRulesRunApp, 3, 0);
    auto* app = new QHBoxLayout;
    app->addWidget(txtRulesRunApp, 1);
    app->addWidget(btnChooseApp);
    grid->addLayout(app, 3, 1);
    grid->addWidget(lblSaveInfos, 4, 0, 1, 2);
    grid->setRowStretch(5, 1);
    grid->setColumnStretch(1, 1);
    return page;
}

QWidget* RulesPage::buildMoreOptions() {
    auto* page = new QWidget;
    frFileExists = Named<QGroupBox>(
        page, QStringLiteral("frFileExists"),
        QStringLiteral("Wenn Anhangdatei vorhanden ist:||If attachment file exists:|"));
    static const char* const kOptions[] = {
        "Speichern unter-Dialog anzeigen||Invoke Save as-dialog|",
        "Ohne Rückfrage überschreiben||Replace without asking|",
        "Automatisch nummerieren||Automatic numbering|",
        "Datum/Zeit zu Dateiname hinzufügen||Add date/time to filename|"};
    auto* options = new QVBoxLayout(frFileExists);
    for (int i = 0; i < 4; ++i) {
        obFileExists[i] = Named<QRadioButton>(
            frFileExists, QStringLiteral("obFileExists_%1").arg(i), Tag(kOptions[i]));
        connect(obFileExists[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) obFileExists_Click(i);
        });
        options->addWidget(obFileExists[i]);
    }
    auto* layout = new QVBoxLayout(page);
    layout->addWidget(frFileExists);
    layout->addStretch(1);
    return page;
}

// ---- steps of the load procedure ----

void RulesPage::placeFormatPicture() {
    const QLabel* choose = lblChoose[3];
    picFileFormat->move(picFileFormat->x(),
                        choose->y() + (choose->height() - picFileFormat->height()) / 2);
}

void RulesPage::hideSpareTabs() {
    HideSpareTabs(regRuleOptions);
}

void RulesPage::fillCombos() {
    const QSignalBlocker blockSaveBy(clRulesSaveBy);
    const QSignalBlocker blockFormat(clRulesSaveFormat);
    const QSignalBlocker blockFileFormat(clRulesFileFormat);
    clRulesSaveBy->clear();
    clRulesSaveBy->addItems(
        IsGerman() ? QStringList{QStringLiteral("Datum"), QStringLiteral("Absender"),
                                 QStringLiteral("Empfänger"), QStringLiteral("Projekt"),
                                 QStringLiteral("Fester Unterordner")}
                   : QStringList{QStringLiteral("Date"), QStringLiteral("Sender"),
                                 QStringLiteral("Recipient"), QStringLiteral("Project"),
                                 QStringLiteral("Specific Subfolder")});
    clRulesFileFormat->clear();
    clRulesFileFormat->addItems({QStringLiteral("ZIP"), QStringLiteral("RAR"),
                                 QStringLiteral("PDF"), QStringLiteral("JPG"),
                                 QStringLiteral("GIF"), QStringLiteral("BMP"),
                                 QStringLiteral("TXT"), QStringLiteral("DOC")});
    // The load writes "YYYY-KW" in English; a change of clRulesSaveBy writes "YYYY-WY".
    clRulesSaveFormat->clear();
    clRulesSaveFormat->addItems(
        IsGerman() ? QStringList{QStringLiteral("TT-MM-JJJJ"), QStringLiteral("JJJJ-MM-TT"),
                                 QStringLiteral("JJJJ-MM"), QStringLiteral("JJJJ-KW")}
                   : QStringList{QStringLiteral("DD-MM-YYYY"), QStringLiteral("YYYY-MM-DD"),
                                 QStringLiteral("YYYY-MM"), QStringLiteral("YYYY-KW")});
}

void RulesPage::InitRulesList(const QString& name) {
    int found = -1;
    {
        const QSignalBlocker block(lstRules);
        lstRules->clear();
        for (int i = 1; i <= Rules.count(); ++i) {
            udtRule& rule = Rules[static_cast<size_t>(i)];
            const QString ruleName = rule.Name.get();
            rule.Name = ruleName;
            if (found < 0 && ruleName.compare(name, Qt::CaseInsensitive) == 0) found = i - 1;
            auto* item = new QListWidgetItem(StripAtNull(ruleName), lstRules);
            item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
            m_form.bLoading = true;
            item->setCheckState(IsTrue(rule.Active) ? Qt::Checked : Qt::Unchecked);
            m_form.bLoading = false;
        }
    }
    if (lstRules->count() > 0) lstRules->setCurrentRow(found >= 0 ? found : 0);
}

// ---- the routines of the form ----

void RulesPage::updateOBs() {
    for (int i = 0; i < kCriteria; ++i)
        cbCriteria[i]->setStyleSheet(cbCriteria[i]->isChecked() ? QStringLiteral("color: #0000ff;")
                                                                : QString());
    for (int i = 0; i < 3; ++i)
        txtCriteria[i]->setEnabled(cbCriteria[i]->isChecked());
    btnChooseSender->setEnabled(cbCriteria[0]->isChecked());
    clRulesFileFormat->setEnabled(cbCriteria[3]->isChecked());
    lblStdRule->setText(LangText(QStringLiteral("Keine Kriterien gesetzt..."),
                                 QStringLiteral("No criterias set...")));
    const int saveBy = clRulesSaveBy->currentIndex();
    lblSaveInfos->setText(
        SaveInfosText(saveBy, clRulesSaveFormat->currentIndex(), QDate::currentDate()));
    txtRulesFolder->setEnabled(saveBy != SaveBy::Project);
    btnChooseFolder->setEnabled(saveBy != SaveBy::Project);
    const bool runApp = cbCriteria[3]->isChecked();
    lblRulesRunApp->setEnabled(runApp);
    txtRulesRunApp->setEnabled(runApp);
    btnChooseApp->setEnabled(runApp);
    // The icon of a file type comes by its name alone: no sample file is needed.
    const QString format = clRulesFileFormat->currentText();
    const QIcon icon = format.isEmpty()
                           ? ThemeIcon({"dialog-question", "unknown", "text-x-generic"})
                           : GetFileIcon(257, QStringLiteral("test.") + format);
    picFileFormat->setPixmap(icon.pixmap(16, 16));
}

void RulesPage::UpdateRulesText() {
    const int index = selectedRule();
    if (index == 0) return;
    const udtRule& rule = Rules[static_cast<size_t>(index)];
    std::array<bool, kCriteria> checked{};
    for (int i = 0; i < kCriteria; ++i)
        checked[static_cast<size_t>(i)] = cbCriteria[i]->isChecked();
    const std::vector<SentenceRow> rows =
        RuleSentence(checked, {rule.Sender.get(), rule.Recipient.get(), rule.Subject.get(),
                               rule.FileFormat.get()});
    lblStdRule->setVisible(rows.empty());
    lblStdRule->adjustSize();
    lblStdRule->move(0, 0);

    const QFontMetrics fm = fontMetrics();
    const int space = fm.horizontalAdvance(QLatin1Char(' '));
    int pitch = cbCriteria[1]->y() - cbCriteria[0]->y();
    if (pitch <= 0) pitch = cbCriteria[0]->sizeHint().height() + 2;
    pnlRuleText->setMinimumHeight(pitch * kCriteria);
    for (int i = 0; i < kCriteria; ++i) {
        const auto c = static_cast<Criterion>(i);
        lblChoose[i]->setText(ChooseCaption(c, RuleFieldValue(rule, kValueFields[i])));
        const bool on = checked[static_cast<size_t>(i)];
        lblCriterionTXT[i]->setVisible(on);
        lblChoose[i]->setVisible(on);
        lblAND[i]->setVisible(on);
    }
    picFileFormat->setVisible(checked[3]);
    int top = 0;
    for (const SentenceRow& row : rows) {
        const int i = static_cast<int>(row.criterion);
        lblCriterionTXT[i]->setText(row.text);
        lblChoose[i]->setText(row.value);
        lblAND[i]->setText(row.separator);
        int left = 0;
        for (QLabel* label : {lblCriterionTXT[i], lblChoose[i]}) {
            const int width = fm.horizontalAdvance(label->text()) + space;
            label->setGeometry(left, top, width, pitch);
            left += width;
        }
        if (row.criterion == Criterion::FileFormat) {
            picFileFormat->move(left, top + (pitch - picFileFormat->height()) / 2);
            left += picFileFormat->width() + space;
        }
        lblAND[i]->setGeometry(left, top, fm.horizontalAdvance(row.separator) + space, pitch);
        top += pitch;
    }
}

// ---- the list of rules ----

int RulesPage::selectedRule() const {
    const int row = lstRules->currentRow();
    return row >= 0 && row < Rules.count() ? row + 1 : 0;
}

bool RulesPage::writeField(RuleField field, const QString& value) {
    const int index = selectedRule();
    if (index == 0) {
        ui().beep();
        return false;
    }
    const EditResult result = SetRuleField(index, field, value, Overlong::Cut);
    if (result.ok()) return true;
    if (result.refusal == EditRefusal::Empty)
        Box(FieldEmpty(), MsgIcon::Exclamation);
    else if (result.refusal == EditRefusal::Blocked)
        Box(BlockedText(), MsgIcon::Stop);
    else
        Box(result.message, MsgIcon::Exclamation);
    return false;
}

bool RulesPage::writeFlag(RuleField field, bool on) {
    return writeField(field, on ? QStringLiteral("1") : QStringLiteral("0"));
}

void RulesPage::lstRules_Click() {
    const int index = selectedRule();
    if (index == 0) {
        ui().beep();
        return;
    }
    m_form.bLoading = true;
    udtRule& rule = Rules[static_cast<size_t>(index)];
    frRuleOptions->setTitle(
        LangText(QStringLiteral("Einstellungen für"), QStringLiteral("Settings for")) +
        QStringLiteral(" '") + StripAtNull(rule.Name.get()) + QStringLiteral("':"));
    for (int i = 0; i < kCriteria; ++i) {
        cbCriteria[i]->setChecked(IsTrue(
            std::array{rule.CheckSender, rule.CheckRecp, rule.CheckSubj, rule.CheckFileFormat}[i]));
        if (i < 3) txtCriteria[i]->setText(RuleFieldValue(rule, kValueFields[i]));
    }
    clRulesFileFormat->setCurrentText(StripAtNull(rule.FileFormat.get()));
    {
        const QSignalBlocker block(clRulesSaveBy);
        clRulesSaveBy->setCurrentIndex(rule.SaveBy);
    }
    clRulesSaveBy_Click();
    if (rule.SaveBy != SaveBy::Project) {
        if (rule.SaveFormat >= 0 && rule.SaveFormat < clRulesSaveFormat->count())
            clRulesSaveFormat->setCurrentIndex(rule.SaveFormat);
        txtRulesFolder->setText(StripAtNull(rule.Folder.get()));
    } else {
        const int project = clRulesSaveFormat->findText(rule.Folder.get());
        if (project >= 0) clRulesSaveFormat->setCurrentIndex(project);
    }
    txtRulesFolder->setModified(false);
    txtRulesRunApp->setText(StripAtNull(rule.Execute.get()));
    txtRulesRunApp->setModified(false);
    cbRulesDelAttach->setChecked(IsTrue(rule.DelAttach));
    cbInform->setChecked(IsTrue(rule.Notify));
    cbRulesHyperlinks->setChecked(IsTrue(rule.Hyperlink));
    // A damaged file may hold any byte here; the repair is not a change to save.
    if (rule.FileExists >= 4) rule.FileExists = FileExists::Ask;
    obFileExists[rule.FileExists]->setChecked(true);
    UpdateRulesText();
    m_form.UpdateOBs();
    m_form.bLoading = false;
}

void RulesPage::lstRules_ItemCheck(int row) {
    if (m_form.bLoading || row < 0 || row >= Rules.count()) return;
    const bool on = lstRules->item(row)->checkState() == Qt::Checked;
    // The row's text changes too (a rename); only a changed mark is an edit.
    if (IsTrue(Rules[static_cast<size_t>(row + 1)].Active) == on) return;
    SetRuleField(row + 1, RuleField::Active, on ? QStringLiteral("1") : QStringLiteral("0"));
    m_form.UpdateOBs();
}

void RulesPage::btnRulesAdd_Click() {
    const QString name =
        Ask(LangText(QStringLiteral("Bitte Bezeichnung für die neue Regel eingeben:"),
                     QStringLiteral("Please enter description for the new rule:")),
            LangText(QStringLiteral("Neue Regel"), QStringLiteral("New rule")));
    if (name.isEmpty()) return;
    for (int row = 0; row < lstRules->count(); ++row) {
        if (lstRules->item(row)->text().compare(name, Qt::CaseInsensitive) != 0) continue;
        lstRules->setCurrentRow(row);
        Box(LangText(QStringLiteral("Eine Regel '"), QStringLiteral("A rule '")) + name +
                LangText(QStringLiteral("' existiert bereits..."),
                         QStringLiteral("' allready exists...")),
            MsgIcon::Exclamation);
        return;
    }
    const EditResult added = AddRule(name, Overlong::Cut);
    if (!added.ok()) {
        Box(added.message, MsgIcon::Exclamation);
        return;
    }
    InitRulesList(name);
}

void RulesPage::btnRuleEdit_Click() {
    const int index = selectedRule();
    if (index == 0) {
        ui().beep();
        return;
    }
    const QString old = Rules[static_cast<size_t>(index)].Name.get();
    ui().beep();
    const QString name =
        Ask(LangText(QStringLiteral("Neue Bezeichnung für Regel '"),
                     QStringLiteral("Enter new description for rule '")) +
                old + LangText(QStringLiteral("' eingeben:"), QStringLiteral("':")),
            old);
    if (name.isEmpty()) return;
    const EditResult renamed = RenameRule(index, name, Overlong::Cut);
    if (!renamed.ok()) {
        Box(renamed.message, MsgIcon::Exclamation);
        return;
    }
    lstRules->item(index - 1)->setText(name);
}

void RulesPage::btnRulesDel_Click() {
    const int index = selectedRule();
    if (index == 0) {
        ui().beep();
        return;
    }
    ui().beep();
    const MsgAnswer answer =
        ui().messageBox(LangText(QStringLiteral("Regel '"), QStringLiteral("Delete rule '")) +
                            Rules[static_cast<size_t>(index)].Name.get() +
                            LangText(QStringLiteral("' wirklich löschen?"), QStringLiteral("'?")),
                        MsgButtons::YesNo, MsgIcon::Question, gAppCaption);
    if (answer != MsgAnswer::Yes) return;
    RemoveRule(index);
    {
        const QSignalBlocker block(lstRules);
        delete lstRules->takeItem(index - 1);
        lstRules->setCurrentRow(qMin(index - 1, lstRules->count() - 1));
    }
    // The only rule gone: nothing is selected and the editor keeps what it showed.
    if (lstRules->count() > 0) lstRules_Click();
}

void RulesPage::spnUpDown_Change(int direction) {
    if (m_form.bMoving) return;
    m_form.bMoving = true;
    const int index = selectedRule();
    if (index == 0) {
        m_form.bMoving = false;
        ui().beep();
        return;
    }
    const EditResult moved = MoveRule(index, direction);
    if (!moved.ok()) {
        m_form.bMoving = false;
        ui().beep();
        return;
    }
    InitRulesList(Rules[static_cast<size_t>(moved.index)].Name.get());
    m_form.bMoving = false;
}

// ---- the editor ----

void RulesPage::criterion_Click(int criterion) {
    UpdateRulesText();
    m_form.UpdateOBs();
    if (m_form.bLoading) return;
    writeFlag(kCheckFields[criterion], cbCriteria[criterion]->isChecked());
}

void RulesPage::flag_Click(RuleField field, QCheckBox* box) {
    if (m_form.bLoading) return;
    writeFlag(field, box->isChecked());
}

bool RulesPage::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonRelease) {
        if (watched == lblChoose[0] || watched == lblChoose[1]) {
            chooseParty(watched == lblChoose[0]);
            return true;
        }
        if (watched == lblChoose[2]) {
            lblChooseSubj_Click();
            return true;
        }
        if (watched == lblChoose[3]) {
            lblChooseFileFormat_Click();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void RulesPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    UpdateRulesText();
}

void RulesPage::chooseParty(bool sender) {
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    frmSenderRecp dialog(this);
    if (sender)
        dialog.InitForSender();
    else
        dialog.InitForRecipient();
    dialog.setTerm(lblChoose[sender ? 0 : 1]->text());
    dialog.exec();
    if (dialog.Term.isEmpty()) return;
    if (writeField(sender ? RuleField::Sender : RuleField::Recipient, dialog.Term))
        UpdateRulesText();
}

void RulesPage::lblChooseSubj_Click() {
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    const QString text =
        Ask(LangText(QStringLiteral("Bitte geben Sie den Text ein, der im Betreff enthalten sein "
                                    "soll, damit das Kriterium erfüllt ist (Gross-/Kleinscheibung "
                                    "wird ignoriert):"),
                     QStringLiteral("Please enter text which should be part of the subject to "
                                    "macth the rule (case will be ignored):")),
            lblChoose[2]->text());
    if (text.isEmpty()) return;
    if (writeField(RuleField::Subject, text)) UpdateRulesText();
}

void RulesPage::lblChooseFileFormat_Click() {
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    const QString text =
        Ask(LangText(QStringLiteral("Bitte geben Sie die Erweiterung (PDF, DOC, TIF etc.) ein, die "
                                    "der Anhang haben soll, damit das Kriterium erfüllt ist "
                                    "(Gross-/Kleinscheibung wird ignoriert):"),
                     QStringLiteral("Please enter th extension (PDF, DOC, TIF etc.) the attachment "
                                    "must have to match the rule (case will be ignored):")),
            lblChoose[3]->text());
    if (text.isEmpty()) return;
    if (!writeField(RuleField::FileFormat, text.toUpper())) return;
    m_form.UpdateOBs();
    UpdateRulesText();
}

void RulesPage::fillSaveFormats(int saveBy) {
    clRulesSaveFormat->clear();
    const QString party = clRulesSaveBy->itemText(saveBy);
    switch (saveBy) {
    case SaveBy::Date:
        clRulesSaveFormat->addItems(
            IsGerman() ? QStringList{QStringLiteral("TT-MM-JJJJ"), QStringLiteral("JJJJ-MM-TT"),
                                     QStringLiteral("JJJJ-MM"), QStringLiteral("JJJJ-KW")}
                       : QStringList{QStringLiteral("DD-MM-YYYY"), QStringLiteral("YYYY-MM-DD"),
                                     QStringLiteral("YYYY-MM"), QStringLiteral("YYYY-WY")});
        break;
    case SaveBy::Sender:
    case SaveBy::Recipient:
        clRulesSaveFormat->addItem(IsGerman() ? party + QStringLiteral("-Name")
                                              : QStringLiteral("Name of ") + party);
        clRulesSaveFormat->addItem(
            LangText(QStringLiteral("E-Mail-Adresse"), QStringLiteral("eMail address")));
        break;
    case SaveBy::Project:
        for (int i = 1; i <= Projects.count(); ++i)
            clRulesSaveFormat->addItem(StripAtNull(Projects[static_cast<size_t>(i)].Name.get()));
        break;
    default:
        break;
    }
}

void RulesPage::clRulesSaveBy_Click() {
    const int saveBy = clRulesSaveBy->currentIndex();
    if (saveBy < 0) return;
    // The field first: what the format list then writes (a project's name) belongs to it.
    if (!m_form.bLoading && selectedRule() > 0)
        writeField(RuleField::SaveBy, QString::number(saveBy));
    lblSaveTo->setText(
        saveBy <= SaveBy::Recipient ? TagCaption(lblSaveTo)
        : saveBy == SaveBy::Project
            ? LangText(QStringLiteral("Projektordner:"), QStringLiteral("Project folder:"))
            : LangText(QStringLiteral("Speichern in Ordner:"), QStringLiteral("Save to folder:")));
    {
        const QSignalBlocker block(clRulesSaveFormat);
        fillSaveFormats(saveBy);
        clRulesSaveFormat->setCurrentIndex(clRulesSaveFormat->count() > 0 ? 0 : -1);
    }
    lblRulesSaveFormat->setText(saveBy == SaveBy::Project ? QStringLiteral("in:")
                                                          : QStringLiteral("Format:"));
    lblRulesSaveFormat->setVisible(saveBy != SaveBy::Folder);
    clRulesSaveFormat->setVisible(saveBy != SaveBy::Folder);
    btnEditProjects->setVisible(saveBy == SaveBy::Project);
    clRulesSaveFormat_Click();
    m_form.UpdateOBs();
}

void RulesPage::clRulesSaveFormat_Click() {
    const bool byProject = clRulesSaveBy->currentIndex() == SaveBy::Project;
    const int row = clRulesSaveFormat->currentIndex();
    if (byProject && row >= 0) {
        const QString name = clRulesSaveFormat->currentText().trimmed();
        for (int i = 1; i <= Projects.count(); ++i)
            if (Projects[static_cast<size_t>(i)].Name.get() == name) {
                txtRulesFolder->setText(StripAtNull(Projects[static_cast<size_t>(i)].Folder.get()));
                break;
            }
    }
    m_form.UpdateOBs();
    if (m_form.bLoading || row < 0 || selectedRule() == 0) return;
    if (byProject)
        writeField(RuleField::Folder, clRulesSaveFormat->currentText());
    else
        writeField(RuleField::SaveFormat, QString::number(row));
}

void RulesPage::txtRulesFolder_Validate() {
    if (m_form.bLoading || !txtRulesFolder->isModified()) return;
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    // "~" is the home folder; the field then shows the folder as it is stored.
    txtRulesFolder->setText(ExpandHome(txtRulesFolder->text()));
    if (!writeField(RuleField::Folder, txtRulesFolder->text())) {
        // The box keeps the focus until it holds a folder.
        QTimer::singleShot(0, txtRulesFolder, [this] { txtRulesFolder->setFocus(); });
        return;
    }
    txtRulesFolder->setModified(false);
}

void RulesPage::txtRulesRunApp_Validate() {
    if (m_form.bLoading || !txtRulesRunApp->isModified()) return;
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    if (writeField(RuleField::Execute, txtRulesRunApp->text())) txtRulesRunApp->setModified(false);
}

void RulesPage::btnChooseFolder_Click() {
    const int saveBy = clRulesSaveBy->currentIndex();
    if (saveBy == SaveBy::Project) {
        ShowNotAvailable();
        return;
    }
    const QString folder = ui().browseForFolder(
        saveBy == SaveBy::Folder
            ? LangText(QStringLiteral("Ordner wählen:"), QStringLiteral("Choose folder:"))
            : LangText(QStringLiteral("Basisordner wählen:"),
                       QStringLiteral("Choose base folder:")),
        ExpandHome(txtRulesFolder->text()));
    if (folder.isEmpty() || !writeField(RuleField::Folder, folder)) return;
    txtRulesFolder->setText(folder);
    txtRulesFolder->setModified(false);
    if (saveBy != SaveBy::Folder) m_form.InitStowawayFolderList();
}

void RulesPage::btnOpenFolder_Click() {
    OpenWithShell(StripBackslash(ExpandHome(txtRulesFolder->text())));
}

void RulesPage::btnChooseApp_Click() {
    if (selectedRule() == 0) {
        ui().beep();
        return;
    }
    if (cbCriteria[3]->isChecked() && IsFormatBlocked(lblChoose[3]->text().toUpper())) {
        Box(BlockedText(), MsgIcon::Stop);
        txtRulesRunApp->clear();
        writeField(RuleField::Execute, QString());
        return;
    }
    // Arguments of a command line are not the program's name: cut at a quote, else at the
    // first option (" -", as options begin here; a "/" is part of a path).
    QString start = txtRulesRunApp->text();
    qsizetype cut = start.indexOf(QLatin1Char('\''));
    if (cut < 0) cut = start.indexOf(QLatin1String(" -"));
    if (cut >= 0) start = start.left(cut);
    start = start.trimmed();
    OpenFileRequest request;
    request.title =
        LangText(QStringLiteral("Anwendung wählen:"), QStringLiteral("Choose application:"));
    request.filter = LangText(QStringLiteral("Anwendungen"), QStringLiteral("Applications")) +
                     QStringLiteral(" (*)|*");
    request.initialFolder = GetSpecialFolder(Csidl::ProgramFiles);
    request.fileName = GetFileNamePart(start);
    const QString program = ui().chooseOpenFile(request);
    if (program.isEmpty() || !writeField(RuleField::Execute, program)) return;
    txtRulesRunApp->setText(program);
    txtRulesRunApp->setModified(false);
}

void RulesPage::editProjects() {
    const bool byProject = clRulesSaveBy->currentIndex() == SaveBy::Project;
    const QString remembered = byProject ? clRulesSaveFormat->currentText() : QString();
    frmProjects dialog(remembered, this);
    dialog.exec();
    if (!byProject) return;
    {
        const QSignalBlocker block(clRulesSaveFormat);
        fillSaveFormats(SaveBy::Project);
        const int row = clRulesSaveFormat->findText(remembered);
        clRulesSaveFormat->setCurrentIndex(row >= 0 ? row
                                                    : (clRulesSaveFormat->count() > 0 ? 0 : -1));
    }
    clRulesSaveFormat_Click();
}

void RulesPage::btnCheckRule_Click() {
    const int rule = selectedRule();
    const int folder = clFoldersCheckRule->currentIndex() + 1;
    if (rule == 0 || folder < 1) {
        ui().beep();
        return;
    }
    CheckRule(rule, folder, &m_form);
}

void RulesPage::obFileExists_Click(int index) {
    if (m_form.bLoading) return;
    writeField(RuleField::FileExists, QString::number(index));
}
