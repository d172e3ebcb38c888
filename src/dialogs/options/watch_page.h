#pragma once
// Tab 0 "Überwachung" / "Watch": automatic saving, test mode and the last action.
#include <QWidget>

class QCheckBox;
class QLabel;
class frmStowaway;

class WatchPage : public QWidget {
    Q_OBJECT
  public:
    explicit WatchPage(frmStowaway& form);
    QCheckBox* cbActive;
    QCheckBox* cbTestmode;
    QLabel* lblLastAction;

  private:
    frmStowaway& m_form;
};
