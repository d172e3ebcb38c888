#pragma once
// Every edit of the rule table: adding, renaming, removing, moving, and setting one field with
// its length and meaning checked. Each sets Rules.changed; a refused edit changes nothing.
#include "data/edits.h"
#include "data/records.h"

#include <QString>
#include <optional>
#include <vector>

// The fields of udtRule, in record order.
enum class RuleField {
    Active,
    Name,
    CheckSender,
    Sender,
    CheckRecp,
    Recipient,
    CheckSubj,
    Subject,
    CheckFileFormat,
    FileFormat,
    SaveBy,
    SaveFormat,
    Folder,
    FileExists,
    Execute,
    DelAttach,
    Notify,
    Hyperlink,
};
const std::vector<RuleField>& AllRuleFields();
QString RuleFieldName(RuleField field);
// By its name, case ignored.
std::optional<RuleField> FindRuleField(const QString& name);
// Booleans, codes and texts.
enum class RuleFieldKind { Boolean, Code, Text };
RuleFieldKind KindOf(RuleField field);
// What a field holds, as SetRuleField takes it: booleans "1"/"0", codes as numbers, texts
// trimmed.
QString RuleFieldValue(const udtRule& rule, RuleField field);
// The same for people: a code with its word ("3 project").
QString RuleFieldText(const udtRule& rule, RuleField field);
// A text field as stored: the characters before the padding, the padding character, and all
// of them. Empty for the other fields.
struct StoredText {
    QString text;
    QChar fill;
    QString raw;
};
StoredText RuleFieldStored(const udtRule& rule, RuleField field);
// The English word of a code field's value ("project", "yyyy-mm-dd"); empty for a value that
// means nothing.
QString RuleCodeWord(const udtRule& rule, RuleField field);

// Checks `value` for `field` of `rule` and stores it; a refused value leaves `rule` as it was.
// Booleans take 1 or 0. SaveBy, SaveFormat (by the rule's SaveBy) and FileExists take their
// number or English word. Texts take at most their field's length, in the data files' code
// page; Name can't be empty, FileFormat is an extension without its dot (stored upper-cased),
// Folder is an absolute path (a project's name when SaveBy is project), and Execute is
// refused for a blocked format that the rule tests. A value holding NULs is the raw field, as
// another writer left it.
EditResult SetRuleField(udtRule& rule, RuleField field, const QString& value,
                        Overlong overlong = Overlong::Refuse);
// The same on rule `index` (1-based) of the table. A changed SaveBy also sets what the
// dialog's lists would: SaveFormat back to 0, Folder to the first project's name when the rule
// comes to save by project, and to that project's folder (else the documents folder) when it
// leaves.
EditResult SetRuleField(int index, RuleField field, const QString& value,
                        Overlong overlong = Overlong::Refuse);

// The rule of that name (trimmed, case ignored); 0 if none.
int FindRuleByName(const QString& name);
// A new last rule: the name, active, saving by date into the documents folder, every other
// field as a new record holds it. Refused for an empty name or one that a rule has.
EditResult AddRule(const QString& name, Overlong overlong = Overlong::Refuse);
// A rule of the same name elsewhere in the table is allowed here.
EditResult RenameRule(int index, const QString& name, Overlong overlong = Overlong::Refuse);
void RemoveRule(int index);
// Swaps rule `index` with its neighbour: `direction` -1 up, +1 down. Refused (AtEnd) for the
// first rule up and the last one down. The result's index is where the rule went.
EditResult MoveRule(int index, int direction);
// The whole table, index 0 not included.
void ReplaceRules(const std::vector<udtRule>& rules);

// Why the rule as it stands saves nothing (a project that doesn't exist); empty otherwise.
QString RuleTargetProblem(const udtRule& rule);
