#pragma once
// dlgChooseAdr: one sender or recipient from the address books (the vCard folders and the
// addresses seen in the watched folders), with a search over all of them.
#include "host/address_sources.h"

#include <QDialog>

#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QToolButton;
class QTreeWidget;
class QTreeWidgetItem;

class dlgChooseAdr : public QDialog {
    Q_OBJECT
  public:
    explicit dlgChooseAdr(QWidget* parent = nullptr);

    QString Titletext;
    QString AdrType;
    bool DoAdrs = true;
    bool DoDistLists = false;
    QString SelectedName;
    QString SelectedAdr;

    // Reads the books and fills the dialog; false (after a message) when it can't open.
    bool InitDialog();

    QLabel* lblAdrBookTxt;
    QComboBox* clAdrBooks;
    QToolButton* btnUpdate;
    QLabel* lblSearchTxt;
    QLineEdit* txtSearch;
    QPushButton* btnSearch;
    QTreeWidget* lvAdr;
    QCheckBox* cbHideInvalids;
    QPushButton* btnNew;
    QPushButton* btnEdit;
    QPushButton* btnOK;
    QPushButton* btnCancel;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void fillBookList();
    void clAdrBooks_Click();
    void btnUpdate_Click();
    void btnSearch_Click();
    void btnNew_Click();
    void btnEdit_Click();
    void btnOK_Click();
    void btnCancel_Click();
    void cbHideInvalids_Click();
    // Whether the chooser lists the entry at all (kinds wanted, no fax).
    bool wanted(const AddressEntry& entry) const;
    void addRow(const AddressEntry& entry, int number, int count);
    // The book of the combo's entry: -1 all, -2 the search results, else an index of m_books.
    int currentBook() const;
    void selectFile(const QString& file);

    std::vector<AddressBook> m_books;
    std::vector<AddressEntry> m_hits;
    bool m_loading = false;
};
