#pragma once
// lvFiles: the entries of the Search tab's folder, one row each with a tick box; the name, the
// date and the size in Kb. Dates are read from the disk only for the rows that are shown.
#include "common/find_files.h"

#include "dialogs/models/captioned_table_model.h"
#include <QIcon>
#include <QStringList>

#include <optional>

class FoundFilesModel : public CaptionedTableModel {
    Q_OBJECT
  public:
    explicit FoundFilesModel(QObject* parent = nullptr);

    // Entries "kind|path|size", already sorted.
    void setEntries(const QStringList& entries);
    void clear() { setEntries({}); }
    // The whole entry of a row (its "Tag").
    QString entryText(int row) const { return m_entries.value(row); }
    FoundEntry entry(int row) const;
    bool isTicked(int row) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;

  private:
    struct Row {
        FoundEntry entry;
        QString name;
        bool ticked = false;
        std::optional<QString> date;
    };
    QStringList m_entries;
    mutable std::vector<Row> m_rows;
    QIcon m_icons[3];
};

// The size column: bytes integer-divided by 1024 plus 1, grouped, " Kb" (an empty file: "1 Kb").
QString KbText(qint64 bytes);
