#include "dialogs/options/rules_page.h"

#include <QVBoxLayout>

RulesPage::RulesPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgRules"));
    new QVBoxLayout(this);
}
