#pragma once
// Tab 3 "Extras" / "Tools": working through mail already in a folder.
#include "host/mail_store.h"

#include <QWidget>

class QCheckBox;
class QGroupBox;
class QLabel;
class QPushButton;
class QRadioButton;
class QToolButton;
class QTreeView;
class frmStowaway;
class MailsListModel;
class MailsTreeModel;

class ExtrasPage : public QWidget {
    Q_OBJECT
  public:
    explicit ExtrasPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void prepare(); // tab change: the overview mode under bLoading
    void updateOBs();

    // Rebuilds the list or the tree from the chosen mail folder.
    void InitMailsList();
    // The chosen mail folder ("Save from"); null until one is chosen.
    const MailFolderPtr& chosenFolder() const { return m_outlFolder; }

    QLabel* lblSaveOutlFolder;
    QToolButton* btnSaveOutlFolder;
    QCheckBox* cbSubfolders;
    QRadioButton* obSaveMode[3];
    QLabel* lblSaveToFolder;
    QToolButton* btnSaveOpenFolder;
    QCheckBox* cbOutlStructs;
    QCheckBox* cbExtrasDelAttach;
    QCheckBox* cbExtrasHyperlinks;
    QTreeView* tvMails;
    QTreeView* lvMails;
    QLabel* lblMailsTotals;
    QPushButton* btnSaveDoNow;

  private:
    QGroupBox* buildChoices();
    void btnSaveOutlFolder_Click();
    void btnSaveOpenFolder_Click();
    void obSaveMode_Click();
    void tvMails_Click(const QModelIndex& index);
    void btnSaveDoNow_Click();
    bool overview() const;
    // A walk or a run is under way: pumped events must not start another one.
    bool busyRefused();

    frmStowaway& m_form;
    MailFolderPtr m_outlFolder;
    MailsListModel* m_list;
    MailsTreeModel* m_tree;
    bool m_working = false;
};
