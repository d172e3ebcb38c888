#pragma once
// The product menu: the family entry "Quillworks" > the product's entry > the options button
// and the popup of the rules' target folders. The tray shows it as its context menu.
#include <QString>

#include <functional>

class QAction;
class QMenu;

// Reads and sets the "Tag" of a menu entry.
QString ActionTag(const QAction* action);

// Fills `menu` from the rules and projects in memory (built once at start, as the rules stand
// then), then "Beenden" / "Quit". The options button calls `onOptions`, "Quit" `onQuit`.
void BuildProductMenu(QMenu& menu, const std::function<void()>& onOptions,
                      const std::function<void()>& onQuit);

// A folder button's click: a beep unless the tag starts with "QWKSWDir" and the caption is a
// folder, else the folder opens in the file manager.
void OpenRuleFolder(const QString& tag, const QString& caption);
