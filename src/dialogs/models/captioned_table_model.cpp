#include "dialogs/models/captioned_table_model.h"

CaptionedTableModel::CaptionedTableModel(QStringList captions, QObject* parent)
    : QAbstractTableModel(parent), m_captions(std::move(captions)) {}

int CaptionedTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_captions.size());
}

Qt::ItemFlags CaptionedTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags f = QAbstractTableModel::flags(index);
    if (index.isValid() && index.column() == 0) f |= Qt::ItemIsUserCheckable;
    return f;
}

QVariant CaptionedTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section >= 0 &&
        section < m_captions.size())
        return m_captions.at(section);
    return QAbstractTableModel::headerData(section, orientation, role);
}

bool CaptionedTableModel::setHeaderData(int section, Qt::Orientation orientation,
                                        const QVariant& value, int role) {
    if (orientation != Qt::Horizontal || role != Qt::EditRole || section < 0 ||
        section >= m_captions.size())
        return false;
    m_captions[section] = value.toString();
    emit headerDataChanged(orientation, section, section);
    return true;
}
