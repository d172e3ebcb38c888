#include "dialogs/common/msgboxex.h"

#include "common/lang.h"
#include "dialogs/translate.h"

#include <QApplication>
#include <QCheckBox>
#include <QFrame>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStyle>
#include <QTimer>
#include <QVBoxLayout>

namespace {
constexpr int kIconSize = 32;
constexpr int kDontShowBonus = 256;

QLabel* IconLabel(QWidget* parent, const char* name, QStyle::StandardPixmap pixmap, bool visible) {
    auto* label = new QLabel(parent);
    label->setObjectName(QString::fromLatin1(name));
    label->setPixmap(parent->style()->standardIcon(pixmap).pixmap(kIconSize, kIconSize));
    label->setVisible(visible);
    return label;
}

QFrame* SeparatorLine(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setObjectName(QStringLiteral("Line1"));
    line->setFrameShape(QFrame::HLine);
    line->setFrameShadow(QFrame::Sunken);
    return line;
}

void ShowHelpText(const QString& help) {
    if (help.isEmpty()) {
        ui().beep();
        return;
    }
    ui().messageBox(help, MsgButtons::OK, MsgIcon::Information,
                    LangText(QStringLiteral("Hilfe:"), QStringLiteral("Help:")));
}

QPushButton* HelpButton(QWidget* parent) {
    auto* btn = new QPushButton(QStringLiteral("Hilfe"), parent);
    btn->setObjectName(QStringLiteral("btnHelp"));
    btn->setAutoDefault(false);
    SetTag(btn, QStringLiteral("Hilfe||Help|"));
    return btn;
}
} // namespace

frmMsgBoxEx::frmMsgBoxEx(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmMsgBoxEx"));
    setWindowTitle(QStringLiteral("MsgBoxEx..."));
    auto* top = new QHBoxLayout;
    m_imgIcon = IconLabel(this, "imgIcon", QStyle::SP_MessageBoxInformation, true);
    m_imgIcon->setAlignment(Qt::AlignTop);
    IconLabel(this, "imgStop", QStyle::SP_MessageBoxCritical, false);
    IconLabel(this, "imgWarn", QStyle::SP_MessageBoxWarning, false);
    IconLabel(this, "imgFrage", QStyle::SP_MessageBoxQuestion, false);
    m_lblPrompt = new QLabel(this);
    m_lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    m_lblPrompt->setWordWrap(true);
    m_lblPrompt->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_lblPrompt->setMinimumWidth(320);
    m_lblPrompt->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    top->addWidget(m_imgIcon);
    top->addWidget(m_lblPrompt, 1);
    m_lblHelp = new QLabel(this);
    m_lblHelp->setObjectName(QStringLiteral("lblHelp"));
    m_lblHelp->hide();

    m_cbDontShow = new QCheckBox(QStringLiteral("Diese Meldung nicht mehr anzeigen"), this);
    m_cbDontShow->setObjectName(QStringLiteral("cbDontShow"));
    SetTag(m_cbDontShow, QStringLiteral("Diese Meldung nicht mehr anzeigen||Don't show this "
                                        "message again|"));
    m_cbDontShow->hide();

    auto* row = new QHBoxLayout;
    m_btnHelp = HelpButton(this);
    connect(m_btnHelp, &QPushButton::clicked, this, &frmMsgBoxEx::showHelp);
    row->addWidget(m_btnHelp);
    row->addStretch(1);
    for (int i = 0; i < 3; ++i) {
        m_btn[i] = new QPushButton(this);
        m_btn[i]->setObjectName(QStringLiteral("btn%1").arg(i + 1));
        m_btn[i]->setAutoDefault(false);
        connect(m_btn[i], &QPushButton::clicked, this, [this, i] { exitWith(i + 1); });
        row->addWidget(m_btn[i]);
    }
    m_btn[0]->setDefault(true);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(m_cbDontShow);
    layout->addWidget(SeparatorLine(this));
    layout->addLayout(row);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    TranslateForm(this);
}

void frmMsgBoxEx::prepare(const MsgBoxExRequest& request) {
    if (!request.title.isEmpty()) setWindowTitle(request.title);
    const char* source = request.icon == 32   ? "imgFrage"
                         : request.icon == 48 ? "imgWarn"
                         : request.icon == 16 ? "imgStop"
                                              : nullptr;
    if (source) m_imgIcon->setPixmap(findChild<QLabel*>(QString::fromLatin1(source))->pixmap());
    m_lblPrompt->setText(request.prompt);
    const QString help = request.helpText.trimmed().isEmpty() ? QString() : request.helpText;
    m_lblHelp->setText(help);
    m_btnHelp->setVisible(!help.isEmpty());
    m_cbDontShow->setVisible(request.dontShow);

    DefaultBtn = request.defaultBtn;
    CancelBtn = request.cancelBtn;
    if (DefaultBtn >= 1 && DefaultBtn <= 3) {
        for (QPushButton* b : m_btn)
            b->setDefault(false);
        m_btn[DefaultBtn - 1]->setDefault(true);
    }
    for (int i = 0; i < 3; ++i) {
        const QString caption = i < request.buttons.size() ? request.buttons.at(i) : QString();
        m_btn[i]->setText(caption);
        m_btn[i]->setVisible(!caption.isEmpty());
    }
}

void frmMsgBoxEx::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape) {
        // Escape answers only for a named cancel button.
        if (CancelBtn >= 1 && CancelBtn <= 3) exitWith(CancelBtn);
        return;
    }
    QDialog::keyPressEvent(event);
}

void frmMsgBoxEx::reject() {
    exitWith(99);
}

void frmMsgBoxEx::exitWith(int number) {
    m_result = number + (m_cbDontShow->isChecked() ? kDontShowBonus : 0);
    done(m_result);
}

void frmMsgBoxEx::showHelp() {
    ShowHelpText(m_lblHelp->text());
}

frmInpBoxEx::frmInpBoxEx(QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmInpBoxEx"));
    setWindowTitle(QStringLiteral("InpBoxEx..."));
    m_lblPrompt = new QLabel(this);
    m_lblPrompt->setObjectName(QStringLiteral("lblPrompt"));
    m_lblPrompt->setWordWrap(true);
    m_lblPrompt->setMinimumWidth(320);
    m_lblHelp = new QLabel(this);
    m_lblHelp->setObjectName(QStringLiteral("lblHelp"));
    m_lblHelp->hide();
    IconLabel(this, "imgStop", QStyle::SP_MessageBoxCritical, false);
    m_txtInput = new QLineEdit(QStringLiteral("Text1"), this);
    m_txtInput->setObjectName(QStringLiteral("txtInput"));
    m_txtInput->setAccessibleName(QStringLiteral("Input"));

    auto* btnOk = new QPushButton(QStringLiteral("OK"), this);
    btnOk->setObjectName(QStringLiteral("btn1"));
    btnOk->setDefault(true);
    auto* btnCancel = new QPushButton(QStringLiteral("Abbrechen"), this);
    btnCancel->setObjectName(QStringLiteral("btn2"));
    btnCancel->setAutoDefault(false);
    SetTag(btnCancel, QStringLiteral("Abbrechen||Cancel|"));
    m_btnHelp = HelpButton(this);
    connect(btnOk, &QPushButton::clicked, this, [this] {
        m_result = m_txtInput->text();
        accept();
    });
    connect(btnCancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_btnHelp, &QPushButton::clicked, this, [this] { ShowHelpText(m_lblHelp->text()); });

    auto* row = new QHBoxLayout;
    row->addWidget(m_btnHelp);
    row->addStretch(1);
    row->addWidget(btnOk);
    row->addWidget(btnCancel);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(m_lblPrompt);
    layout->addWidget(m_txtInput);
    layout->addWidget(SeparatorLine(this));
    layout->addLayout(row);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    TranslateForm(this);
}

void frmInpBoxEx::prepare(const InpBoxExRequest& request) {
    if (!request.title.isEmpty()) setWindowTitle(request.title);
    m_lblPrompt->setText(request.prompt);
    m_txtInput->setText(request.defaultText);
    const QString help = request.helpText.trimmed().isEmpty() ? QString() : request.helpText;
    m_lblHelp->setText(help);
    m_btnHelp->setVisible(!help.isEmpty());
}

void frmInpBoxEx::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    m_txtInput->setFocus();
    m_txtInput->selectAll();
}

namespace {
// Modal, on top of everything, and in front.
void ShowOnTop(QDialog& dialog) {
    dialog.setWindowFlag(Qt::WindowStaysOnTopHint, true);
    dialog.setWindowModality(Qt::ApplicationModal);
    QTimer::singleShot(0, &dialog, [&dialog] {
        dialog.raise();
        dialog.activateWindow();
    });
    dialog.exec();
}
} // namespace

int MsgBoxEx(const MsgBoxExRequest& request) {
    frmMsgBoxEx form;
    form.prepare(request);
    ShowOnTop(form);
    return form.result16();
}

QString InpBoxEx(const InpBoxExRequest& request) {
    frmInpBoxEx form;
    form.prepare(request);
    ShowOnTop(form);
    return form.text();
}
