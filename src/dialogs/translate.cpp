#include "dialogs/translate.h"

#include "common/folders.h"
#include "common/lang.h"
#include "data/globals.h"
#include "data/log.h"
#include "ui/user_interaction.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QGroupBox>
#include <QLabel>
#include <QTabWidget>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVariant>

namespace {
const char* const kTag = "Tag";
// The width a "~" caption gets beyond its text.
constexpr int kFitMargin = 20;

// Field i of the split tag, or nothing when it has no such field.
bool Field(const QStringList& fields, qsizetype i, QString& out) {
    if (i < 0 || i >= fields.size()) return false;
    out = fields.at(i);
    return true;
}

void TranslateTabs(QTabWidget* tabs, const QStringList& fields) {
    const int n = tabs->count();
    for (int i = 1; i <= n; ++i) {
        QString text;
        if (!Field(fields, qsizetype(n) * CurrLang + i - 1, text)) continue;
        tabs->setTabText(i - 1, tabs->tabIcon(i - 1).isNull() ? text : QStringLiteral("  ") + text);
    }
}

void TranslateColumns(QAbstractItemView* view, const QStringList& fields) {
    QAbstractItemModel* model = view->model();
    auto* tree = qobject_cast<QTreeWidget*>(view);
    auto* table = qobject_cast<QTableWidget*>(view);
    const int n = tree ? tree->columnCount() : model ? model->columnCount() : 0;
    for (int i = 1; i <= n; ++i) {
        QString text;
        if (!Field(fields, qsizetype(n) * CurrLang + i - 1, text)) continue;
        if (tree)
            tree->headerItem()->setText(i - 1, text);
        else if (table && table->horizontalHeaderItem(i - 1))
            table->horizontalHeaderItem(i - 1)->setText(text);
        else if (model)
            model->setHeaderData(i - 1, Qt::Horizontal, text);
    }
}

// Sets the caption of the kinds of widget that have one; false for the others.
bool SetCaption(QWidget* w, const QString& text) {
    if (auto* b = qobject_cast<QAbstractButton*>(w)) {
        b->setText(text);
        return true;
    }
    if (auto* l = qobject_cast<QLabel*>(w)) {
        l->setText(text);
        return true;
    }
    if (auto* g = qobject_cast<QGroupBox*>(w)) {
        g->setTitle(text);
        return true;
    }
    return false;
}

void TranslateControl(QWidget* w, const QStringList& fields) {
    const QString caption = fields.at(2 * CurrLang);
    const bool hasCaption = SetCaption(w, caption);
    const QString tip = fields.at(2 * CurrLang + 1);
    if (!tip.isEmpty()) w->setToolTip(QLatin1Char(' ') + tip);
    if (hasCaption && caption.startsWith(QLatin1Char('~'))) {
        const QString text = caption.mid(1);
        SetCaption(w, text);
        w->setFixedWidth(w->fontMetrics().horizontalAdvance(text) + kFitMargin);
    }
}

void ReportMalformedTag(const QWidget* form, const QWidget* control) {
    const QString message =
        QStringLiteral("Please check translation settings: (F: ") + form->objectName() +
        QStringLiteral(", C: ") + control->objectName() + QStringLiteral(")") +
        QStringLiteral("\r\n\r\nThe Tag of this control needs four fields separated by \"|\": "
                       "German caption, German tooltip, English caption, English tooltip.");
    ui().beep();
    ui().messageBox(message, MsgButtons::OK, MsgIcon::Stop, gAppCaption);
    const bool wasLogging = DoProto;
    DoProto = true;
    WriteLog(message);
    DoProto = wasLogging;
}
} // namespace

void SetTag(QObject* object, const QString& tag) {
    object->setProperty(kTag, tag);
}

QString GetTag(const QObject* object) {
    return object->property(kTag).toString();
}

QString TagField(const QObject* object, int index) {
    QString out;
    Field(GetTag(object).split(QLatin1Char('|')), index, out);
    return out;
}

QString TagCaption(const QObject* object) {
    return TagField(object, IsGerman() ? 0 : 2);
}

void TranslateForm(QWidget* form) {
    form->setCursor(Qt::WaitCursor);
    const QString formTag = GetTag(form);
    if (!formTag.isEmpty()) {
        QString caption;
        if (Field(formTag.split(QLatin1Char('|')), CurrLang, caption))
            form->setWindowTitle(QLatin1Char(' ') + caption);
    }
    const QList<QWidget*> controls = form->findChildren<QWidget*>();
    for (QWidget* w : controls) {
        const QString tag = GetTag(w);
        if (tag.isEmpty() || tag == QLatin1String("!") || !tag.contains(QLatin1Char('|'))) continue;
        const QStringList fields = tag.split(QLatin1Char('|'));
        if (auto* tabs = qobject_cast<QTabWidget*>(w))
            TranslateTabs(tabs, fields);
        else if (auto* view = qobject_cast<QAbstractItemView*>(w))
            TranslateColumns(view, fields);
        else if (fields.size() == 4) {
            // A language above 1 indexes past the fields: the control keeps its texts.
            if (CurrLang <= 1) TranslateControl(w, fields);
        } else
            ReportMalformedTag(form, w);
    }
    form->unsetCursor();
    LangChanged = false;
}
