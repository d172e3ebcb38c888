#include "dialogs/options/search_page.h"

#include <QVBoxLayout>

SearchPage::SearchPage(frmStowaway& form) : m_form(form) {
    setObjectName(QStringLiteral("pgSearch"));
    new QVBoxLayout(this);
}

void SearchPage::clearFileInfos() {}
void SearchPage::prepare() {}
void SearchPage::InitStowawayFolderList() {}
