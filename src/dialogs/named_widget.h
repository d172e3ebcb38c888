#pragma once
// A control as the forms build them: its objectName is the control's name, and its "Tag"
// carries the bilingual captions that TranslateForm writes.
#include "dialogs/translate.h"

#include <QIcon>
#include <QString>
#include <QToolButton>

template <class W> W* Named(QWidget* parent, const QString& name, const QString& tag = {}) {
    auto* w = new W(parent);
    w->setObjectName(name);
    if (!tag.isEmpty()) SetTag(w, tag);
    return w;
}

// A flat button that shows only its picture; the Tag gives it a tooltip where it has one.
inline QToolButton* PictureButton(QWidget* parent, const QString& name, const QIcon& icon,
                                  const QString& tag = {}) {
    auto* b = Named<QToolButton>(parent, name, tag);
    b->setIcon(icon);
    b->setAutoRaise(true);
    return b;
}
