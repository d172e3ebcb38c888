#pragma once
// The Rules tab's page; its controls come with the tab's own work.
#include <QWidget>

class frmStowaway;

class RulesPage : public QWidget {
    Q_OBJECT
  public:
    explicit RulesPage(frmStowaway& form);

  private:
    frmStowaway& m_form;
};
