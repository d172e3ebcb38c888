#pragma once
// Tab 3 "Extras" / "Tools": working through mail already in a folder.
#include <QWidget>

class frmStowaway;

class ExtrasPage : public QWidget {
    Q_OBJECT
  public:
    explicit ExtrasPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void prepare(); // tab change: the overview mode under bLoading
    void updateOBs();

  private:
    frmStowaway& m_form;
};
