#pragma once
// A control as the forms build them: its objectName is the control's name, and its "Tag"
// carries the bilingual captions that TranslateForm writes.
#include "dialogs/translate.h"

#include <QString>

template <class W> W* Named(QWidget* parent, const QString& name, const QString& tag = {}) {
    auto* w = new W(parent);
    w->setObjectName(name);
    if (!tag.isEmpty()) SetTag(w, tag);
    return w;
}
