#include "dialogs/options/test_run_buttons.h"

#include "addin/folder_commands.h"
#include "common/lang.h"
#include "data/globals.h"
#include "dialogs/common/popup_dropdown.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/translate.h"
#include "ui/user_interaction.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QPushButton>
#include <QToolButton>

namespace {
const QString kOptionsTip = QStringLiteral("|Optionen ändern||Change options");

QToolButton* DropDown(QWidget* parent, const QString& name) {
    auto* b = new QToolButton(parent);
    b->setObjectName(name);
    b->setArrowType(Qt::DownArrow);
    b->setFocusPolicy(Qt::NoFocus);
    SetTag(b, kOptionsTip);
    return b;
}

QString Entry(bool ticked, const QString& text) {
    return (ticked ? QStringLiteral("+") : QString()) + text;
}
} // namespace

TestRunButtons::TestRunButtons(frmStowaway& form, QWidget* parent) : QWidget(parent), m_form(form) {
    setObjectName(QStringLiteral("pnlTestRun"));
    btnTestOrRun = new QPushButton(this);
    btnTestOrRun->setObjectName(QStringLiteral("btnTestOrRun"));
    btnTestOrRun->setAutoDefault(false);
    btnTestDropDown = DropDown(this, QStringLiteral("btnTestDropDown"));
    btnReset = new QPushButton(this);
    btnReset->setObjectName(QStringLiteral("btnReset"));
    btnReset->setAutoDefault(false);
    SetTag(btnReset, QStringLiteral("Bearbeitungsflags zurücksetzen||Reset processing flags|"));
    btnResetDropDown = DropDown(this, QStringLiteral("btnResetDropDown"));
    setTestCaption(true);

    connect(btnTestOrRun, &QPushButton::clicked, this, [this] { btnTestOrRun_Click(); });
    connect(btnTestDropDown, &QToolButton::clicked, this, [this] { btnTestDropDown_Click(); });
    connect(btnReset, &QPushButton::clicked, this, [this] { btnReset_Click(); });
    connect(btnResetDropDown, &QToolButton::clicked, this, [this] { btnResetDropDown_Click(); });

    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(0);
    row->addWidget(btnTestOrRun);
    row->addWidget(btnTestDropDown);
    row->addSpacing(12);
    row->addWidget(btnReset);
    row->addWidget(btnResetDropDown);
    row->addStretch(1);
}

void TestRunButtons::setTestCaption(bool testMode) {
    btnTestOrRun->setText(testMode
                              ? LangText(QStringLiteral("Testen"), QStringLiteral("Test"))
                              : LangText(QStringLiteral("Ausführen"), QStringLiteral("Process")));
}

bool TestRunButtons::pickFolders(bool all, std::vector<int>& indices) {
    indices.clear();
    if (all) {
        for (int i = 1; i <= WatchFolders.count(); ++i)
            indices.push_back(i);
        return true;
    }
    // Row r of the Watch tab's list stands for watched folder r + 1.
    const auto* list = m_form.findChild<QAbstractItemView*>(QStringLiteral("lstWatchFolders"));
    const int row = list && list->currentIndex().isValid() ? list->currentIndex().row() : -1;
    if (row < 0 || row >= WatchFolders.count()) {
        ui().beep();
        return false;
    }
    indices.push_back(row + 1);
    return true;
}

void TestRunButtons::btnTestOrRun_Click() {
    std::vector<int> indices;
    if (!pickFolders(m_form.bTestAllFolders, indices)) return;
    TestOrRunFolders(indices, &m_form);
    if (indices.empty()) return;
    m_form.showLastAction(gLastAction);
    m_form.InitProtoList();
}

void TestRunButtons::btnReset_Click() {
    std::vector<int> indices;
    if (!pickFolders(m_form.bResetAllFolders, indices)) return;
    ResetFolders(indices, m_form.bSetUnread, &m_form);
}

void TestRunButtons::btnTestDropDown_Click() {
    btnTestOrRun->setFocus();
    ui().pumpEvents();
    const int chosen = ShowPopupDropdown(
        {Entry(m_form.bTestAllFolders, LangText(QStringLiteral("Für ALLE Ordner testen"),
                                                QStringLiteral("Run test for ALL folders"))),
         Entry(TestNotifies, LangText(QStringLiteral("Benachrichtigung testen"),
                                      QStringLiteral("Test notifies")))},
        {}, btnTestOrRun);
    if (chosen == 1) m_form.bTestAllFolders = !m_form.bTestAllFolders;
    if (chosen == 2) TestNotifies = !TestNotifies;
}

void TestRunButtons::btnResetDropDown_Click() {
    btnReset->setFocus();
    ui().pumpEvents();
    const int chosen = ShowPopupDropdown(
        {Entry(m_form.bResetAllFolders, LangText(QStringLiteral("Für ALLE Ordner ausführen"),
                                                 QStringLiteral("Process for ALL folders"))),
         Entry(m_form.bSetUnread, LangText(QStringLiteral("Nachrichten auf 'Ungelesen' setzen"),
                                           QStringLiteral("Set mails to 'unread'")))},
        {}, btnReset);
    if (chosen == 1) m_form.bResetAllFolders = !m_form.bResetAllFolders;
    if (chosen == 2) m_form.bSetUnread = !m_form.bSetUnread;
}
