#include "dialogs/models/found_files_model.h"

#include "addin/extras_run.h"
#include "common/dates.h"
#include "common/paths.h"
#include "dialogs/icons.h"

#include <QFileInfo>

QString KbText(qint64 bytes) {
    return FormatThousands(SizeInKb(bytes)) + QStringLiteral(" Kb");
}

FoundFilesModel::FoundFilesModel(QObject* parent)
    : CaptionedTableModel(
          {QStringLiteral("Dateiname"), QStringLiteral("Datum"), QStringLiteral("Größe")}, parent),
      m_icons{ThemeIcon({"go-up", "go-parent-folder"}), ThemeIcon({"folder"}),
              ThemeIcon({"text-x-generic", "unknown"})} {}

void FoundFilesModel::setEntries(const QStringList& entries) {
    beginResetModel();
    m_entries = entries;
    m_rows.clear();
    m_rows.resize(size_t(entries.size()));
    for (qsizetype i = 0; i < entries.size(); ++i) {
        Row& row = m_rows[size_t(i)];
        row.entry = ParseFoundEntry(entries.at(i));
        row.name = GetFileNamePart(row.entry.path);
    }
    endResetModel();
}

FoundEntry FoundFilesModel::entry(int row) const {
    return row >= 0 && row < int(m_rows.size()) ? m_rows[size_t(row)].entry : FoundEntry{};
}

bool FoundFilesModel::isTicked(int row) const {
    return row >= 0 && row < int(m_rows.size()) && m_rows[size_t(row)].ticked;
}

int FoundFilesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant FoundFilesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= int(m_rows.size())) return {};
    Row& row = m_rows[size_t(index.row())];
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == 0) return row.name;
        if (index.column() == 1) {
            if (!row.date) {
                const QFileInfo info(row.entry.path);
                row.date = info.exists()
                               ? FormatDate(info.lastModified(), QStringLiteral("General Date"))
                               : QString();
            }
            return *row.date;
        }
        if (index.column() == 2 && row.entry.kind == FoundKind::File) return KbText(row.entry.size);
        return {};
    case Qt::ToolTipRole:
        return row.entry.path;
    case Qt::DecorationRole:
        if (index.column() == 0 && row.entry.kind >= 0 && row.entry.kind < 3)
            return m_icons[row.entry.kind];
        return {};
    case Qt::CheckStateRole:
        if (index.column() == 0) return row.ticked ? Qt::Checked : Qt::Unchecked;
        return {};
    case Qt::TextAlignmentRole:
        if (index.column() == 2) return int(Qt::AlignRight | Qt::AlignVCenter);
        return {};
    case Qt::UserRole:
        return m_entries.value(index.row());
    default:
        return {};
    }
}

bool FoundFilesModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.column() != 0 || role != Qt::CheckStateRole) return false;
    m_rows[size_t(index.row())].ticked = value.toInt() == Qt::Checked;
    emit dataChanged(index, index, {Qt::CheckStateRole});
    return true;
}
