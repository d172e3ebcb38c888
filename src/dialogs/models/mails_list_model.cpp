#include "dialogs/models/mails_list_model.h"

#include <algorithm>

MailsListModel::MailsListModel(QObject* parent)
    : CaptionedTableModel({QStringLiteral("Ordner"), QStringLiteral("Nachricht"),
                           QStringLiteral("Von"), QStringLiteral("Anhang")},
                          parent) {}

void MailsListModel::setRows(std::vector<ExtrasRow> rows) {
    beginResetModel();
    m_rows = std::move(rows);
    endResetModel();
}

int MailsListModel::tickedCount() const {
    return int(
        std::count_if(m_rows.begin(), m_rows.end(), [](const ExtrasRow& r) { return r.ticked; }));
}

int MailsListModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant MailsListModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size())) return {};
    const ExtrasRow& row = m_rows[size_t(index.row())];
    if (role == Qt::DisplayRole || role == Qt::ToolTipRole) {
        switch (index.column()) {
        case 0:
            return row.folderName;
        case 1:
            return row.subject;
        case 2:
            return row.senderName;
        case 3:
            return row.sizeText;
        default:
            return {};
        }
    }
    if (role == Qt::CheckStateRole && index.column() == 0)
        return row.ticked ? Qt::Checked : Qt::Unchecked;
    if (role == Qt::TextAlignmentRole && index.column() == 3)
        return int(Qt::AlignRight | Qt::AlignVCenter);
    if (role == Qt::UserRole) return row.tag;
    return {};
}

bool MailsListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != 0 || role != Qt::CheckStateRole) return false;
    m_rows[size_t(index.row())].ticked = value.toInt() == Qt::Checked;
    emit dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}
