#pragma once
// What every edit of the record tables answers, and the checks that rule and project edits
// share. The options dialog, the command line and the commands forwarded to the data folder's
// owner edit the tables through the functions of rule_edits.h and project_edits.h only.
#include "data/record_table.h"

#include <QString>

#include <limits>
#include <vector>

// Why an edit was refused; the dialog picks its beep or box by it.
enum class EditRefusal {
    None,
    Empty,       // a name or folder left empty
    TooLong,     // longer than its field (with Overlong::Refuse)
    Meaningless, // not a value the field can hold
    Duplicate,   // a record of that name exists
    Blocked,     // a program for a blocked attachment format
    AtEnd,       // moving the first record up or the last one down
    Full,        // the table's count would overflow
};

struct EditResult {
    EditRefusal refusal = EditRefusal::None;
    QString message; // English; names the field and what it accepts
    int index = 0;   // the record edited or added; with Duplicate, the one holding the name
    bool ok() const { return refusal == EditRefusal::None; }
};

// A text longer than its field: the command line refuses it, the dialog's input boxes cut it
// as the record does.
enum class Overlong { Refuse, Cut };

// Empty when `value` fits a text field of `length` characters (cut first with Overlong::Cut)
// and the data files' code page can hold it; else the refusal, naming `field`.
EditResult CheckFieldText(const QString& field, const QString& value, int length,
                          Overlong overlong);
// A folder field: not empty, an absolute path, and a text that fits.
EditResult CheckFolderText(const QString& field, const QString& value, int length,
                           Overlong overlong);
EditResult Refused(EditRefusal refusal, const QString& message, int index = 0);

// Appends `record` to a table used from index 1, unless its count would overflow.
template <class T, class Count>
EditResult AppendRecord(RecordTable<T, Count>& table, const T& record, const char* what) {
    if (table.count() == table.kMaxCount)
        return Refused(EditRefusal::Full,
                       QStringLiteral("the table holds no more ") + QLatin1String(what));
    table.append(record);
    table.changed = true;
    return {EditRefusal::None, {}, table.count()};
}

// The first record whose trimmed Name equals the trimmed `name`, case ignored; 0 if none.
template <class T, class Count>
int FindByName(const RecordTable<T, Count>& table, const QString& name) {
    const QString wanted = name.trimmed();
    for (int i = 1; i <= table.count(); ++i)
        if (table[i].Name.get().compare(wanted, Qt::CaseInsensitive) == 0) return i;
    return 0;
}
