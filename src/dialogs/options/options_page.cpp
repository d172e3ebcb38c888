#include "dialogs/options/options_page.h"

#include "common/shell.h"
#include "data/globals.h"
#include "data/log.h"
#include "data/settings.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/rules_page.h"
#include "dialogs/translate.h"
#include "engine/notification.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

namespace {
template <class W> W* Named(QWidget* parent, const QString& name, const QString& tag) {
    auto* w = new W(parent);
    w->setObjectName(name);
    if (!tag.isEmpty()) SetTag(w, tag);
    return w;
}

QGroupBox* Frame(QWidget* parent, const QString& name, const QString& tag) {
    return Named<QGroupBox>(parent, name, tag);
}

QString Flag(bool on) {
    return on ? QStringLiteral("1") : QStringLiteral("0");
}
} // namespace

OptionsPage::OptionsPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgOptions"));
    auto* layout = new QGridLayout(this);
    layout->addWidget(buildMarkMail(), 0, 0);
    layout->addWidget(buildInform(), 1, 0);
    layout->addWidget(buildProto(), 0, 1);
    layout->addWidget(buildLanguage(), 1, 1, Qt::AlignTop);
    // The projects, through the Rules tab's handler.
    auto* btnOptProjects = Named<QPushButton>(this, QStringLiteral("btnOptProjects"),
                                              QStringLiteral("Projekte...||Projects...|"));
    btnOptProjects->setAutoDefault(false);
    connect(btnOptProjects, &QPushButton::clicked, this,
            [this] { m_form.rulesPage()->editProjects(); });
    layout->addWidget(btnOptProjects, 2, 0, Qt::AlignLeft | Qt::AlignTop);
    layout->setRowStretch(2, 1);
    layout->setColumnStretch(0, 1);
    layout->setColumnStretch(1, 1);
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
    auto* box = new QVBoxLayout(frame);
    box->addWidget(cbDoProto);
    box->addWidget(lblLOGPath);
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
    const long long lang = GetNumberSetting(QStringLiteral("CurrLang"), QStringLiteral("0"));
    if (lang >= 0 && lang <= 1) obLanguage[lang]->setChecked(true);
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

void OptionsPage::prepare() {}
