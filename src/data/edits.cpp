#include "data/edits.h"

#include "common/ansi.h"

EditResult Refused(EditRefusal refusal, const QString& message, int index) {
    return {refusal, message, index};
}

EditResult CheckFieldText(const QString& field, const QString& value, int length,
                          Overlong overlong) {
    const QString kept = overlong == Overlong::Cut ? value.left(length) : value;
    if (kept.size() > length)
        return Refused(EditRefusal::TooLong,
                       QStringLiteral("%1 takes at most %2 characters; '%3' has %4")
                           .arg(field)
                           .arg(length)
                           .arg(value)
                           .arg(value.size()));
    // A character the code page lacks would be stored as "?".
    if (FromAnsi(ToAnsi(kept)) != kept) {
        for (qsizetype i = 0; i < kept.size(); ++i) {
            const QString c = kept.mid(i, kept.at(i).isHighSurrogate() ? 2 : 1);
            if (FromAnsi(ToAnsi(c)) != c)
                return Refused(EditRefusal::Meaningless,
                               QStringLiteral("%1 takes only characters of Windows-1252, the "
                                              "data files' code page; '%2' is not one")
                                   .arg(field, c));
        }
    }
    return {};
}

EditResult CheckFolderText(const QString& field, const QString& value, int length,
                           Overlong overlong) {
    if (value.trimmed().isEmpty())
        return Refused(EditRefusal::Empty, field + QStringLiteral(" can't be empty"));
    if (!value.startsWith(QLatin1Char('/')))
        return Refused(
            EditRefusal::Meaningless,
            QStringLiteral("%1 takes an absolute folder path; '%2' is not one").arg(field, value));
    return CheckFieldText(field, value, length, overlong);
}
