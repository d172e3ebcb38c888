#include "dialogs/common/popup_dropdown.h"

#include <QAction>
#include <QCursor>
#include <QMenu>
#include <QWidget>

void FillPopupDropdown(QMenu& menu, const QStringList& items, const QList<QIcon>& pictures) {
    int id = 0;
    for (qsizetype i = 0; i < items.size(); ++i) {
        const QString& entry = items.at(i);
        if (entry == QLatin1String("=")) {
            menu.addSeparator();
            continue;
        }
        QString text = entry;
        bool greyed = false;
        bool ticked = false;
        if (entry.startsWith(QLatin1Char('>'))) {
            // Qt menus have no column break; the bar before the column stays.
            menu.addSeparator();
            text = entry.mid(1);
        } else if (entry.startsWith(QLatin1Char('~'))) {
            greyed = true;
            text = entry.mid(1);
        } else if (entry.startsWith(QLatin1Char('+'))) {
            ticked = true;
            text = entry.mid(1);
        }
        QAction* action = menu.addAction(text);
        action->setData(++id);
        action->setEnabled(!greyed);
        if (ticked) {
            action->setCheckable(true);
            action->setChecked(true);
        }
        if (i < pictures.size() && !pictures.at(i).isNull()) action->setIcon(pictures.at(i));
    }
}

int ShowPopupDropdown(const QStringList& items, const QList<QIcon>& pictures, QWidget* anchor) {
    if (items.isEmpty()) return 0;
    QMenu menu(anchor);
    menu.setObjectName(QStringLiteral("mnuPopupDropdown"));
    FillPopupDropdown(menu, items, pictures);
    const QPoint at = anchor ? anchor->mapToGlobal(anchor->rect().bottomLeft()) : QCursor::pos();
    const QAction* chosen = menu.exec(at);
    return chosen && chosen->isEnabled() ? chosen->data().toInt() : 0;
}
