#include "data/rule_edits.h"

#include "common/folders.h"
#include "data/globals.h"
#include "data/project_edits.h"
#include "data/protocol.h"

#include <QStringList>

#include <limits>
#include <type_traits>

namespace {
struct FieldInfo {
    RuleField field;
    const char* name;
};

const FieldInfo kFields[] = {
    {RuleField::Active, "Active"},
    {RuleField::Name, "Name"},
    {RuleField::CheckSender, "CheckSender"},
    {RuleField::Sender, "Sender"},
    {RuleField::CheckRecp, "CheckRecp"},
    {RuleField::Recipient, "Recipient"},
    {RuleField::CheckSubj, "CheckSubj"},
    {RuleField::Subject, "Subject"},
    {RuleField::CheckFileFormat, "CheckFileFormat"},
    {RuleField::FileFormat, "FileFormat"},
    {RuleField::SaveBy, "SaveBy"},
    {RuleField::SaveFormat, "SaveFormat"},
    {RuleField::Folder, "Folder"},
    {RuleField::FileExists, "FileExists"},
    {RuleField::Execute, "Execute"},
    {RuleField::DelAttach, "DelAttach"},
    {RuleField::Notify, "Notify"},
    {RuleField::Hyperlink, "Hyperlink"},
};

// Calls `fn` with the member that holds `field`.
template <class R, class Fn> decltype(auto) WithField(R& r, RuleField field, Fn&& fn) {
    switch (field) {
    case RuleField::Active:
        return fn(r.Active);
    case RuleField::Name:
        return fn(r.Name);
    case RuleField::CheckSender:
        return fn(r.CheckSender);
    case RuleField::Sender:
        return fn(r.Sender);
    case RuleField::CheckRecp:
        return fn(r.CheckRecp);
    case RuleField::Recipient:
        return fn(r.Recipient);
    case RuleField::CheckSubj:
        return fn(r.CheckSubj);
    case RuleField::Subject:
        return fn(r.Subject);
    case RuleField::CheckFileFormat:
        return fn(r.CheckFileFormat);
    case RuleField::FileFormat:
        return fn(r.FileFormat);
    case RuleField::SaveBy:
        return fn(r.SaveBy);
    case RuleField::SaveFormat:
        return fn(r.SaveFormat);
    case RuleField::Folder:
        return fn(r.Folder);
    case RuleField::FileExists:
        return fn(r.FileExists);
    case RuleField::Execute:
        return fn(r.Execute);
    case RuleField::DelAttach:
        return fn(r.DelAttach);
    case RuleField::Notify:
        return fn(r.Notify);
    case RuleField::Hyperlink:
        break;
    }
    return fn(r.Hyperlink);
}

// A code with its word; the words are what the command line takes beside the numbers.
struct Code {
    int value;
    const char* word;
};
using Codes = std::vector<Code>;

const Codes kSaveBy = {{SaveBy::Date, "date"},
                       {SaveBy::Sender, "sender"},
                       {SaveBy::Recipient, "recipient"},
                       {SaveBy::Project, "project"},
                       {SaveBy::Folder, "folder"}};
const Codes kFileExists = {{FileExists::Ask, "ask"},
                           {FileExists::Replace, "replace"},
                           {FileExists::Number, "number"},
                           {FileExists::AddDateTime, "date-time"}};

// The SaveFormat codes that mean something with `saveBy`; none for an unknown SaveBy.
const Codes& SaveFormatCodes(int saveBy) {
    static const Codes byDate = {{SaveFormat::DayMonthYear, "dd-mm-yyyy"},
                                 {SaveFormat::YearMonthDay, "yyyy-mm-dd"},
                                 {SaveFormat::YearMonth, "yyyy-mm"},
                                 {SaveFormat::YearWeek, "yyyy-ww"}};
    static const Codes byParty = {{SaveFormat::Name, "name"}, {SaveFormat::Address, "address"}};
    static const Codes byProject = {{0, "none"}}; // not used: the project names the folder
    static const Codes toFolder = {{SaveFormat::Plain, "folder"},
                                   {SaveFormat::KeepMailFolders, "keep-structure"}};
    static const Codes none;
    switch (saveBy) {
    case SaveBy::Date:
        return byDate;
    case SaveBy::Sender:
    case SaveBy::Recipient:
        return byParty;
    case SaveBy::Project:
        return byProject;
    case SaveBy::Folder:
        return toFolder;
    default:
        return none;
    }
}

const Codes& CodesOf(const udtRule& rule, RuleField field) {
    if (field == RuleField::SaveBy) return kSaveBy;
    if (field == RuleField::FileExists) return kFileExists;
    return SaveFormatCodes(rule.SaveBy);
}

QString CodeList(const Codes& codes) {
    QStringList items;
    for (const Code& c : codes)
        items << QStringLiteral("%1 %2").arg(c.value).arg(QLatin1String(c.word));
    if (items.size() < 2) return items.join(QString());
    const QString last = items.takeLast();
    return items.join(QStringLiteral(", ")) + QStringLiteral(" or ") + last;
}

std::optional<int> ParseCode(const Codes& codes, const QString& value) {
    bool isNumber = false;
    const int n = value.toInt(&isNumber);
    for (const Code& c : codes)
        if (isNumber ? n == c.value
                     : value.compare(QLatin1String(c.word), Qt::CaseInsensitive) == 0)
            return c.value;
    return std::nullopt;
}

QString CodeRefusal(const udtRule& rule, RuleField field) {
    const QString name = RuleFieldName(field);
    if (field != RuleField::SaveFormat)
        return name + QStringLiteral(" takes ") + CodeList(CodesOf(rule, field)) +
               QStringLiteral(" (the number or the word)");
    const Codes& codes = SaveFormatCodes(rule.SaveBy);
    if (codes.empty())
        return QStringLiteral("SaveFormat can't be set while SaveBy holds %1, which means nothing")
            .arg(rule.SaveBy);
    const QString saveBy = QLatin1String(kSaveBy[static_cast<size_t>(rule.SaveBy)].word);
    if (rule.SaveBy == SaveBy::Project)
        return QStringLiteral("SaveFormat is not used by a rule that saves by project; it takes 0");
    return QStringLiteral("SaveFormat of a rule that saves by %1 takes %2 (the number or the word)")
        .arg(saveBy, CodeList(codes));
}

// The checks of a text field beyond its length.
EditResult CheckText(const udtRule& rule, RuleField field, const QString& value, int length,
                     Overlong overlong) {
    const QString name = RuleFieldName(field);
    switch (field) {
    case RuleField::Name:
        if (value.trimmed().isEmpty())
            return Refused(EditRefusal::Empty, QStringLiteral("Name can't be empty"));
        break;
    case RuleField::FileFormat:
        for (const QChar c : value)
            if (c == QLatin1Char('.') || c == QLatin1Char('/') || c == QLatin1Char('*') ||
                c.isSpace())
                return Refused(EditRefusal::Meaningless,
                               QStringLiteral("FileFormat takes a file extension without its dot, "
                                              "such as PDF; '%1' is not one")
                                   .arg(value));
        break;
    case RuleField::Folder:
        if (rule.SaveBy == SaveBy::Project) {
            if (value.trimmed().isEmpty())
                return Refused(
                    EditRefusal::Empty,
                    QStringLiteral("Folder can't be empty (it names the rule's project)"));
            break;
        }
        return CheckFolderText(name, value, length, overlong);
    case RuleField::Execute:
        if (!value.trimmed().isEmpty() && IsTrue(rule.CheckFileFormat) &&
            IsFormatBlocked(rule.FileFormat.get().toUpper()))
            return Refused(EditRefusal::Blocked,
                           QStringLiteral("Execute can't run a program for the rule's format %1: "
                                          "files of this type are blocked and can't be executed "
                                          "or opened")
                               .arg(rule.FileFormat.get().toUpper()));
        break;
    default:
        break;
    }
    return CheckFieldText(name, value, length, overlong);
}
} // namespace

const std::vector<RuleField>& AllRuleFields() {
    static const std::vector<RuleField> fields = [] {
        std::vector<RuleField> all;
        for (const FieldInfo& f : kFields)
            all.push_back(f.field);
        return all;
    }();
    return fields;
}

QString RuleFieldName(RuleField field) {
    return QLatin1String(kFields[static_cast<int>(field)].name);
}

std::optional<RuleField> FindRuleField(const QString& name) {
    for (const FieldInfo& f : kFields)
        if (name.compare(QLatin1String(f.name), Qt::CaseInsensitive) == 0) return f.field;
    return std::nullopt;
}

RuleFieldKind KindOf(RuleField field) {
    switch (field) {
    case RuleField::SaveBy:
    case RuleField::SaveFormat:
    case RuleField::FileExists:
        return RuleFieldKind::Code;
    default:
        // The 16-bit codes share their type with the booleans, so only texts go by type.
        udtRule probe;
        return WithField(probe, field, [](auto& member) {
            return std::is_integral_v<std::decay_t<decltype(member)>> ? RuleFieldKind::Boolean
                                                                      : RuleFieldKind::Text;
        });
    }
}

QString RuleFieldValue(const udtRule& rule, RuleField field) {
    const RuleFieldKind kind = KindOf(field);
    return WithField(rule, field, [&](const auto& member) -> QString {
        using T = std::decay_t<decltype(member)>;
        if constexpr (!std::is_integral_v<T>)
            return member.get();
        else if (kind == RuleFieldKind::Boolean)
            return IsTrue(member) ? QStringLiteral("1") : QStringLiteral("0");
        else
            return QString::number(member);
    });
}

StoredText RuleFieldStored(const udtRule& rule, RuleField field) {
    return WithField(rule, field, [](const auto& member) -> StoredText {
        if constexpr (std::is_integral_v<std::decay_t<decltype(member)>>)
            return {};
        else
            return {member.text(), member.fill(), member.raw()};
    });
}

QString RuleCodeWord(const udtRule& rule, RuleField field) {
    if (KindOf(field) != RuleFieldKind::Code) return {};
    const QString value = RuleFieldValue(rule, field);
    for (const Code& c : CodesOf(rule, field))
        if (value == QString::number(c.value)) return QLatin1String(c.word);
    return {};
}

QString RuleFieldText(const udtRule& rule, RuleField field) {
    const QString value = RuleFieldValue(rule, field);
    const QString word = RuleCodeWord(rule, field);
    return word.isEmpty() ? value : value + u' ' + word;
}

EditResult SetRuleField(udtRule& rule, RuleField field, const QString& value, Overlong overlong) {
    return WithField(rule, field, [&](auto& member) -> EditResult {
        using T = std::decay_t<decltype(member)>;
        const QString name = RuleFieldName(field);
        if constexpr (std::is_integral_v<T>) {
            if (KindOf(field) == RuleFieldKind::Code) {
                const std::optional<int> code = ParseCode(CodesOf(rule, field), value.trimmed());
                if (!code) return Refused(EditRefusal::Meaningless, CodeRefusal(rule, field));
                member = static_cast<T>(*code);
                return {};
            }
            if (value != QLatin1String("1") && value != QLatin1String("0"))
                return Refused(EditRefusal::Meaningless,
                               name + QStringLiteral(" takes 1 (yes) or 0 (no)"));
            member = ToVb(value == QLatin1String("1"));
        } else {
            const QString text = field == RuleField::FileFormat ? value.toUpper() : value;
            if (EditResult refused = CheckText(rule, field, text, T::Length, overlong);
                !refused.ok())
                return refused;
            if (text.contains(QChar(0)))
                member.setRaw(text);
            else
                member.set(text);
        }
        return {};
    });
}

EditResult SetRuleField(int index, RuleField field, const QString& value, Overlong overlong) {
    udtRule& rule = Rules[static_cast<size_t>(index)];
    udtRule changed = rule;
    EditResult result = SetRuleField(changed, field, value, overlong);
    result.index = index;
    if (!result.ok()) return result;
    if (field == RuleField::SaveBy && changed.SaveBy != rule.SaveBy) {
        changed.SaveFormat = 0;
        if (changed.SaveBy == SaveBy::Project) {
            if (FindProject(rule.Folder.get()) == 0 && Projects.count() > 0)
                changed.Folder = Projects[1].Name.get();
        } else if (rule.SaveBy == SaveBy::Project) {
            // The rule keeps saving where its project did.
            const int project = FindProject(rule.Folder.get());
            changed.Folder = project > 0 ? Projects[static_cast<size_t>(project)].Folder.get()
                                         : GetSpecialFolder(Csidl::Personal);
        }
    }
    rule = changed;
    Rules.changed = true;
    return result;
}

int FindRuleByName(const QString& name) {
    return FindByName(Rules, name);
}

EditResult AddRule(const QString& name, Overlong overlong) {
    udtRule rule;
    rule.Active = vbTrue;
    rule.Folder = GetSpecialFolder(Csidl::Personal);
    if (EditResult refused = SetRuleField(rule, RuleField::Name, name, overlong); !refused.ok())
        return refused;
    if (const int existing = FindRuleByName(name))
        return Refused(EditRefusal::Duplicate,
                       QStringLiteral("a rule '%1' exists already").arg(name.trimmed()), existing);
    return AppendRecord(Rules, rule, "rules");
}

EditResult RenameRule(int index, const QString& name, Overlong overlong) {
    return SetRuleField(index, RuleField::Name, name, overlong);
}

void RemoveRule(int index) {
    Rules.remove(index);
    Rules.changed = true;
}

EditResult MoveRule(int index, int direction) {
    const int target = index + direction;
    if (target < 1 || target > Rules.count())
        return Refused(EditRefusal::AtEnd,
                       QStringLiteral("rule '%1' is the %2 one and can't move %3")
                           .arg(Rules[static_cast<size_t>(index)].Name.get(),
                                direction < 0 ? QStringLiteral("first") : QStringLiteral("last"),
                                direction < 0 ? QStringLiteral("up") : QStringLiteral("down")),
                       index);
    Rules.swap(index, target);
    Rules.changed = true;
    return {EditRefusal::None, {}, target};
}

void ReplaceRules(const std::vector<udtRule>& rules) {
    Rules.assign(rules);
    Rules.changed = true;
}

QString RuleTargetProblem(const udtRule& rule) {
    if (rule.SaveBy == SaveBy::Project && FindProject(rule.Folder.get()) == 0)
        return QStringLiteral("rule '%1' saves nothing: there is no project '%2'")
            .arg(rule.Name.get(), rule.Folder.get());
    return {};
}
