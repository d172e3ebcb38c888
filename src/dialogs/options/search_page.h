#pragma once
// Tab 2 "Suchen" / "Search": the target folders and the files saved there.
#include <QWidget>

class frmStowaway;

class SearchPage : public QWidget {
    Q_OBJECT
  public:
    explicit SearchPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void clearFileInfos(); // lblSearchFileInfos(0..3)
    void prepare();        // tab change: Dir1 and InitStowawayFolderList
    void InitStowawayFolderList();

  private:
    frmStowaway& m_form;
};
