#pragma once
// The bilingual walk: each widget carries both languages in its dynamic property "Tag", and
// TranslateForm writes the texts of CurrLang into the widgets of a form.
#include <QString>

class QObject;
class QWidget;

// Sets the "Tag" property.
void SetTag(QObject* object, const QString& tag);
QString GetTag(const QObject* object);
// Field `index` of the "Tag" split at "|"; empty when it has no such field.
QString TagField(const QObject* object, int index);
// The caption of the current language from a 4-field "Tag" (field 0 or 2).
QString TagCaption(const QObject* object);

// Translates the form's caption and every widget below it, in creation order.
void TranslateForm(QWidget* form);
