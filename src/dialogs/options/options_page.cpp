#include "dialogs/options/options_page.h"

#include "addin/lifecycle.h"
#include "common/ansi.h"
#include "common/file_icons.h"
#include "common/files.h"
#include "common/folders.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/shell.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "data/watch_edits.h"
#include "dialogs/icons.h"
#include "dialogs/named_widget.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/rules_page.h"
#include "dialogs/translate.h"
#include "engine/notification.h"
#include "ui/user_interaction.h"

#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {
QGroupBox* Frame(QWidget* parent, const QString& name, const QString& tag) {
    return Named<QGroupBox>(parent, name, tag);
}

QString Flag(bool on) {
    return on ? QStringLiteral("1") : QStringLiteral("0");
}

void LogNotFound() {
    ui().messageBox(LangText(QStringLiteral("LOG-Datei nicht gefunden..."),
                             QStringLiteral("LOG file not found...")),
                    MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
}
} // namespace

OptionsPage::OptionsPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgOptions"));
    auto* left = new QVBoxLayout;
    left->addWidget(buildMarkMail());
    left->addWidget(buildBlocked(), 1);
    auto* btnAddIns = Named<QPushButton>(this, QStringLiteral("btnAddIns"),
                                         QStringLiteral("Add-Ins?||Add-Ins?|"));
    btnAddIns->setAutoDefault(false);
    connect(btnAddIns, &QPushButton::clicked, this, [this] { btnAddIns_Click(); });
    // The projects, through the Rules tab's handler.
    auto* btnOptProjects = Named<QPushButton>(this, QStringLiteral("btnOptProjects"),
                                              QStringLiteral("Projekte...||Projects...|"));
    btnOptProjects->setAutoDefault(false);
    connect(btnOptProjects, &QPushButton::clicked, this,
            [this] { m_form.rulesPage()->editProjects(); });
    buttonRow = new QHBoxLayout;
    buttonRow->addWidget(btnOptProjects);
    buttonRow->addWidget(btnAddIns);
    buttonRow->addStretch(1);
    auto* right = new QVBoxLayout;
    right->addWidget(buildInform());
    right->addWidget(buildProto());
    right->addWidget(buildLanguage());
    right->addStretch(1);
    right->addLayout(buttonRow);
    auto* layout = new QHBoxLayout(this);
    layout->addLayout(left, 1);
    layout->addLayout(right, 1);
}

QWidget* OptionsPage::buildBlocked() {
    QGroupBox* frame =
        Frame(this, QStringLiteral("frBlocked"),
              QStringLiteral("Blockierte Anhangformate:||Blocked attachment formats:|"));
    lvBlocked = Named<QTreeWidget>(frame, QStringLiteral("lvBlocked"),
                                   QStringLiteral("Ext|Descr|Ext|Descr"));
    lvBlocked->setColumnCount(2);
    lvBlocked->setHeaderLabels({QStringLiteral("Ext"), QStringLiteral("Descr")});
    lvBlocked->setRootIsDecorated(false);
    lvBlocked->setUniformRowHeights(true);
    lvBlocked->setAllColumnsShowFocus(true);
    auto* add = PictureButton(frame, QStringLiteral("btnBlockExtAdd"), ThemeIcon({"list-add"}),
                              QStringLiteral("|Neue Definition||Add definition"));
    btnBlockExtDel = PictureButton(frame, QStringLiteral("btnBlockExtDel"),
                                   ThemeIcon({"list-remove", "edit-delete"}),
                                   QStringLiteral("|Definition löschen||Delete definition"));
    btnBlockExtDel->setEnabled(false);
    auto* info =
        Named<QLabel>(frame, QStringLiteral("lblBEInfos"),
                      QStringLiteral("Die markierten Dateiformate werden gespeichert, aber "
                                     "nicht ausgeführt oder geöffnet...||Selected file "
                                     "formats will be saved but not executed or opened...|"));
    info->setWordWrap(true);
    connect(lvBlocked, &QTreeWidget::currentItemChanged, this, [this] { lvBlocked_Click(); });
    connect(lvBlocked, &QTreeWidget::itemChanged, this,
            [this](QTreeWidgetItem* item) { lvBlocked_ItemCheck(item); });
    connect(add, &QToolButton::clicked, this, [this] { btnBlockExtAdd_Click(); });
    connect(btnBlockExtDel, &QToolButton::clicked, this, [this] { btnBlockExtDel_Click(); });
    auto* buttons = new QVBoxLayout;
    buttons->addWidget(add);
    buttons->addWidget(btnBlockExtDel);
    buttons->addStretch(1);
    auto* grid = new QGridLayout(frame);
    grid->addWidget(lvBlocked, 0, 0);
    grid->addLayout(buttons, 0, 1);
    grid->addWidget(info, 1, 0, 1, 2);
    return frame;
}

QWidget* OptionsPage::buildMarkMail() {
    QGroupBox* frame = Frame(this, QStringLiteral("frMarkMail"),
                             QStringLiteral("Nachricht markieren:||Mark mails:|"));
    cbMarkMail = Named<QCheckBox>(frame, QStringLiteral("cbMarkMail"), QString());
    lblMarkMail = Named<QLabel>(
        frame, QStringLiteral("lblMarkMail"),
        QStringLiteral("Betreff um '[SW]' ergänzen, wenn Anhänge gelöscht wurden||Add '[SW]' to "
                       "subject if attachments are deleted|"));
    lblMarkMail->setWordWrap(true);
    lblMarkMail->setBuddy(cbMarkMail);
    lblMarkMail->installEventFilter(this);
    cbMarkMail->setAccessibleName(QStringLiteral("[SW]"));
    obMarkMail[0] = Named<QRadioButton>(frame, QStringLiteral("obMarkMail_0"),
                                        QStringLiteral("Am Anfang||Start|"));
    obMarkMail[1] =
        Named<QRadioButton>(frame, QStringLiteral("obMarkMail_1"), QStringLiteral("Am Ende||End|"));
    connect(cbMarkMail, &QCheckBox::clicked, this, [this] { cbMarkMail_Click(); });
    for (QRadioButton* ob : obMarkMail)
        connect(ob, &QRadioButton::clicked, this, [this] {
            if (!m_form.bLoading) writeMarkMail();
        });
    auto* grid = new QGridLayout(frame);
    grid->addWidget(cbMarkMail, 0, 0, Qt::AlignTop);
    grid->addWidget(lblMarkMail, 0, 1, 1, 2);
    grid->addWidget(obMarkMail[0], 1, 1);
    grid->addWidget(obMarkMail[1], 1, 2);
    grid->setColumnStretch(2, 1);
    return frame;
}

QWidget* OptionsPage::buildInform() {
    QGroupBox* frame = Frame(this, QStringLiteral("frInform"),
                             QStringLiteral("Benachrichtigung:||Notification:|"));
    static const char* const kNoti[] = {"Keine Benachrichtigung||No notification|",
                                        "Meldung/Dialog anzeigen||Display message/dialog|",
                                        "Systray-Info einblenden||Display systray info|"};
    auto* grid = new QGridLayout(frame);
    for (int i = 0; i < 3; ++i) {
        obNoti[i] = Named<QRadioButton>(frame, QStringLiteral("obNoti_%1").arg(i),
                                        QString::fromUtf8(kNoti[i]));
        connect(obNoti[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on) obNoti_Click(i);
        });
        grid->addWidget(obNoti[i], i, 0, 1, 3);
    }
    lblSystrayTime =
        Named<QLabel>(frame, QStringLiteral("lblSystrayTime"), QStringLiteral("Zeit:||Time:|"));
    clSystrayTime = Named<QComboBox>(frame, QStringLiteral("clSystrayTime"), QString());
    lblSystrayTime->setBuddy(clSystrayTime);
    cbSound = Named<QCheckBox>(frame, QStringLiteral("cbSound"),
                               QStringLiteral("Akustischer Hinweis||Acoustic notify|"));
    lblSoundTXT = Named<QLabel>(frame, QStringLiteral("lblSoundTXT"), QString());
    lblSoundTXT->setText(QStringLiteral("Sound:"));
    clWave = Named<QComboBox>(frame, QStringLiteral("clWave"), QString());
    lblSoundTXT->setBuddy(clWave);
    connect(clSystrayTime, &QComboBox::currentIndexChanged, this,
            [this] { clSystrayTime_Click(); });
    connect(cbSound, &QCheckBox::toggled, this, [this] { cbSound_Click(); });
    connect(clWave, &QComboBox::currentIndexChanged, this, [this] { clWave_Click(); });
    grid->addWidget(lblSystrayTime, 3, 1);
    grid->addWidget(clSystrayTime, 3, 2);
    grid->addWidget(cbSound, 4, 0, 1, 3);
    grid->addWidget(lblSoundTXT, 5, 1);
    grid->addWidget(clWave, 5, 2);
    btnTestNoti = Named<QPushButton>(frame, QStringLiteral("btnTestNoti"),
                                     QStringLiteral("Einstellungen testen||Test settings|"));
    btnTestNoti->setAutoDefault(false);
    connect(btnTestNoti, &QPushButton::clicked, this, [this] { btnTestNoti_Click(); });
    grid->addWidget(btnTestNoti, 6, 0, 1, 3, Qt::AlignRight);
    grid->setColumnMinimumWidth(0, 16);
    grid->setColumnStretch(2, 1);
    return frame;
}

QWidget* OptionsPage::buildProto() {
    QGroupBox* frame = Frame(this, QStringLiteral("frProto"),
                             QStringLiteral("Problembehandlung:||Handle errors:|"));
    cbDoProto = Named<QCheckBox>(
        frame, QStringLiteral("cbDoProto"),
        QStringLiteral("Fehler und Hinweise in Protokoll schreiben||Write errors and hints to LOG "
                       "file|"));
    lblLOGPath = Named<QLabel>(frame, QStringLiteral("lblLOGPath"), QString());
    lblLOGPath->setTextFormat(Qt::PlainText);
    connect(cbDoProto, &QCheckBox::toggled, this, [this](bool on) {
        if (m_form.bLoading) return;
        ApplySetting(QStringLiteral("DoProto"), Flag(on));
    });
    auto* explorer = PictureButton(
        frame, QStringLiteral("btnViewExplorer"), ThemeIcon({"folder-open", "folder"}),
        QStringLiteral("|Verzeichnis mit LOG im Dateimanager öffnen||Open folder with LOG file "
                       "in file manager"));
    auto* notepad =
        PictureButton(frame, QStringLiteral("btnLOGNotepad"),
                      ThemeIcon({"accessories-text-editor", "text-x-generic"}),
                      QStringLiteral("|LOG mit Notepad öffnen||Open LOG file with Notepad"));
    auto* copy = PictureButton(
        frame, QStringLiteral("btnCopyToClipboard"), ThemeIcon({"edit-copy"}),
        QStringLiteral("|LOG in die Zwischenablage kopieren||Copy LOG file contents to clipboard"));
    auto* del =
        PictureButton(frame, QStringLiteral("btnDelLOG"), ThemeIcon({"edit-delete", "user-trash"}),
                      QStringLiteral("|LOG-Datei löschen...||Delete LOG file..."));
    connect(explorer, &QToolButton::clicked, this,
            [] { OpenWithShell(StripBackslash(GetDataFolder())); });
    connect(notepad, &QToolButton::clicked, this, [this] { btnLOGNotepad_Click(); });
    connect(copy, &QToolButton::clicked, this, [this] { btnCopyToClipboard_Click(); });
    connect(del, &QToolButton::clicked, this, [this] { btnDelLOG_Click(); });
    auto* logRow = new QHBoxLayout;
    logRow->addWidget(lblLOGPath, 1);
    for (QToolButton* b : {explorer, notepad, copy, del})
        logRow->addWidget(b);
    auto* box = new QVBoxLayout(frame);
    box->addWidget(cbDoProto);
    box->addLayout(logRow);
    return frame;
}

QWidget* OptionsPage::buildLanguage() {
    QGroupBox* frame = Frame(this, QStringLiteral("rhmLanguage"),
                             QStringLiteral("Sprache/Language:||Language/Sprache:|"));
    static const char* const kLang[] = {"Deutsch", "English"};
    auto* box = new QHBoxLayout(frame);
    for (int i = 0; i < 2; ++i) {
        obLanguage[i] =
            Named<QRadioButton>(frame, QStringLiteral("obLanguage_%1").arg(i), QString());
        obLanguage[i]->setText(QString::fromLatin1(kLang[i]));
        connect(obLanguage[i], &QRadioButton::toggled, this, [this, i](bool on) {
            if (on && !m_form.bLoading) m_form.SwitchLanguage(i);
        });
        box->addWidget(obLanguage[i]);
    }
    box->addStretch(1);
    return frame;
}

void OptionsPage::fillLists() {
    clSystrayTime->clear();
    clSystrayTime->addItems(
        {QStringLiteral("3"), QStringLiteral("5"), QStringLiteral("7"), QStringLiteral("10")});
    clSystrayTime->setCurrentIndex(1);
    clWave->clear();
    const QFileInfoList sounds =
        QDir(SoundsFolder())
            .entryInfoList({QStringLiteral("*.wav")}, QDir::Files, QDir::Name | QDir::IgnoreCase);
    for (const QFileInfo& sound : sounds)
        clWave->addItem(sound.completeBaseName());
    clWave->setCurrentIndex(clWave->count() > 0 ? 0 : -1);
}

void OptionsPage::readLanguage() {
    // The language in use, which a first start takes from the desktop's locale.
    obLanguage[IsGerman() ? 0 : 1]->setChecked(true);
}

void OptionsPage::readSettings() {
    const long long notify = GetNumberSetting(QStringLiteral("Notify"), QStringLiteral("1"));
    Notify = static_cast<int16_t>(notify);
    if (notify >= 0 && notify <= 2) obNoti[notify]->setChecked(true);
    const QString time = GetSetting(QStringLiteral("NotifyTime"), QStringLiteral("5"));
    NotifyTime =
        static_cast<int16_t>(GetNumberSetting(QStringLiteral("NotifyTime"), QStringLiteral("5")));
    const int timeIndex = clSystrayTime->findText(time);
    if (timeIndex >= 0) clSystrayTime->setCurrentIndex(timeIndex);
    NotifySound = GetBoolSetting(QStringLiteral("NotifySound"), QStringLiteral("1"));
    cbSound->setChecked(NotifySound);
    SoundName = GetSetting(QStringLiteral("SoundName"), QStringLiteral("Moog 1"));
    const int soundIndex = clWave->findText(SoundName);
    clWave->setCurrentIndex(soundIndex >= 0 ? soundIndex : (clWave->count() > 0 ? 0 : -1));
    // The enabling that the handlers do in every case.
    btnTestNoti->setEnabled(notify != 0);
    lblSystrayTime->setEnabled(notify == 2);
    clSystrayTime->setEnabled(notify == 2);
    lblSoundTXT->setEnabled(NotifySound);
    clWave->setEnabled(NotifySound);
}

void OptionsPage::readMarkMail() {
    const long long mark = GetNumberSetting(QStringLiteral("MarkMail"), QStringLiteral("0"));
    cbMarkMail->setChecked(mark == 1 || mark == 2);
    obMarkMail[mark == 2 ? 1 : 0]->setChecked(true);
}

void OptionsPage::showLogFile() {
    const QString path = LogFilePath();
    lblLOGPath->setToolTip(path);
    lblLOGPath->setText(QFileInfo(path).fileName());
    DoProto = GetBoolSetting(QStringLiteral("DoProto"), QStringLiteral("0"));
    cbDoProto->setChecked(DoProto);
}

bool OptionsPage::eventFilter(QObject* watched, QEvent* event) {
    // A click on the label beside the box inverts the box.
    if (watched == lblMarkMail && event->type() == QEvent::MouseButtonRelease) {
        cbMarkMail->setChecked(!cbMarkMail->isChecked());
        cbMarkMail_Click();
        return true;
    }
    return QWidget::eventFilter(watched, event);
}

void OptionsPage::cbMarkMail_Click() {
    for (QRadioButton* ob : obMarkMail)
        ob->setEnabled(cbMarkMail->isChecked());
    if (!m_form.bLoading) writeMarkMail();
}

void OptionsPage::writeMarkMail() {
    const QString value = !cbMarkMail->isChecked()     ? QStringLiteral("0")
                          : obMarkMail[0]->isChecked() ? QStringLiteral("1")
                                                       : QStringLiteral("2");
    ApplySetting(QStringLiteral("MarkMail"), value);
}

void OptionsPage::obNoti_Click(int index) {
    btnTestNoti->setEnabled(index != 0);
    lblSystrayTime->setEnabled(index == 2);
    clSystrayTime->setEnabled(index == 2);
    if (m_form.bLoading) return;
    ApplySetting(QStringLiteral("Notify"), QString::number(index));
}

void OptionsPage::cbSound_Click() {
    lblSoundTXT->setEnabled(cbSound->isChecked());
    clWave->setEnabled(cbSound->isChecked());
    if (m_form.bLoading) return;
    if (cbSound->isChecked()) clWave_Click();
    ApplySetting(QStringLiteral("NotifySound"), Flag(cbSound->isChecked()));
}

void OptionsPage::clWave_Click() {
    if (m_form.bLoading || clWave->currentIndex() < 0) return;
    PlaySystemSound(SoundFilePath(clWave->currentText()));
    ApplySetting(QStringLiteral("SoundName"), clWave->currentText());
}

void OptionsPage::clSystrayTime_Click() {
    if (m_form.bLoading || clSystrayTime->currentIndex() < 0) return;
    ApplySetting(QStringLiteral("NotifyTime"), clSystrayTime->currentText());
}

void OptionsPage::prepare() {
    if (lvBlocked->topLevelItemCount() == 0) LoadBlockedFormats();
}

QTreeWidgetItem* OptionsPage::addBlockedRow(const QString& ext, const QString& description,
                                            bool active) {
    auto* item = new QTreeWidgetItem({QLatin1Char(' ') + ext, description});
    item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
    item->setCheckState(0, active ? Qt::Checked : Qt::Unchecked);
    item->setIcon(0, GetFileIcon(257, QStringLiteral("*.") + ext));
    lvBlocked->addTopLevelItem(item);
    return item;
}

void OptionsPage::LoadBlockedFormats() {
    m_form.setBusy(true);
    QCoreApplication::processEvents();
    const bool loading = m_form.bLoading;
    m_form.bLoading = true; // the check marks set here are no clicks
    lvBlocked->clear();
    lvBlocked->setColumnWidth(0, 80);
    lvBlocked->setColumnWidth(1, 200);
    for (int i = 1; i <= BlockedFormats.count(); ++i) {
        const udtBlockedFormat& b = BlockedFormats[static_cast<size_t>(i)];
        QTreeWidgetItem* item =
            addBlockedRow(b.Extension.get(), b.Description.get(), IsTrue(b.Active));
        if (!IsTrue(b.System)) { // the user's rows: blue and bold
            QFont font = item->font(0);
            font.setBold(true);
            for (int c = 0; c < 2; ++c) {
                item->setFont(c, font);
                item->setForeground(c, QColor(0, 0, 255));
            }
        }
    }
    if (QTreeWidgetItem* first = lvBlocked->topLevelItem(0)) {
        lvBlocked->setCurrentItem(first);
        lvBlocked->scrollToItem(first);
    }
    m_form.bLoading = loading;
    m_form.setBusy(false);
    QCoreApplication::processEvents();
}

void OptionsPage::lvBlocked_Click() {
    const int row = lvBlocked->indexOfTopLevelItem(lvBlocked->currentItem());
    if (row < 0 || row >= BlockedFormats.count()) {
        btnBlockExtDel->setEnabled(false);
        if (!m_form.bLoading) ui().beep();
        return;
    }
    btnBlockExtDel->setEnabled(!IsTrue(BlockedFormats[static_cast<size_t>(row) + 1].System));
}

int OptionsPage::blockedIndex(QTreeWidgetItem* item) {
    const int index = lvBlocked->indexOfTopLevelItem(item) + 1;
    if (index < 1) return 0;
    // A command run by this program meanwhile may have changed the table under the list.
    if (index > BlockedFormats.count() ||
        item->text(0).trimmed().left(3) !=
            BlockedFormats[static_cast<size_t>(index)].Extension.get()) {
        // Reloaded after this event: the row that raised it must outlive its handler.
        ui().beep();
        QMetaObject::invokeMethod(
            this, [this] { LoadBlockedFormats(); }, Qt::QueuedConnection);
        return 0;
    }
    return index;
}

void OptionsPage::lvBlocked_ItemCheck(QTreeWidgetItem* item) {
    if (m_form.bLoading) return;
    const int index = blockedIndex(item);
    if (index == 0) return;
    const bool on = item->checkState(0) == Qt::Checked;
    if (IsTrue(BlockedFormats[static_cast<size_t>(index)].Active) != on)
        SetBlockedFormatActive(index, on);
}

void OptionsPage::btnBlockExtAdd_Click() {
    InpBoxExRequest request;
    request.title = LangText(QStringLiteral("Benutzerdefiniertes Dateiformat blockieren:"),
                             QStringLiteral("Block user defined file formar:"));
    request.prompt = LangText(QStringLiteral("Bitte geben Sie die gewünschte Dateierweiterung "
                                             "(z.B. ZIP, DLL, MP3 etc.) ein:"),
                              QStringLiteral("Plesae enter desired extension (for e.g. ZIP, DLL, "
                                             "MP3 etc.):"));
    const QString answer = ui().inpBoxEx(request).toUpper();
    if (answer.isEmpty()) return;
    // The rows' texts begin with a blank, so only such an answer can match.
    for (int i = 0; i < lvBlocked->topLevelItemCount(); ++i) {
        QTreeWidgetItem* row = lvBlocked->topLevelItem(i);
        if (row->text(0) != answer) continue;
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("Bereits in Liste vorhanden!"),
                                 QStringLiteral("Allready in list!")),
                        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        lvBlocked->setCurrentItem(row);
        lvBlocked->scrollToItem(row);
        lvBlocked->setFocus();
        return;
    }
    const QString description = GetFileTypeName(answer, true);
    const EditResult result = AddUserBlockedFormat(answer, description, Overlong::Cut);
    if (!result.ok()) {
        // Nothing that could name a path or hide its dot gets into the table.
        ui().beep();
        ui().messageBox(LangText(QStringLiteral("'%1' ist keine Dateierweiterung.").arg(answer),
                                 QStringLiteral("'%1' is not a file extension.").arg(answer)),
                        MsgButtons::OK, MsgIcon::Exclamation, gAppCaption);
        return;
    }
    const bool loading = m_form.bLoading;
    m_form.bLoading = true;
    QTreeWidgetItem* row = addBlockedRow(
        answer, BlockedFormats[static_cast<size_t>(result.index)].Description.get(), true);
    m_form.bLoading = loading;
    lvBlocked->setCurrentItem(row);
    lvBlocked->scrollToItem(row);
    lvBlocked->setFocus();
}

void OptionsPage::btnBlockExtDel_Click() {
    QTreeWidgetItem* item = lvBlocked->currentItem();
    if (!item) {
        ui().beep();
        return;
    }
    const int index = blockedIndex(item);
    if (index == 0) return;
    ui().beep();
    if (ui().messageBox(LangText(QStringLiteral("Blockierung von '%1' wirklich löschen?"),
                                 QStringLiteral("Delete blcking of '%1'?"))
                            .arg(item->text(0)),
                        MsgButtons::YesNo, MsgIcon::Question, gAppCaption) != MsgAnswer::Yes)
        return;
    if (!RemoveBlockedFormat(index).ok()) return; // a built-in row stays
    delete item;
    lvBlocked_Click();
}

void OptionsPage::btnTestNoti_Click() {
    const QString file =
        GetSpecialFolder(Csidl::Personal) + QLatin1Char('/') + QStringLiteral("Infos.pdf");
    QStringList saved{QStringLiteral("Infos.pdf|") + file};
    if (QApplication::keyboardModifiers() & Qt::ControlModifier) saved << saved.first();
    NotifyUser(saved, LangText(QStringLiteral("Erika Mustermann"), QStringLiteral("Jane Doe")),
               LangText(QStringLiteral("erika.mustermann@beispiel.de"),
                        QStringLiteral("jane.doe@example.com")));
}

void OptionsPage::btnLOGNotepad_Click() {
    const QString path = LogFilePath();
    if (!QFile::exists(path)) return LogNotFound();
    OpenWithShell(path);
}

void OptionsPage::btnCopyToClipboard_Click() {
    QFile file(LogFilePath());
    if (!file.exists()) return LogNotFound();
    if (!file.open(QIODevice::ReadOnly)) return;
    const QString text = FromAnsi(file.readAll());
    QGuiApplication::clipboard()->clear();
    QGuiApplication::clipboard()->setText(text);
    ui().beep();
    ui().messageBox(LangText(QStringLiteral("Inhalt aus LOG-Datei wurde in Zwischenablage "
                                            "kopiert..."),
                             QStringLiteral("Contents of LOG file copied to clipboard...")),
                    MsgButtons::OK, MsgIcon::Information, gAppCaption);
}

void OptionsPage::btnDelLOG_Click() {
    const QString path = LogFilePath();
    ui().beep();
    if (!QFile::exists(path)) {
        ui().messageBox(QStringLiteral("LOG-Datei nicht gefunden..."), MsgButtons::OK,
                        MsgIcon::Exclamation, gAppCaption);
        return;
    }
    if (ui().messageBox(path + QStringLiteral("\n\nwirklich löschen?"), MsgButtons::YesNo,
                        MsgIcon::Question, gAppCaption) != MsgAnswer::Yes)
        return;
    if (QFile::remove(path)) PlaySystemSound(QStringLiteral("SystemAsterisk"));
}

void OptionsPage::btnAddIns_Click() {
    // The parts of this program that a support case asks about, with their state.
    QString text;
    if (!gobjRDOSession()) {
        text = QStringLiteral("\nMail store not open...\n");
    } else {
        const auto onOff = [](bool on) {
            return on ? QStringLiteral(" (On)") : QStringLiteral(" (Off)");
        };
        text = QStringLiteral("Stowaway add-ins:\n\n") + gAppCaption +
               onOff(CurrentAddinState() == AddinState::Running) +
               QStringLiteral("\nAutomatic saving") + onOff(SWActive) +
               QStringLiteral("\nTest mode") + onOff(SWTest) + QStringLiteral("\nLOG") +
               onOff(DoProto);
    }
    ui().messageBox(text, MsgButtons::OK, MsgIcon::Information, gAppCaption);
}
