#pragma once
// Icons from the desktop's icon theme, by the first of several names that the theme has.
#include <QIcon>

#include <initializer_list>

// The first name the theme knows, also in its "-symbolic" form; an empty icon when none.
QIcon ThemeIcon(std::initializer_list<const char*> names);
// The program's own icon: from the theme, else the one installed beside the program.
QIcon ProgramIcon();
// Lets the theme find the icons installed beside the program, with a fallback theme for a
// desktop that names none.
void SetUpIconTheme();
