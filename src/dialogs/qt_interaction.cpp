#include "dialogs/qt_interaction.h"

#include "common/lang.h"
#include "common/shell.h"

#include "dialogs/common/msgboxex.h"
#include "dialogs/common/pick_folder.h"
#include "dialogs/common/systray.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QElapsedTimer>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
#include <QProcess>
#include <QSoundEffect>
#include <QUrl>

namespace {
QMessageBox::Icon BoxIcon(MsgIcon icon) {
    switch (icon) {
    case MsgIcon::Stop:
        return QMessageBox::Critical;
    case MsgIcon::Question:
        return QMessageBox::Question;
    case MsgIcon::Exclamation:
        return QMessageBox::Warning;
    case MsgIcon::Information:
        return QMessageBox::Information;
    case MsgIcon::None:
        break;
    }
    return QMessageBox::NoIcon;
}

struct BoxButton {
    QMessageBox::StandardButton button;
    MsgAnswer answer;
};

QList<BoxButton> BoxButtons(MsgButtons buttons) {
    using B = QMessageBox;
    using A = MsgAnswer;
    switch (buttons) {
    case MsgButtons::OK:
        return {{B::Ok, A::OK}};
    case MsgButtons::OKCancel:
        return {{B::Ok, A::OK}, {B::Cancel, A::Cancel}};
    case MsgButtons::AbortRetryIgnore:
        return {{B::Abort, A::Abort}, {B::Retry, A::Retry}, {B::Ignore, A::Ignore}};
    case MsgButtons::YesNoCancel:
        return {{B::Yes, A::Yes}, {B::No, A::No}, {B::Cancel, A::Cancel}};
    case MsgButtons::YesNo:
        return {{B::Yes, A::Yes}, {B::No, A::No}};
    case MsgButtons::RetryCancel:
        return {{B::Retry, A::Retry}, {B::Cancel, A::Cancel}};
    }
    return {{B::Ok, A::OK}};
}

// System sounds by their classic names, as the freedesktop sound theme names them.
QString ThemeSoundFile(const QString& name) {
    static const QHash<QString, QString> names = {
        {QStringLiteral("SystemAsterisk"), QStringLiteral("dialog-information")},
        {QStringLiteral("SystemExclamation"), QStringLiteral("dialog-warning")},
        {QStringLiteral("SystemHand"), QStringLiteral("dialog-error")},
        {QStringLiteral("SystemQuestion"), QStringLiteral("dialog-question")},
        {QStringLiteral("SystemDefault"), QStringLiteral("bell")},
    };
    const QString themeName = names.value(name);
    if (themeName.isEmpty()) return {};
    // Qt plays wave files only; the theme's Ogg files are left to the beep.
    const QString wav = QStringLiteral("/usr/share/sounds/freedesktop/stereo/") + themeName +
                        QStringLiteral(".wav");
    return QFileInfo::exists(wav) ? wav : QString();
}

// Milliseconds within which an exit of xdg-open tells of the opening.
constexpr qint64 kOpenVerdictMs = 10000;

// Why xdg-open failed, by its exit code, with its own last line.
QString XdgOpenReason(int code, const QString& errorOutput) {
    QString why;
    switch (code) {
    case 2:
        why = LangText(QStringLiteral("die Datei oder den Ordner gibt es nicht"),
                       QStringLiteral("there is no such file or folder"));
        break;
    case 3:
        why = LangText(QStringLiteral("der Desktop hat kein Programm dafür (kein Dateimanager "
                                      "oder Standardprogramm eingerichtet)"),
                       QStringLiteral("the desktop has no program for it (no file manager or "
                                      "default application is set up)"));
        break;
    case 4:
        why = LangText(QStringLiteral("das Programm dafür konnte es nicht öffnen"),
                       QStringLiteral("the program for it could not open it"));
        break;
    default:
        why = LangText(QStringLiteral("xdg-open endete mit %1"),
                       QStringLiteral("xdg-open ended with %1"))
                  .arg(code);
    }
    const QStringList lines = errorOutput.trimmed().split(QLatin1Char('\n'));
    if (!lines.last().isEmpty())
        why += QStringLiteral(" (") + lines.last().trimmed() + QLatin1Char(')');
    return why;
}
} // namespace

QString QtFileFilter(const QString& classicFilter) {
    const QStringList parts = classicFilter.split(QLatin1Char('|'));
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString patterns =
            QString(parts.at(i + 1)).replace(QLatin1Char(';'), QLatin1Char(' '));
        filters << (parts.at(i).contains(QLatin1Char('('))
                        ? parts.at(i)
                        : parts.at(i) + QStringLiteral(" (") + patterns + QLatin1Char(')'));
    }
    return filters.join(QStringLiteral(";;"));
}

QtUserInteraction::QtUserInteraction() : m_notifier(std::make_unique<DesktopNotifier>()) {}
QtUserInteraction::~QtUserInteraction() = default;

void QtUserInteraction::setTray(frmSysTray* tray) {
    m_tray = tray;
}

void QtUserInteraction::setLastActionSink(std::function<void(const QString&)> sink) {
    m_lastActionSink = std::move(sink);
}

void QtUserInteraction::beep() {
    QApplication::beep();
}

MsgAnswer QtUserInteraction::messageBox(const QString& prompt, MsgButtons buttons, MsgIcon icon,
                                        const QString& title) {
    QMessageBox box(BoxIcon(icon), title, prompt, QMessageBox::NoButton,
                    QApplication::activeWindow());
    box.setObjectName(QStringLiteral("msgBox"));
    const QList<BoxButton> set = BoxButtons(buttons);
    for (const BoxButton& b : set)
        box.addButton(b.button);
    box.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    const auto pressed = static_cast<QMessageBox::StandardButton>(box.exec());
    for (const BoxButton& b : set)
        if (b.button == pressed) return b.answer;
    // Closed without a button: the box's escape answer, else its first.
    return set.size() > 1 ? set.back().answer : set.front().answer;
}

void QtUserInteraction::messageBoxWithDetails(const QString& prompt, const QStringList& details,
                                              const QString& title) {
    QMessageBox box(QMessageBox::Information, title, prompt, QMessageBox::Ok,
                    QApplication::activeWindow());
    box.setObjectName(QStringLiteral("msgBox"));
    // The box's own "Show Details..." button opens the list.
    if (!details.isEmpty()) box.setDetailedText(details.join(QLatin1Char('\n')));
    box.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    box.exec();
}

int QtUserInteraction::msgBoxEx(const MsgBoxExRequest& request) {
    return MsgBoxEx(request);
}

QString QtUserInteraction::inpBoxEx(const InpBoxExRequest& request) {
    return InpBoxEx(request);
}

QString QtUserInteraction::chooseSaveFile(const SaveFileRequest& request) {
    QFileDialog dialog(QApplication::activeWindow(), request.title,
                       QDir(request.initialFolder).filePath(request.fileName),
                       QtFileFilter(request.filter));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(request.defaultExt);
    const QStringList filters = dialog.nameFilters();
    if (request.filterIndex >= 1 && request.filterIndex <= filters.size())
        dialog.selectNameFilter(filters.at(request.filterIndex - 1));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().constFirst();
}

QString QtUserInteraction::browseForFolder(const QString& title, const QString& initialFolder) {
    return QFileDialog::getExistingDirectory(QApplication::activeWindow(), title, initialFolder);
}

QString QtUserInteraction::chooseOpenFile(const OpenFileRequest& request) {
    QFileDialog dialog(QApplication::activeWindow(), request.title,
                       QDir(request.initialFolder).filePath(request.fileName),
                       QtFileFilter(request.filter));
    dialog.setAcceptMode(QFileDialog::AcceptOpen);
    dialog.setFileMode(QFileDialog::ExistingFile);
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().constFirst();
}

QString QtUserInteraction::pickMailFolder(const QString& title) {
    return PickMailFolder(title);
}

bool QtUserInteraction::playSound(const QString& sound) {
    QString file = sound;
    if (!QFileInfo(file).isFile()) file = ThemeSoundFile(sound);
    if (file.isEmpty()) {
        if (!sound.contains(QLatin1Char('/'))) QApplication::beep();
        return false;
    }
    // One effect at a time: a new sound replaces the one still playing.
    m_sound = std::make_unique<QSoundEffect>();
    m_sound->setSource(QUrl::fromLocalFile(file));
    m_sound->play();
    return true;
}

bool QtUserInteraction::openWithShell(const QString& target) {
    m_openFailure.clear();
    const bool local =
        !target.contains(QStringLiteral("://")) && !target.startsWith(QLatin1String("mailto:"));
    if (local && !QFileInfo::exists(target)) {
        m_openFailure = LangText(QStringLiteral("die Datei oder den Ordner gibt es nicht"),
                                 QStringLiteral("there is no such file or folder"));
        return false;
    }
    const QUrl url = local ? QUrl::fromLocalFile(target) : QUrl(target);
    // xdg-open says when the desktop has nothing to open the target with; Qt's own call only
    // says whether xdg-open started. A failure comes within moments; later on, xdg-open may be
    // waiting for the program it started, and its end says nothing about the opening.
    auto* process = new QProcess(qApp);
    process->setProgram(QStringLiteral("xdg-open"));
    process->setArguments({local ? target : url.toString()});
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start();
    if (!process->waitForStarted(5000)) {
        delete process;
        if (QDesktopServices::openUrl(url)) return true;
        m_openFailure = LangText(QStringLiteral("xdg-open (Paket xdg-utils) fehlt"),
                                 QStringLiteral("xdg-open (package xdg-utils) is missing"));
        return false;
    }
    QElapsedTimer clock;
    clock.start();
    QObject::connect(
        process, &QProcess::finished, process,
        [this, process, target, clock](int code, QProcess::ExitStatus status) {
            process->deleteLater();
            if (status != QProcess::NormalExit || code == 0 || clock.elapsed() > kOpenVerdictMs)
                return;
            const QString why =
                XdgOpenReason(code, QString::fromLocal8Bit(process->readAllStandardError()));
            beep();
            messageBox(OpenFailureText(target, why), MsgButtons::OK, MsgIcon::Information,
                       QStringLiteral("!!! Problem !!!"));
        });
    return true;
}

void QtUserInteraction::showTrayNotification(const TrayNotification& n) {
    if (m_tray) {
        m_tray->Tag = n.target;
        m_tray->setToolTip(n.toolTip);
        m_tray->ShowBalloonTip(n.text, n.title, n.icon, n.timeoutMs);
        return;
    }
    m_notifier->notify(n.title, n.text, n.target, n.timeoutMs);
}

void QtUserInteraction::pumpEvents() {
    ProcessPendingEvents();
}

void QtUserInteraction::setBusy(bool busy) {
    if (busy) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        ++m_busyDepth;
    } else if (m_busyDepth > 0) {
        QApplication::restoreOverrideCursor();
        --m_busyDepth;
    }
}

void QtUserInteraction::showLastAction(const QString& text) {
    if (m_lastActionSink) m_lastActionSink(text);
}
