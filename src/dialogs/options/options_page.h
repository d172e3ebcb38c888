#pragma once
// Tab 4 "Optionen" / "Options": mark of mails, blocked formats, notification, LOG, language.
#include <QWidget>

class QCheckBox;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QPushButton;
class QRadioButton;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;
class frmStowaway;

class OptionsPage : public QWidget {
    Q_OBJECT
  public:
    explicit OptionsPage(frmStowaway& form);

    // Steps of the load procedure that belong to this tab.
    void fillLists();    // clSystrayTime, clWave
    void readSettings(); // notification and sound settings into the controls
    void readMarkMail(); // MarkMail into cbMarkMail, obMarkMail
    void showLogFile();  // lblLOGPath, and DoProto into cbDoProto
    void readLanguage(); // CurrLang into obLanguage
    void prepare();      // tab change: the blocked formats, once per form
    void LoadBlockedFormats();

    // Handlers whose enabling effects the load runs once.
    void cbMarkMail_Click();

    QCheckBox* cbMarkMail;
    QLabel* lblMarkMail;
    QRadioButton* obMarkMail[2];
    QRadioButton* obNoti[3];
    QLabel* lblSystrayTime;
    QComboBox* clSystrayTime;
    QCheckBox* cbSound;
    QLabel* lblSoundTXT;
    QComboBox* clWave;
    QCheckBox* cbDoProto;
    QLabel* lblLOGPath;
    QRadioButton* obLanguage[2];
    QTreeWidget* lvBlocked;
    QToolButton* btnBlockExtDel;
    QPushButton* btnTestNoti;
    // The row of buttons at the tab's foot ("Add-Ins?", the projects).
    QHBoxLayout* buttonRow;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void obNoti_Click(int index);
    void cbSound_Click();
    void clWave_Click();
    void clSystrayTime_Click();
    void writeMarkMail();
    void lvBlocked_Click();
    void lvBlocked_ItemCheck(QTreeWidgetItem* item);
    void btnBlockExtAdd_Click();
    void btnBlockExtDel_Click();
    void btnTestNoti_Click();
    void btnLOGNotepad_Click();
    void btnCopyToClipboard_Click();
    void btnDelLOG_Click();
    void btnAddIns_Click();
    // The record of a row (1-based); 0, with the list reloaded, when they no longer agree.
    int blockedIndex(QTreeWidgetItem* item);
    // A row of lvBlocked as the load shows it.
    QTreeWidgetItem* addBlockedRow(const QString& ext, const QString& description, bool active);
    QWidget* buildBlocked();
    QWidget* buildMarkMail();
    QWidget* buildInform();
    QWidget* buildProto();
    QWidget* buildLanguage();

    frmStowaway& m_form;
};
