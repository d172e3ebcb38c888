#pragma once
// The Extras tab's page; its controls come with the tab's own work.
#include <QWidget>

class frmStowaway;

class ExtrasPage : public QWidget {
    Q_OBJECT
  public:
    explicit ExtrasPage(frmStowaway& form);

  private:
    frmStowaway& m_form;
};
