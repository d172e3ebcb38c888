#pragma once
// The run buttons of the Watch tab: btnTestOrRun and btnReset, each with its drop-down of
// options (the form's flags bTestAllFolders, bResetAllFolders, bSetUnread, and TestNotifies).
#include <QWidget>

#include <vector>

class QPushButton;
class QToolButton;
class frmStowaway;

class TestRunButtons : public QWidget {
    Q_OBJECT
  public:
    TestRunButtons(frmStowaway& form, QWidget* parent);

    // "Testen" / "Test" in test mode, else "Ausführen" / "Process".
    void setTestCaption(bool testMode);

    QPushButton* btnTestOrRun;
    QToolButton* btnTestDropDown;
    QPushButton* btnReset;
    QToolButton* btnResetDropDown;

  private:
    void btnTestOrRun_Click();
    void btnTestDropDown_Click();
    void btnReset_Click();
    void btnResetDropDown_Click();
    // The watched folders to walk: all of them, or the row selected in lstWatchFolders; empty
    // after a beep when there is none.
    bool pickFolders(bool all, std::vector<int>& indices);

    frmStowaway& m_form;
};
