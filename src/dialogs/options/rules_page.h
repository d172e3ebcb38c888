#pragma once
// Tab 1 "Regeln" / "Rules": the rule table and the rule editor.
#include <QWidget>

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

  private:
    frmStowaway& m_form;
};
