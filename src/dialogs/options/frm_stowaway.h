#pragma once
// The options dialog: the tab strip regMain with its five pages, the button row and the status
// strip. One instance lives as long as the program; the load procedure fills it at each opening
// and at each change of the language.
#include "ui/user_interaction.h"

#include <QDialog>

class QFrame;
class QLabel;
class QPushButton;
class QTabWidget;
class QToolButton;
class WatchPage;
class RulesPage;
class SearchPage;
class ExtrasPage;
class OptionsPage;

class frmStowaway : public QDialog, public StatusSurface {
    Q_OBJECT
  public:
    explicit frmStowaway(QWidget* parent = nullptr);
    ~frmStowaway() override;

    // The load procedure: clears and fills every control, under bLoading.
    void Form_Load();
    // Runs the language switch of the option buttons: CurrLang, its setting, and the load.
    void SwitchLanguage(int lang);
    // The hourglass over the form for a long operation.
    void setBusy(bool busy);
    void showLastAction(const QString& text);

    // The form's shared routines; each hands its work to the tab that owns the controls.
    void UpdateOBs();       // enabled, visible and colour states of the visible tab
    void UpdateRulesText(); // the rule sentence of the Rules tab
    void InitProtoList();   // refills the protocol view
    void InitWatchFolderList(const QString& name);
    void InitRulesList(const QString& name);
    void InitStowawayFolderList();
    // Selects protocol entry `index` (1-based) in the protocol view and shows the Watch tab's
    // panel with it; the Search tab's protocol facts use it.
    void SelectProtoEntry(int index);
    int currentTab() const;
    // Selects a tab as a click on it would.
    void showTab(int tab);

    void setMainProgress(bool visible, const QString& caption, double fill) override;
    void setSubProgress(bool visible, double fill) override;

    // Guards that the tabs' handlers test; they outlive a closing of the dialog.
    bool bLoading = false;
    bool bMoving = false;
    bool bTestAllFolders = false;
    bool bResetAllFolders = false;
    bool bSetUnread = false;
    float fProtoTop = 0;
    float fProtoHeight = 0;

    WatchPage* watchPage() const { return m_watch; }
    RulesPage* rulesPage() const { return m_rules; }
    SearchPage* searchPage() const { return m_search; }
    ExtrasPage* extrasPage() const { return m_extras; }
    OptionsPage* optionsPage() const { return m_options; }

  protected:
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

  private:
    void regMain_Click(int tab);
    void btnHelp_Click();
    void btnInfo_Click();
    void Image1_Click();
    void placeBars();

    QTabWidget* m_regMain;
    WatchPage* m_watch;
    RulesPage* m_rules;
    SearchPage* m_search;
    ExtrasPage* m_extras;
    OptionsPage* m_options;
    QLabel* m_lblStatus;
    QFrame* m_rctStatus;
    QFrame* m_rctSubStatus;
    double m_mainFill = 0;
    double m_subFill = 0;
};

// Hides every tab whose caption begins with "Tab " and selects the first.
void HideSpareTabs(QTabWidget* tabs);
