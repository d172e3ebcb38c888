// The commands that show and edit the rules and the projects. Every change goes through the
// edit functions of src/data, the ones the options dialog calls.
#include "addin/cli_commands.h"

#include "common/folders.h"
#include "common/paths.h"
#include "common/text.h"
#include "data/globals.h"
#include "data/project_edits.h"
#include "data/rule_edits.h"
#include "data/rule_json.h"
#include "engine/attachment_actions.h"
#include "ui/user_interaction.h"

#include <QDir>
#include <QFile>

namespace {
QString SaveByText(const udtRule& r) {
    const QString format = RuleCodeWord(r, RuleField::SaveFormat);
    switch (r.SaveBy) {
    case SaveBy::Date:
        return QStringLiteral("by date (%1)").arg(format);
    case SaveBy::Sender:
    case SaveBy::Recipient:
        return QStringLiteral("by %1 %2").arg(RuleCodeWord(r, RuleField::SaveBy), format);
    case SaveBy::Project:
        return QStringLiteral("by project");
    case SaveBy::Folder:
        return r.SaveFormat == SaveFormat::KeepMailFolders
                   ? QStringLiteral("to the folder, keeping the mail folders")
                   : QStringLiteral("to the folder");
    default:
        return QStringLiteral("by mode %1").arg(r.SaveBy);
    }
}

// FileExists codes of 4 and up act as replace.
QString ConflictText(const udtRule& r) {
    const QString word = RuleCodeWord(r, RuleField::FileExists);
    return word.isEmpty() ? QStringLiteral("replace") : word;
}

// A field never set (all NULs) lists as empty; the data file keeps its bytes.
void ListRules(QTextStream& out) {
    if (Rules.count() == 0) out << "No rules.\n";
    for (int i = 1; i <= Rules.count(); ++i) {
        const udtRule& r = Rules[i];
        const auto shown = [](const auto& field) { return StripAtNull(field.get()); };
        out << i << ". " << shown(r.Name) << (IsTrue(r.Active) ? "" : "  (inactive)") << '\n';
        QStringList criteria;
        if (IsTrue(r.CheckSender)) criteria << QStringLiteral("sender %1").arg(shown(r.Sender));
        if (IsTrue(r.CheckRecp)) criteria << QStringLiteral("recipient %1").arg(shown(r.Recipient));
        if (IsTrue(r.CheckSubj))
            criteria << QStringLiteral("subject contains \"%1\"").arg(shown(r.Subject));
        if (IsTrue(r.CheckFileFormat))
            criteria << QStringLiteral("format %1").arg(shown(r.FileFormat));
        out << "   matches: "
            << (criteria.isEmpty() ? QStringLiteral("every mail")
                                   : criteria.join(QStringLiteral(", ")))
            << '\n';
        out << "   saves:   " << SaveByText(r) << ", under " << shown(r.Folder)
            << ", on a conflict: " << ConflictText(r) << '\n';
        QStringList actions;
        if (IsTrue(r.DelAttach)) actions << QStringLiteral("remove attachments");
        if (IsTrue(r.Hyperlink)) actions << QStringLiteral("write links");
        if (IsTrue(r.Notify)) actions << QStringLiteral("notify");
        if (HasApplication(r)) actions << QStringLiteral("run %1").arg(shown(r.Execute));
        if (!actions.isEmpty()) out << "   then:    " << actions.join(QStringLiteral(", ")) << '\n';
    }
}

// A record of a table by its number or its name; 0 after an error line.
int PickRecord(const QString& text, int count, const std::function<int(const QString&)>& byName,
               const char* what, CliContext& ctx) {
    bool isNumber = false;
    const int n = text.toInt(&isNumber);
    const int index = isNumber ? (n >= 1 && n <= count ? n : 0) : byName(text);
    if (index == 0)
        ctx.err << "stowaway: no " << what << " '" << text << "' (see stowaway " << what << "s)\n";
    return index;
}

// A folder typed on the command line: "~" is the home folder, a relative one is taken from the
// caller's folder.
QString TypedFolder(const QString& typed) {
    const QString text = ExpandHome(typed);
    if (text.isEmpty() || text.startsWith(QLatin1Char('/'))) return text;
    return QDir::cleanPath(QDir::current().absoluteFilePath(text));
}

int Refusal(const EditResult& result, CliContext& ctx) {
    ctx.err << "stowaway: " << result.message << '\n';
    return 2;
}

void NoteRule(const udtRule& rule, CliContext& ctx) {
    if (const QString problem = RuleTargetProblem(rule); !problem.isEmpty())
        ctx.err << "stowaway: note: " << problem << " (see stowaway projects)\n";
}

bool ArgCount(const QStringList& args, int wanted, const char* usage, CliContext& ctx) {
    if (args.size() == wanted) return true;
    ctx.err << "stowaway: usage: stowaway " << usage << '\n';
    return false;
}

int RuleSet(const QStringList& args, CliContext& ctx) {
    if (!ArgCount(args, 3, "rule set RULE FIELD VALUE", ctx)) return 2;
    const int index = PickRule(args.at(0), ctx);
    if (index == 0) return 2;
    const std::optional<RuleField> field = FindRuleField(args.at(1));
    if (!field) {
        QStringList names;
        for (const RuleField f : AllRuleFields())
            names << RuleFieldName(f);
        ctx.err << "stowaway: a rule has no field '" << args.at(1) << "'; the fields are "
                << names.join(QStringLiteral(", ")) << '\n';
        return 2;
    }
    const udtRule before = Rules[index];
    QString value = args.at(2);
    if (field == RuleField::Folder && before.SaveBy != SaveBy::Project) value = TypedFolder(value);
    const EditResult result = SetRuleField(index, *field, value);
    if (!result.ok()) {
        ctx.err << "stowaway: " << result.message << "; rule '" << before.Name.get()
                << "' is unchanged\n";
        return 2;
    }
    const udtRule& after = Rules[index];
    for (const RuleField f : AllRuleFields())
        if (RuleFieldValue(before, f) != RuleFieldValue(after, f) || f == *field)
            ctx.out << after.Name.get() << ": " << RuleFieldName(f) << '='
                    << RuleFieldText(after, f) << '\n';
    NoteRule(after, ctx);
    return 0;
}

int RuleMove(const QStringList& args, CliContext& ctx) {
    if (!ArgCount(args, 2, "rule move RULE up|down", ctx)) return 2;
    const QString way = args.at(1).toLower();
    if (way != QLatin1String("up") && way != QLatin1String("down")) {
        ctx.err << "stowaway: a rule moves up or down, not '" << args.at(1) << "'\n";
        return 2;
    }
    const int index = PickRule(args.at(0), ctx);
    if (index == 0) return 2;
    const EditResult result = MoveRule(index, way == QLatin1String("up") ? -1 : 1);
    if (!result.ok()) return Refusal(result, ctx);
    ctx.out << "Moved rule '" << Rules[result.index].Name.get() << "' " << way << " to "
            << result.index << '\n';
    return 0;
}

int RulesImport(const QString& path, CliContext& ctx) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ctx.err << "stowaway: cannot read " << path << ": " << file.errorString() << '\n';
        return 1;
    }
    std::vector<udtRule> rules;
    if (const QString problem = RulesFromJson(file.readAll(), rules); !problem.isEmpty()) {
        ctx.err << "stowaway: " << path << ": " << problem << "; nothing was imported\n";
        return 2;
    }
    ReplaceRules(rules);
    ctx.out << "Imported " << rules.size() << " rule(s) from " << path << '\n';
    for (const udtRule& rule : rules)
        NoteRule(rule, ctx);
    return 0;
}
} // namespace

int PickRule(const QString& text, CliContext& ctx) {
    return PickRecord(text, Rules.count(), FindRuleByName, "rule", ctx);
}

int CmdRules(const CliOptions& opts, CliContext& ctx) {
    const QStringList& args = opts.args;
    if (args.isEmpty()) {
        ListRules(ctx.out);
        return 0;
    }
    if (args == QStringList{QStringLiteral("--json")}) {
        ctx.out << QString::fromUtf8(RulesToJson());
        return 0;
    }
    if (args.size() == 2 && args.at(0) == QLatin1String("import"))
        return RulesImport(args.at(1), ctx);
    ctx.err << "stowaway: usage: stowaway rules [--json | import FILE.json]\n";
    return 2;
}

int CmdRule(const CliOptions& opts, CliContext& ctx) {
    const QString sub = opts.args.value(0);
    const QStringList args = opts.args.mid(1);
    if (sub == QLatin1String("add")) {
        if (!ArgCount(args, 1, "rule add NAME", ctx)) return 2;
        const EditResult result = AddRule(args.at(0));
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << "Added rule " << result.index << ": " << Rules[result.index].Name.get()
                << ", saving by date under " << Rules[result.index].Folder.get() << '\n';
        return 0;
    }
    if (sub == QLatin1String("set")) return RuleSet(args, ctx);
    if (sub == QLatin1String("rename")) {
        if (!ArgCount(args, 2, "rule rename RULE NAME", ctx)) return 2;
        const int index = PickRule(args.at(0), ctx);
        if (index == 0) return 2;
        const EditResult result = RenameRule(index, args.at(1));
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << "Renamed rule " << index << " to " << Rules[index].Name.get() << '\n';
        return 0;
    }
    if (sub == QLatin1String("remove")) {
        if (!ArgCount(args, 1, "rule remove RULE", ctx)) return 2;
        const int index = PickRule(args.at(0), ctx);
        if (index == 0) return 2;
        const QString name = Rules[index].Name.get();
        RemoveRule(index);
        ctx.out << "Removed rule " << index << ": " << name << '\n';
        return 0;
    }
    if (sub == QLatin1String("move")) return RuleMove(args, ctx);
    ctx.err << "stowaway: usage: stowaway rule add|set|rename|remove|move ... (see stowaway "
               "--help)\n";
    return 2;
}

int CmdProjects(const CliOptions&, CliContext& ctx) {
    if (Projects.count() == 0) ctx.out << "No projects.\n";
    for (int i = 1; i <= Projects.count(); ++i) {
        ctx.out << i << ". " << Projects[i].Name.get() << "  ->  " << Projects[i].Folder.get();
        if (const size_t used = RulesUsingProject(i).size())
            ctx.out << "  (used by " << used << " rule(s))";
        ctx.out << '\n';
    }
    return 0;
}

int CmdProject(const CliOptions& opts, CliContext& ctx) {
    const QString sub = opts.args.value(0);
    const QStringList args = opts.args.mid(1);
    const auto pick = [&](const QString& text) {
        return PickRecord(text, Projects.count(), FindProject, "project", ctx);
    };
    if (sub == QLatin1String("add")) {
        if (!ArgCount(args, 2, "project add NAME FOLDER", ctx)) return 2;
        const EditResult result = AddProject(args.at(0), TypedFolder(args.at(1)));
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << "Added project " << result.index << ": " << Projects[result.index].Name.get()
                << "  ->  " << Projects[result.index].Folder.get() << '\n';
        return 0;
    }
    if (sub == QLatin1String("folder")) {
        if (!ArgCount(args, 2, "project folder PROJECT FOLDER", ctx)) return 2;
        const int index = pick(args.at(0));
        if (index == 0) return 2;
        const EditResult result = SetProjectFolder(index, TypedFolder(args.at(1)));
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << Projects[index].Name.get() << "  ->  " << Projects[index].Folder.get() << '\n';
        return 0;
    }
    if (sub == QLatin1String("rename")) {
        if (!ArgCount(args, 2, "project rename PROJECT NAME", ctx)) return 2;
        const int index = pick(args.at(0));
        if (index == 0) return 2;
        const std::vector<int> users = RulesUsingProject(index);
        const EditResult result = RenameProject(index, args.at(1));
        if (!result.ok()) return Refusal(result, ctx);
        ctx.out << "Renamed project " << index << " to " << Projects[index].Name.get() << '\n';
        for (const int rule : users)
            NoteRule(Rules[rule], ctx);
        return 0;
    }
    if (sub == QLatin1String("remove")) {
        if (!ArgCount(args, 1, "project remove PROJECT", ctx)) return 2;
        const int index = pick(args.at(0));
        if (index == 0) return 2;
        const QString name = Projects[index].Name.get();
        const std::vector<int> users = RulesUsingProject(index);
        if (!users.empty()) {
            QStringList names;
            for (const int rule : users)
                names << QLatin1Char('\'') + Rules[rule].Name.get() + QLatin1Char('\'');
            const QString question =
                QStringLiteral("Project '%1' is used by rule %2, which then saves nothing. "
                               "Delete project '%1'?")
                    .arg(name, names.join(QStringLiteral(", ")));
            if (ui().messageBox(question, MsgButtons::YesNo, MsgIcon::Question, gAppCaption) !=
                MsgAnswer::Yes) {
                ctx.err << "stowaway: project '" << name << "' is kept\n";
                return 1;
            }
        }
        RemoveProject(index);
        ctx.out << "Removed project " << index << ": " << name << '\n';
        for (const int rule : users)
            NoteRule(Rules[rule], ctx);
        return 0;
    }
    ctx.err << "stowaway: usage: stowaway project add|folder|rename|remove ... (see stowaway "
               "--help)\n";
    return 2;
}
