#include "data/project_edits.h"

#include "data/globals.h"

namespace {
EditResult CheckName(const QString& name, Overlong overlong) {
    if (name.trimmed().isEmpty())
        return Refused(EditRefusal::Empty, QStringLiteral("a project's name can't be empty"));
    return CheckFieldText(QStringLiteral("a project's name"), name,
                          decltype(udtProject::Name)::Length, overlong);
}

EditResult CheckFolder(const QString& folder, Overlong overlong) {
    return CheckFolderText(QStringLiteral("a project's folder"), folder,
                           decltype(udtProject::Folder)::Length, overlong);
}
} // namespace

int FindProject(const QString& name) {
    return FindByName(Projects, name);
}

EditResult AddProject(const QString& name, const QString& folder, Overlong overlong) {
    if (EditResult refused = CheckName(name, overlong); !refused.ok()) return refused;
    if (EditResult refused = CheckFolder(folder, overlong); !refused.ok()) return refused;
    if (const int existing = FindProject(name))
        return Refused(EditRefusal::Duplicate,
                       QStringLiteral("a project '%1' exists already").arg(name.trimmed()),
                       existing);
    udtProject project;
    project.Name = name;
    project.Folder = folder;
    return AppendRecord(Projects, project, "projects");
}

EditResult RenameProject(int index, const QString& name, Overlong overlong) {
    if (EditResult refused = CheckName(name, overlong); !refused.ok()) return refused;
    Projects[static_cast<size_t>(index)].Name = name;
    Projects.changed = true;
    return {EditRefusal::None, {}, index};
}

EditResult SetProjectFolder(int index, const QString& folder, Overlong overlong) {
    if (EditResult refused = CheckFolder(folder, overlong); !refused.ok()) return refused;
    Projects[static_cast<size_t>(index)].Folder = folder;
    Projects.changed = true;
    return {EditRefusal::None, {}, index};
}

void RemoveProject(int index) {
    Projects.remove(index);
    Projects.changed = true;
}

std::vector<int> RulesUsingProject(int index) {
    std::vector<int> rules;
    const QString name = Projects[static_cast<size_t>(index)].Name.get();
    for (int i = 1; i <= Rules.count(); ++i) {
        const udtRule& r = Rules[static_cast<size_t>(i)];
        if (r.SaveBy == SaveBy::Project && r.Folder.get().compare(name, Qt::CaseInsensitive) == 0)
            rules.push_back(i);
    }
    return rules;
}
