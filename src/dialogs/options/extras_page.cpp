#include "dialogs/options/extras_page.h"

#include <QVBoxLayout>

ExtrasPage::ExtrasPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgExtras"));
    new QVBoxLayout(this);
}

void ExtrasPage::prepare() {}
void ExtrasPage::updateOBs() {}
