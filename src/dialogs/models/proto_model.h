#pragma once
// The protocol as the Watch tab's list shows it: the entries that the filter lets through, by
// their numbers in the protocol table, in stored order (newest first). The model holds no copy
// of the records; a rebuild walks the table once.
#include "data/records.h"

#include <QAbstractTableModel>
#include <QHash>
#include <vector>

// What the view reads of an entry. ProtoText is the one place that reads a record's fields.
enum class ProtoField {
    DateTime,   // short date, a blank, "hh:nn"
    LongDate,   // the system's long date, no time
    Mail,       // the mail's subject
    Attachment, // the attachment's name
    FileFormat,
    Sender,
    Recipient,
    Rule,
    Folder,      // the target folder
    ShortFolder, // its last part
    Project,
    State,
};
QString ProtoText(const udtProtoEntry& entry, ProtoField field);

// The entries of clFilter by their list index.
namespace ProtoFilter {
constexpr int None = 0, Date = 1, Sender = 2, Recipient = 3, Project = 4, FileName = 5, Format = 6,
              Folder = 7, Rule = 8, State = 9, Count = 10;
}
// The field that filter `filter` compares, and the one the third column shows under it.
ProtoField FilterField(int filter);
ProtoField ThirdColumnField(int filter);
// clFilter's caption of `filter` and the heading of column `column` (0..3) under `filter`, in
// the current language.
QString FilterCaption(int filter);
QString ProtoHeading(int column, int filter);

class ProtoModel : public QAbstractTableModel {
    Q_OBJECT
  public:
    static constexpr int EntryRole = Qt::UserRole + 1; // the entry's number, as the Tag

    explicit ProtoModel(QObject* parent = nullptr);

    // The distinct non-empty values of the filter's field, in order of first appearance
    // (without "SpecialRule" for the rule filter; nothing for filter 0).
    QStringList collectValues(int filter);
    // Shows every entry (`value` null) or those whose filter field equals `value` exactly.
    void rebuild(int filter, const QString* value);
    int filter() const { return m_filter; }
    // The entry number of a row, 0 when out of range.
    int entryAt(int row) const;
    // The row that shows entry `entry`, -1 when the filter hides it.
    int rowOf(int entry) const;

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

  public slots:
    // Connected to the protocol table's signals. Keep each row on its entry (numbers are 1-based
    // and name the rows after an insertion, before a removal).
    void entriesInserted(int first, int last);
    void entriesRemoved(int first, int last);
    void entriesChanged(int first, int last);
    void entriesReset();

  private:
    // The filter's field of an entry; long dates come from a cache by day.
    QString valueOf(const udtProtoEntry& entry, ProtoField field);

    std::vector<int> m_rows;
    int m_filter = 0;
    int m_rowHeight = 0;
    QHash<qint64, QString> m_longDates;
};
