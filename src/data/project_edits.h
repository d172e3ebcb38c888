#pragma once
// Every edit of the project table: adding, renaming, removing, and setting a project's folder.
// Each sets Projects.changed; a refused edit changes nothing. Rules that name a project are
// never changed here: after a rename or a removal they point at nothing until edited.
#include "data/edits.h"

#include <QString>
#include <vector>

// The project of that name (trimmed, case ignored, as the engine looks it up); 0 if none.
int FindProject(const QString& name);
// A new last project. Refused for an empty name, one that a project has, and a folder that
// is empty or not an absolute path.
EditResult AddProject(const QString& name, const QString& folder,
                      Overlong overlong = Overlong::Refuse);
// A project of the same name elsewhere in the table is allowed here.
EditResult RenameProject(int index, const QString& name, Overlong overlong = Overlong::Refuse);
EditResult SetProjectFolder(int index, const QString& folder, Overlong overlong = Overlong::Refuse);
void RemoveProject(int index);
// The rules that save into project `index` (1-based rule indices).
std::vector<int> RulesUsingProject(int index);
