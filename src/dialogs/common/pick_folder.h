#pragma once
// A dialog over the mail store's folder tree.
#include <QDialog>

class QTreeWidget;
class QTreeWidgetItem;
class MailSession;

class dlgPickFolder : public QDialog {
    Q_OBJECT
  public:
    explicit dlgPickFolder(MailSession* session, QWidget* parent = nullptr);
    // The chosen folder's path ("Maildir|Inbox"); empty when none is chosen.
    QString chosenPath() const;

  private:
    QTreeWidget* m_tree;
};

// Shows the dialog over the session in use; empty when cancelled or without a store.
QString PickMailFolder(const QString& title);
