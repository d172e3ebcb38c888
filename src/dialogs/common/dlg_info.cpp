#include "dialogs/common/dlg_info.h"

#include "common/build_info.h"
#include "common/folders.h"
#include "common/lang.h"
#include "data/log.h"
#include "dialogs/icons.h"
#include "dialogs/translate.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QIcon>
#include <QLabel>
#include <QPushButton>

dlgInfo::dlgInfo(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("dlgInfo"));
    SetTag(this, QStringLiteral("Info|Info"));
    auto* icon = new QLabel(this);
    icon->setObjectName(QStringLiteral("imgLogo"));
    icon->setPixmap(ProgramIcon().pixmap(64, 64));
    icon->setAccessibleName(gAppName);
    auto* caption = new QLabel(this);
    caption->setObjectName(QStringLiteral("lblCaption"));
    caption->setText(gAppCaption);
    QFont big = caption->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setBold(true);
    caption->setFont(big);
    auto* about = new QLabel(this);
    about->setObjectName(QStringLiteral("lblAbout"));
    SetTag(about, QStringLiteral("Speichert Mail-Anhänge automatisch nach Ihren Regeln.||Saves "
                                 "mail attachments automatically, by your rules.|"));
    auto* version = new QLabel(this);
    version->setObjectName(QStringLiteral("lblVersion"));
    version->setText(
        LangText(QStringLiteral("Paket %1, Commit %2"), QStringLiteral("Package %1, commit %2"))
            .arg(PackageVersion(), BuildCommit()));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* where = new QLabel(this);
    where->setObjectName(QStringLiteral("lblDataFolder"));
    where->setTextFormat(Qt::PlainText);
    where->setText(LangText(QStringLiteral("Daten und LOG: "), QStringLiteral("Data and LOG: ")) +
                   GetDataFolder());
    where->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, this);
    QPushButton* close = buttons->button(QDialogButtonBox::Close);
    close->setObjectName(QStringLiteral("btnClose"));
    SetTag(close, QStringLiteral("Schließen||Close|"));
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* grid = new QGridLayout(this);
    grid->addWidget(icon, 0, 0, 4, 1, Qt::AlignTop);
    grid->addWidget(caption, 0, 1);
    grid->addWidget(about, 1, 1);
    grid->addWidget(version, 2, 1);
    grid->addWidget(where, 3, 1);
    grid->addWidget(buttons, 4, 0, 1, 2);
    TranslateForm(this);
}

void QWKAddInShowInfo(QWidget* parent) {
    dlgInfo info(parent);
    info.exec();
}
