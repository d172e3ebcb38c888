#pragma once
// tvMails: the overview of the Extras tab, a node per folder and per mail with attachments,
// the size leading the text; every node sorts its children by text.
#include "addin/extras_run.h"

#include <QAbstractItemModel>
#include <QIcon>

class MailsTreeModel : public QAbstractItemModel {
    Q_OBJECT
  public:
    explicit MailsTreeModel(QObject* parent = nullptr);

    void setListing(const ExtrasListing& listing);
    void clear() { setListing({}); }
    // The "Tag" of a node: EntryID "|" StoreID for a mail, empty for a folder.
    static constexpr int TagRole = Qt::UserRole;

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

  private:
    struct Node {
        QString text;
        QString tag;
        bool folder = false;
        int parent = -1;
        int row = 0; // place among the parent's children
        std::vector<int> children;
    };
    std::vector<int> m_roots;
    std::vector<Node> m_nodes;
    QIcon m_folderIcon;
    QIcon m_mailIcon;
};
