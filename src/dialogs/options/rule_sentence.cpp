#include "dialogs/options/rule_sentence.h"

#include "common/dates.h"
#include "common/lang.h"
#include "data/rule_codes.h"

#include <QStringList>

namespace {
const CriterionTexts kTexts[kCriteria] = {
    {"Die Nachricht stammt von einem bestimmten Absender||The mail was sent from a specific "
     "sender|",
     "Der Absender ist||The sender is|", "Absender wählen||Choose sender|"},
    {"Die Nachricht ist an einen bestimmten Empfänger adressiert||The mail is addressed to a "
     "specific recipient|",
     "Der Empfänger ist||The recipient is|", "Empfänger wählen||Choose recipient|"},
    {"Die Nachricht enthält einen bestimmten Text im Betreff||The mail contains a specific "
     "phrase in the subject|",
     "Der Betreff enthält||The subject contains|", "Text eingeben||Enter text|"},
    {"Der Anhang ist in einem bestimmten Format||The attachment is in a specific format|",
     "Der Anhang ist im Format||The attachment format is|", "Format wählen||Choose format|"},
};

// The caption of the current language from a four-field tag.
QString Caption(const char* tag) {
    const QStringList fields = QString::fromUtf8(tag).split(QLatin1Char('|'));
    return fields.value(IsGerman() ? 0 : 2);
}
} // namespace

const CriterionTexts& TextsOf(Criterion c) {
    return kTexts[static_cast<int>(c)];
}

QString ChooseCaption(Criterion c, const QString& field) {
    const QString value = field.trimmed();
    if (value.isEmpty() || value.at(0) == QChar(0)) return Caption(TextsOf(c).placeholder);
    return value;
}

std::vector<SentenceRow> RuleSentence(const std::array<bool, kCriteria>& checked,
                                      const std::array<QString, kCriteria>& fields) {
    int n = 0;
    for (bool set : checked)
        n += set ? 1 : 0;
    std::vector<SentenceRow> rows;
    for (int i = 0; i < kCriteria; ++i) {
        if (!checked[static_cast<size_t>(i)]) continue;
        const auto c = static_cast<Criterion>(i);
        const int p = static_cast<int>(rows.size()) + 1;
        QString text = Caption(TextsOf(c).textLabel);
        if (!text.isEmpty()) text[0] = p == 1 ? text.at(0).toUpper() : text.at(0).toLower();
        const QString separator = p == n ? QStringLiteral(".")
                                  : p == n - 1
                                      ? LangText(QStringLiteral("und"), QStringLiteral("and"))
                                      : QStringLiteral(",");
        rows.push_back({c, text, ChooseCaption(c, fields[static_cast<size_t>(i)]), separator});
    }
    return rows;
}

QString SaveInfosText(int saveBy, int saveFormat, const QDate& today) {
    QString sample;
    switch (saveBy) {
    case SaveBy::Date: {
        static const char* const kPatterns[] = {"dd-mm-yyyy", "yyyy-mm-dd", "yyyy-mm", "yyyy-ww"};
        const int i = saveFormat >= 0 && saveFormat < 4 ? saveFormat : 0;
        sample = FormatDate(QDateTime(today, QTime(12, 0)), QLatin1String(kPatterns[i]));
        break;
    }
    case SaveBy::Sender:
    case SaveBy::Recipient:
        // A folder name can't hold "@", so the address shows "#" in its place.
        sample = saveFormat == SaveFormat::Name
                     ? LangText(QStringLiteral("Erika Mustermann"), QStringLiteral("Jane Doe"))
                     : LangText(QStringLiteral("erika.mustermann#beispiel.de"),
                                QStringLiteral("jane.doe#example.com"));
        break;
    case SaveBy::Project:
        return LangText(QStringLiteral("Die Anhänge werden direkt in dem mit dem gewählten Projekt "
                                       "verbundenen Ordner gespeichert..."),
                        QStringLiteral("Attachments will be saved directly to the folder "
                                       "associated with the chosen project..."));
    case SaveBy::Folder:
        return LangText(
            QStringLiteral("Die Anhänge werden direkt im gewählten Ordner gespeichert..."),
            QStringLiteral("Attachments will be saved directly to the chosen folder..."));
    default:
        return {};
    }
    return LangText(QStringLiteral("Die Anhänge werden im gewählten Basisordner in Unterordner "
                                   "wie '"),
                    QStringLiteral("Attachments will be saved to the chosen base folder in "
                                   "subfolders like '")) +
           sample + LangText(QStringLiteral("' gespeichert..."), QStringLiteral("'..."));
}
