#pragma once
// The rule sentence of the Rules tab and the target explanation beside it, as texts: the
// widgets only place what these functions say.
#include <QDate>
#include <QString>

#include <array>
#include <vector>

// The four criteria in the sentence's order.
enum class Criterion { Sender, Recipient, Subject, FileFormat };
constexpr int kCriteria = 4;

// The bilingual texts of one criterion, as "Tag" strings of its controls.
struct CriterionTexts {
    const char* checkBox;    // cbRules...
    const char* textLabel;   // lbl...TXT
    const char* placeholder; // lblChoose...
};
const CriterionTexts& TextsOf(Criterion c);

// One row of the sentence.
struct SentenceRow {
    Criterion criterion;
    QString text;      // "Der Absender ist", lower-cased first letter after the first row
    QString value;     // the field, or the placeholder when the field holds nothing
    QString separator; // ".", "und" / "and", or ","
};

// The rows for the set criteria, in order; `fields` are the rule's Sender, Recipient, Subject
// and FileFormat as stored (a field never written begins with a NUL).
std::vector<SentenceRow> RuleSentence(const std::array<bool, kCriteria>& checked,
                                      const std::array<QString, kCriteria>& fields);

// The value a choose label shows: the trimmed field, or the placeholder of the language.
QString ChooseCaption(Criterion c, const QString& field);

// lblSaveInfos: where a rule of `saveBy` with list index `saveFormat` saves, for `today`.
QString SaveInfosText(int saveBy, int saveFormat, const QDate& today);
