#pragma once
// Tab 1 "Regeln" / "Rules": the rule table and the rule editor.
#include "data/rule_edits.h"

#include <QWidget>

#include <array>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;
class QTabWidget;
class QToolButton;
class frmStowaway;

class RulesPage : public QWidget {
    Q_OBJECT
  public:
    explicit RulesPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void placeFormatPicture(); // picFileFormat centred on lblChooseFileFormat
    void hideSpareTabs();      // regRuleOptions
    void fillCombos();         // clRulesSaveBy, clRulesFileFormat, clRulesSaveFormat
    void updateOBs();
    void UpdateRulesText();
    void InitRulesList(const QString& name);

    // btnEditProjects here and btnOptProjects of the Options tab: frmProjects, then the project
    // list of a rule that saves by project.
    void editProjects();

    // The watched folders for the rule test; InitWatchFolderList fills it.
    QComboBox* clFoldersCheckRule;

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    // The sentence is laid out by the check boxes' places, known once the tab is shown.
    void showEvent(QShowEvent* event) override;

  private:
    QWidget* buildList();
    QWidget* buildCriteria();
    QWidget* buildActions();
    QWidget* buildMoreOptions();

    // The selected rule's index (1-based); 0 with none.
    int selectedRule() const;
    // Writes one field of the selected rule; a refused value gets its box and changes nothing.
    bool writeField(RuleField field, const QString& value);
    bool writeFlag(RuleField field, bool on);

    void lstRules_Click();
    void lstRules_ItemCheck(int row);
    void btnRulesAdd_Click();
    void btnRuleEdit_Click();
    void btnRulesDel_Click();
    void spnUpDown_Change(int direction);
    void criterion_Click(int criterion);
    void flag_Click(RuleField field, QCheckBox* box);
    void chooseParty(bool sender);
    void lblChooseSubj_Click();
    void lblChooseFileFormat_Click();
    void clRulesSaveBy_Click();
    void clRulesSaveFormat_Click();
    void fillSaveFormats(int saveBy);
    void txtRulesFolder_Validate();
    void txtRulesRunApp_Validate();
    void btnChooseFolder_Click();
    void btnOpenFolder_Click();
    void btnChooseApp_Click();
    void btnCheckRule_Click();
    void obFileExists_Click(int index);

    frmStowaway& m_form;

    QLabel* lblRulesTXT;
    QListWidget* lstRules;
    QToolButton* btnRulesAdd;
    QToolButton* btnRulesDel;
    QToolButton* btnRuleEdit;
    QWidget* spnUpDown;
    QPushButton* btnCheckRule;
    QGroupBox* frRuleOptions;
    QGroupBox* frCriteria;
    std::array<QCheckBox*, 4> cbCriteria;   // cbRulesSender ... cbRulesFileFormat
    std::array<QLabel*, 4> lblCriterionTXT; // lblSenderTXT ...
    std::array<QLabel*, 4> lblChoose;       // lblChooseSender ...
    std::array<QLabel*, 4> lblAND;          // lblAND1 ...
    std::array<QLineEdit*, 3> txtCriteria;  // the hidden txtRulesSender, ...Recipient, ...Subj
    QComboBox* clRulesFileFormat;           // hidden
    QPushButton* btnChooseSender;           // hidden
    QWidget* pnlRuleText;
    QLabel* lblStdRule;
    QLabel* picFileFormat;
    QTabWidget* regRuleOptions;
    QLabel* lblRulesSaveBy;
    QComboBox* clRulesSaveBy;
    QLabel* lblRulesSaveFormat;
    QComboBox* clRulesSaveFormat;
    QLabel* lblSaveTo;
    QLineEdit* txtRulesFolder;
    QToolButton* btnChooseFolder;
    QToolButton* btnOpenFolder;
    QToolButton* btnEditProjects;
    QCheckBox* cbRulesDelAttach;
    QCheckBox* cbInform;
    QCheckBox* cbRulesHyperlinks;
    QLabel* lblRulesRunApp;
    QLineEdit* txtRulesRunApp;
    QToolButton* btnChooseApp;
    QLabel* lblSaveInfos;
    QGroupBox* frFileExists;
    std::array<QRadioButton*, 4> obFileExists;
};
