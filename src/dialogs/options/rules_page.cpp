#include "dialogs/options/rules_page.h"

#include <QVBoxLayout>

RulesPage::RulesPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgRules"));
    new QVBoxLayout(this);
}

void RulesPage::placeFormatPicture() {}
void RulesPage::hideSpareTabs() {}
void RulesPage::fillCombos() {}
void RulesPage::updateOBs() {}
void RulesPage::UpdateRulesText() {}
void RulesPage::InitRulesList(const QString& /*name*/) {}
