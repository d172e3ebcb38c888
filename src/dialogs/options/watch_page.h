#pragma once
// Tab 0 "Überwachung" / "Watch": automatic saving, test mode and the last action.
#include <QWidget>

class QCheckBox;
class QLabel;
class TestRunButtons;
class frmStowaway;

class WatchPage : public QWidget {
    Q_OBJECT
  public:
    explicit WatchPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void noteProtoFrame();  // fProtoTop, fProtoHeight
    void fillProtoCombos(); // clFilter, clSelect
    void updateOBs();       // imgOnOff, cbTestmode, btnTestOrRun's caption
    void InitProtoList();
    void InitWatchFolderList(const QString& name);
    void selectProtoEntry(int index);

    QCheckBox* cbActive;
    QCheckBox* cbTestmode;
    QLabel* lblLastAction;
    TestRunButtons* testRun;

  private:
    frmStowaway& m_form;
};
