#pragma once
// The Search tab's page; its controls come with the tab's own work.
#include <QWidget>

class frmStowaway;

class SearchPage : public QWidget {
    Q_OBJECT
  public:
    explicit SearchPage(frmStowaway& form);

  private:
    frmStowaway& m_form;
};
