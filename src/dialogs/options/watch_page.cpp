#include "dialogs/options/watch_page.h"

#include "data/globals.h"
#include "data/settings.h"
#include "dialogs/options/frm_stowaway.h"
#include "dialogs/options/test_run_buttons.h"
#include "dialogs/translate.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

namespace {
// A yes/no setting, written at once with its mirror (as `stowaway settings` writes it).
void WriteSwitch(const QString& key, bool on) {
    ApplySetting(key, on ? QStringLiteral("1") : QStringLiteral("0"));
}
} // namespace

WatchPage::WatchPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgWatch"));
    cbActive = new QCheckBox(QStringLiteral("Stowaway aktivieren"), this);
    cbActive->setObjectName(QStringLiteral("cbActive"));
    SetTag(cbActive, QStringLiteral("Stowaway aktivieren||Activate Stowaway|"));
    cbTestmode = new QCheckBox(QStringLiteral("Testmodus!"), this);
    cbTestmode->setObjectName(QStringLiteral("cbTestmode"));
    SetTag(cbTestmode, QStringLiteral("Testmodus!||Test mode!|"));
    auto* label6 = new QLabel(QStringLiteral("Letzte Aktion:"), this);
    label6->setObjectName(QStringLiteral("Label6"));
    SetTag(label6, QStringLiteral("Letzte Aktion:||Last action:|"));
    lblLastAction = new QLabel(this);
    lblLastAction->setObjectName(QStringLiteral("lblLastAction"));
    lblLastAction->setTextFormat(Qt::PlainText);
    label6->setBuddy(lblLastAction);

    connect(cbActive, &QCheckBox::toggled, this, [this](bool on) {
        if (!m_form.bLoading) WriteSwitch(QStringLiteral("SWActive"), on);
    });
    connect(cbTestmode, &QCheckBox::toggled, this, [this](bool on) {
        if (!m_form.bLoading) WriteSwitch(QStringLiteral("SWTest"), on);
    });

    auto* switches = new QHBoxLayout;
    switches->addWidget(cbActive);
    switches->addSpacing(24);
    switches->addWidget(cbTestmode);
    switches->addStretch(1);
    auto* last = new QHBoxLayout;
    last->addWidget(label6);
    last->addWidget(lblLastAction, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(switches);
    layout->addLayout(last);
    layout->addWidget(testRun = new TestRunButtons(m_form, this));
    layout->addStretch(1);
}

void WatchPage::noteProtoFrame() {}
void WatchPage::fillProtoCombos() {}
void WatchPage::updateOBs() {
    testRun->setTestCaption(cbTestmode->isChecked());
}
void WatchPage::InitProtoList() {}
void WatchPage::InitWatchFolderList(const QString& /*name*/) {}
void WatchPage::selectProtoEntry(int /*index*/) {}
