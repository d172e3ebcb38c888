#pragma once
// frmProjects: the projects (a name with its target folder) that rules saving by project use.
#include <QDialog>

class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QToolButton;

class frmProjects : public QDialog {
    Q_OBJECT
  public:
    // Shows the list with `selectName` selected (or the first project).
    explicit frmProjects(const QString& selectName = {}, QWidget* parent = nullptr);

    void InitProjectsList(const QString& selectName);

    QLabel* lblProjectsTXT;
    QListWidget* lstProjects;
    QToolButton* btnProjectAdd;
    QToolButton* btnProjectEdit;
    QToolButton* btnProjectDel;
    QLabel* lblFolerTXT;
    QLineEdit* txtFolder;
    QToolButton* btnChooseFolder;
    QPushButton* btnCheckFolder;
    QPushButton* btnDone;

  private:
    void lstProjects_Click();
    void btnProjectAdd_Click();
    void btnProjectEdit_Click();
    void btnProjectDel_Click();
    void btnChooseFolder_Click();
    void txtFolder_Validate();
    void btnCheckFolder_Click();
    int selected() const; // the project's index, 0 with none
};
