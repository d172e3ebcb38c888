#pragma once
// A small menu under a button. Entries may begin with a mark that is not shown: "=" (the whole
// entry) a separator, ">" a new column (shown as a separator line), "~" greyed, "+" ticked.
#include <QIcon>
#include <QList>
#include <QStringList>

class QMenu;
class QWidget;

// Builds the menu; each text entry's action carries its number (from 1) as data.
void FillPopupDropdown(QMenu& menu, const QStringList& items, const QList<QIcon>& pictures = {});
// Shows the menu under `anchor` (at the mouse without one) and returns the chosen entry's
// number, counted from 1 over the entries with text; 0 when nothing was chosen.
int ShowPopupDropdown(const QStringList& items, const QList<QIcon>& pictures = {},
                      QWidget* anchor = nullptr);
