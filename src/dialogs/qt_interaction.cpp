#include "dialogs/qt_interaction.h"

#include "dialogs/common/msgboxex.h"
#include "dialogs/common/pick_folder.h"
#include "dialogs/common/systray.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMessageBox>
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
    const QUrl url =
        target.contains(QStringLiteral("://")) || target.startsWith(QLatin1String("mailto:"))
            ? QUrl(target)
            : QUrl::fromLocalFile(target);
    return QDesktopServices::openUrl(url);
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
