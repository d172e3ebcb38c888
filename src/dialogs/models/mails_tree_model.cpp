#include "dialogs/models/mails_tree_model.h"

#include "dialogs/icons.h"

#include <algorithm>

MailsTreeModel::MailsTreeModel(QObject* parent)
    : QAbstractItemModel(parent),
      m_folderIcon(ThemeIcon({"folder-mail", "mail-folder-inbox", "folder"})),
      m_mailIcon(ThemeIcon({"mail-message", "mail-unread", "text-x-generic"})) {}

void MailsTreeModel::setListing(const ExtrasListing& listing) {
    beginResetModel();
    m_nodes.clear();
    m_roots.clear();
    m_nodes.reserve(listing.tree.size() + listing.rows.size());
    // Folder nodes first, by their index in the walk.
    for (const ExtrasFolder& folder : listing.tree) {
        Node node;
        node.text = OverviewFolderText(folder);
        node.folder = true;
        node.parent = folder.parent;
        m_nodes.push_back(std::move(node));
    }
    for (const ExtrasRow& row : listing.rows) {
        Node node;
        node.text = OverviewNodeText(row.kb, row.subject);
        node.tag = row.tag;
        node.parent = row.folder;
        m_nodes.push_back(std::move(node));
    }
    for (int i = 0; i < int(m_nodes.size()); ++i) {
        const int parent = m_nodes[size_t(i)].parent;
        (parent < 0 ? m_roots : m_nodes[size_t(parent)].children).push_back(i);
    }
    const auto byText = [this](int a, int b) {
        return m_nodes[size_t(a)].text.compare(m_nodes[size_t(b)].text, Qt::CaseInsensitive) < 0;
    };
    for (Node& node : m_nodes) {
        std::stable_sort(node.children.begin(), node.children.end(), byText);
        for (size_t r = 0; r < node.children.size(); ++r)
            m_nodes[size_t(node.children[r])].row = int(r);
    }
    for (size_t r = 0; r < m_roots.size(); ++r)
        m_nodes[size_t(m_roots[r])].row = int(r);
    endResetModel();
}

QModelIndex MailsTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (column != 0 || row < 0) return {};
    const std::vector<int>& list =
        parent.isValid() ? m_nodes[size_t(parent.internalId())].children : m_roots;
    if (row >= int(list.size())) return {};
    return createIndex(row, 0, quintptr(list[size_t(row)]));
}

QModelIndex MailsTreeModel::parent(const QModelIndex& child) const {
    if (!child.isValid()) return {};
    const int parent = m_nodes[size_t(child.internalId())].parent;
    if (parent < 0) return {};
    return createIndex(m_nodes[size_t(parent)].row, 0, quintptr(parent));
}

int MailsTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return int(m_roots.size());
    if (parent.column() != 0) return 0;
    return int(m_nodes[size_t(parent.internalId())].children.size());
}

int MailsTreeModel::columnCount(const QModelIndex&) const {
    return 1;
}

QVariant MailsTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Node& node = m_nodes[size_t(index.internalId())];
    switch (role) {
    case Qt::DisplayRole:
        return node.text;
    case Qt::DecorationRole:
        return node.folder ? m_folderIcon : m_mailIcon;
    case TagRole:
        return node.tag;
    default:
        return {};
    }
}
