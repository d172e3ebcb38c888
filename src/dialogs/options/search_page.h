#pragma once
// Tab 2 "Suchen" / "Search": the target folders and the files saved there.
#include <QWidget>

class QGroupBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QModelIndex;
class QToolButton;
class QTreeView;
class frmStowaway;
class FoundFilesModel;

class SearchPage : public QWidget {
    Q_OBJECT
  public:
    explicit SearchPage(frmStowaway& form);

    // Steps of the load procedure and the form's routines that belong to this tab.
    void clearFileInfos(); // lblSearchFileInfos(0..3)
    void prepare();        // tab change: Dir1 and InitStowawayFolderList
    void InitStowawayFolderList();

    // The folder shown (Dir1's path); empty before the first.
    const QString& currentFolder() const { return m_dir1; }
    // The path of the thing whose facts are shown.
    const QString& selectedPath() const { return m_infoPath; }
    // A text that fits lblSearchFileInfos(0): the path, or its two ends around "[...]".
    QString AdjustedPath(const QString& path) const;

    QListWidget* lstStowawayFolders;
    QListWidget* Dir1; // holds the current folder; not shown
    QToolButton* btnSearchRefresh;
    QToolButton* btnSearchBack;
    QLineEdit* txtSearch;
    QToolButton* btnSearch;
    QTreeView* lvFiles;
    QListWidget* lstFoundFiles;
    QLabel* imgSearchFileFormat;
    // 0 the path (its tooltip: size and dates in one line), 1 the protocol facts, 2 the size,
    // 3 the dates.
    QLabel* lblSearchFileInfos[4];
    QToolButton* btnSearchOpenFolder;
    QToolButton* btnSearchView;
    QToolButton* btnSearchRenFile;
    QToolButton* btnSearchDelFile;
    QToolButton* btnSearchSend;

  private:
    QGroupBox* buildFolders();
    QWidget* buildButtons();
    void lstStowawayFolders_Click(int row);
    // Points Dir1 at `path` and rebuilds the list; false when there is no such folder.
    bool setDir1(const QString& path);
    void Dir1_Change();
    void btnSearch_Click();
    void btnSearchBack_Click();
    void btnSearchRefresh_Click();
    void lvFiles_Click();
    void lvFiles_DblClick(const QModelIndex& index);
    void btnSearchView_Click();
    void btnSearchOpenFolder_Click();
    void btnSearchSend_Click();
    bool showingFound() const;
    // The selected path with a trailing ".." taken off.
    QString viewPath() const;

    frmStowaway& m_form;
    FoundFilesModel* m_files;
    QString m_dir1;
    QString m_infoPath;
};
