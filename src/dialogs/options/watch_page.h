#pragma once
// Tab 0 "Überwachung" / "Watch": automatic saving, test mode, the last action, the watched
// folders, and the protocol panel below them.
#include <QWidget>

class QCheckBox;
class QGroupBox;
class QHBoxLayout;
class QLabel;
class QListWidget;
class QListWidgetItem;
class ProtoPanel;
class TestRunButtons;
class frmStowaway;

class WatchPage : public QWidget {
    Q_OBJECT
  public:
    explicit WatchPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void noteProtoFrame();  // fProtoTop, fProtoHeight (the panel unzoomed first)
    void fillProtoCombos(); // clFilter, clSelect
    void updateOBs();       // imgOnOff, cbTestmode, btnTestOrRun's caption
    void InitProtoList();
    void InitWatchFolderList(const QString& path);
    void selectProtoEntry(int index);

    QCheckBox* cbActive;
    QCheckBox* cbTestmode;
    QLabel* imgOnOff;
    QLabel* lblLastAction;
    QGroupBox* frFolders;
    QListWidget* lstWatchFolders;
    QLabel* lblFolderPath;
    ProtoPanel* proto;
    // The row under the switches that holds the test-run buttons.
    QHBoxLayout* runRow;
    TestRunButtons* testRun;

  private:
    void lstWatchFolders_Click();
    void lstWatchFolders_ItemCheck(QListWidgetItem* item);
    void btnFolderAdd_Click();
    void btnFolderDel_Click();
    // The record of a row (1-based); 0, with the list refilled, when they no longer agree.
    int folderIndex(int row);

    frmStowaway& m_form;
    bool m_filling = false; // the list changed by code: no click, no check event
};
