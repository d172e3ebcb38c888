#include "dialogs/models/proto_model.h"

#include "common/dates.h"
#include "common/lang.h"
#include "common/paths.h"
#include "common/text.h"
#include "data/globals.h"
#include "engine/proto_record.h"

#include <QColor>
#include <QFontMetrics>
#include <QGuiApplication>
#include <QSet>

#include <cmath>

QString ProtoText(const udtProtoEntry& e, ProtoField field) {
    switch (field) {
    case ProtoField::DateTime:
        return FormatDate(e.Date, QStringLiteral("Short Date")) + QLatin1Char(' ') +
               FormatDate(e.Date, QStringLiteral("hh:nn"));
    case ProtoField::LongDate:
        return FormatDate(e.Date, QStringLiteral("Long Date"));
    case ProtoField::Mail:
        return StripAtNull(e.Mail().get());
    case ProtoField::Attachment:
        return StripAtNull(e.Attachment().get());
    case ProtoField::FileFormat:
        return StripAtNull(e.FileFormat().get());
    case ProtoField::Sender:
        return StripAtNull(e.Sender().get());
    case ProtoField::Recipient:
        return StripAtNull(e.Recipient().get());
    case ProtoField::Rule:
        return StripAtNull(e.Rule().get());
    case ProtoField::Folder:
        return StripAtNull(e.Folder().get());
    case ProtoField::ShortFolder:
        return GetLastPathPart(StripAtNull(e.Folder().get()));
    case ProtoField::Project:
        return StripAtNull(e.Project().get());
    case ProtoField::State:
        return StripAtNull(e.State().get());
    }
    return {};
}

namespace {
struct FilterInfo {
    const char* german;
    const char* english;
    ProtoField field;
    ProtoField third;
};
// By list index; the English caption of the file name entry is in lower case.
const FilterInfo kFilters[ProtoFilter::Count] = {
    {"<Keine Filterung>", "No Filter", ProtoField::Sender, ProtoField::Sender},
    {"Datum", "Date", ProtoField::LongDate, ProtoField::Sender},
    {"Absender", "Sender", ProtoField::Sender, ProtoField::Sender},
    {"Empfänger", "Recipient", ProtoField::Recipient, ProtoField::Recipient},
    {"Projekt", "Project", ProtoField::Project, ProtoField::Project},
    {"Dateiname", "file name", ProtoField::Attachment, ProtoField::Sender},
    {"Anhang-Format", "Attachment format", ProtoField::FileFormat, ProtoField::Sender},
    {"Ordner", "Folder", ProtoField::ShortFolder, ProtoField::ShortFolder},
    {"Regel", "Rule", ProtoField::Rule, ProtoField::Rule},
    {"Status", "State", ProtoField::State, ProtoField::Sender},
};

const FilterInfo& Info(int filter) {
    return kFilters[filter >= 0 && filter < ProtoFilter::Count ? filter : 0];
}

const udtProtoEntry& Entry(int number) {
    return ProtoEntries[number];
}
} // namespace

ProtoField FilterField(int filter) {
    return Info(filter).field;
}

ProtoField ThirdColumnField(int filter) {
    return Info(filter).third;
}

QString FilterCaption(int filter) {
    return LangText(QString::fromUtf8(Info(filter).german),
                    QString::fromUtf8(Info(filter).english));
}

QString ProtoHeading(int column, int filter) {
    switch (column) {
    case 0:
        return LangText(QStringLiteral("Datum"), QStringLiteral("Date"));
    case 1:
        return LangText(QStringLiteral("Anhang"), QStringLiteral("Attachment"));
    case 3:
        return LangText(QStringLiteral("Status"), QStringLiteral("State"));
    default:
        break;
    }
    switch (filter) {
    case ProtoFilter::Recipient:
        return LangText(QStringLiteral("An"), QStringLiteral("To"));
    case ProtoFilter::Project:
        return LangText(QStringLiteral("Projekt"), QStringLiteral("Project"));
    case ProtoFilter::Folder:
        return LangText(QStringLiteral("Ordner"), QStringLiteral("Folder"));
    case ProtoFilter::Rule:
        return LangText(QStringLiteral("Regel"), QStringLiteral("Rule"));
    default:
        return LangText(QStringLiteral("Von"), QStringLiteral("From"));
    }
}

ProtoModel::ProtoModel(QObject* parent) : QAbstractTableModel(parent) {
    m_rowHeight = QFontMetrics(QGuiApplication::font()).height() + 6;
    RecordTableNotifier* table = ProtoEntries.notifier();
    connect(table, &RecordTableNotifier::rowsInserted, this, &ProtoModel::entriesInserted);
    connect(table, &RecordTableNotifier::rowsRemoved, this, &ProtoModel::entriesRemoved);
    connect(table, &RecordTableNotifier::rowsChanged, this, &ProtoModel::entriesChanged);
    connect(table, &RecordTableNotifier::tableReset, this, &ProtoModel::entriesReset);
}

QString ProtoModel::valueOf(const udtProtoEntry& entry, ProtoField field) {
    if (field != ProtoField::LongDate) return ProtoText(entry, field);
    // Entries of one day share their text; formatting each costs more than the whole walk.
    const qint64 day = std::isfinite(entry.Date) ? qint64(std::floor(entry.Date)) : -1;
    auto it = m_longDates.constFind(day);
    if (it == m_longDates.constEnd()) it = m_longDates.insert(day, ProtoText(entry, field));
    return *it;
}

QStringList ProtoModel::collectValues(int filter) {
    QStringList values;
    if (filter == ProtoFilter::None) return values;
    m_longDates.clear(); // the language may have changed
    const ProtoField field = FilterField(filter);
    QSet<QString> seen;
    for (int i = 1; i <= ProtoEntries.count(); ++i) {
        const QString value = valueOf(Entry(i), field);
        if (value.isEmpty() || seen.contains(value)) continue;
        if (filter == ProtoFilter::Rule && value == QLatin1String("SpecialRule")) continue;
        seen.insert(value);
        values << value;
    }
    return values;
}

void ProtoModel::rebuild(int filter, const QString* value) {
    beginResetModel();
    m_filter = filter;
    m_rows.clear();
    m_longDates.clear();
    const bool all = filter == ProtoFilter::None || !value;
    const ProtoField field = FilterField(filter);
    m_rows.reserve(static_cast<size_t>(all ? ProtoEntries.count() : 0));
    for (int i = 1; i <= ProtoEntries.count(); ++i)
        if (all || valueOf(Entry(i), field) == *value) m_rows.push_back(i);
    endResetModel();
}

int ProtoModel::entryAt(int row) const {
    return row >= 0 && row < int(m_rows.size()) ? m_rows[static_cast<size_t>(row)] : 0;
}

int ProtoModel::rowOf(int entry) const {
    // Rows keep the table's order, so the numbers ascend.
    const auto it = std::lower_bound(m_rows.begin(), m_rows.end(), entry);
    return it != m_rows.end() && *it == entry ? int(it - m_rows.begin()) : -1;
}

int ProtoModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : int(m_rows.size());
}

int ProtoModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : 4;
}

QVariant ProtoModel::data(const QModelIndex& index, int role) const {
    const int number = entryAt(index.row());
    if (number < 1 || number > ProtoEntries.count()) return {};
    const udtProtoEntry& e = Entry(number);
    switch (role) {
    case Qt::DisplayRole: {
        static const ProtoField kColumns[] = {ProtoField::DateTime, ProtoField::Attachment,
                                              ProtoField::Sender, ProtoField::State};
        const ProtoField field = index.column() == 2 ? ThirdColumnField(m_filter)
                                                     : kColumns[std::clamp(index.column(), 0, 3)];
        return ProtoText(e, field);
    }
    case Qt::ForegroundRole: {
        if (index.column() != 0) return {};
        const QString state = ProtoText(e, ProtoField::State);
        if (state.startsWith(QLatin1Char('!'))) return QColor(255, 0, 0);
        if (state.startsWith(QLatin1Char('T'))) return QColor(0, 0, 255);
        return {};
    }
    case Qt::ToolTipRole:
        if (index.column() == 3) return ProtoStateMeaning(ProtoText(e, ProtoField::State));
        return ProtoText(e, ProtoField::Mail);
    case EntryRole:
        return number;
    case Qt::SizeHintRole: // room for the accents of capitals (Ü) above the font's ascent
        return index.column() == 0 ? QVariant(QSize(-1, m_rowHeight)) : QVariant();
    default:
        return {};
    }
}

QVariant ProtoModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::ToolTipRole && section == 3) return ProtoStateLegend();
    if (role != Qt::DisplayRole) return {};
    return ProtoHeading(section, m_filter);
}

void ProtoModel::entriesInserted(int first, int last) {
    const int added = last - first + 1;
    for (int& n : m_rows)
        if (n >= first) n += added;
}

void ProtoModel::entriesRemoved(int first, int last) {
    const int removed = last - first + 1;
    const auto gone = [&](int n) { return n >= first && n <= last; };
    int row = 0;
    while (row < int(m_rows.size())) {
        if (!gone(m_rows[size_t(row)])) {
            ++row;
            continue;
        }
        int end = row;
        while (end < int(m_rows.size()) && gone(m_rows[size_t(end)]))
            ++end;
        beginRemoveRows({}, row, end - 1);
        m_rows.erase(m_rows.begin() + row, m_rows.begin() + end);
        endRemoveRows();
    }
    for (int& n : m_rows)
        if (n > last) n -= removed;
}

void ProtoModel::entriesChanged(int first, int last) {
    for (size_t row = 0; row < m_rows.size(); ++row)
        if (m_rows[row] >= first && m_rows[row] <= last)
            emit dataChanged(index(int(row), 0), index(int(row), columnCount() - 1));
}

void ProtoModel::entriesReset() {
    beginResetModel();
    m_rows.clear();
    endResetModel();
}
