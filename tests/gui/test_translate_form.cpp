// TranslateForm over a form that holds every kind of Tag of the grammar.
#include "gui_test.h"

#include "dialogs/translate.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTabWidget>
#include <QTreeWidget>

namespace {
template <class W>
W* Add(QWidget* form, const QString& name, const QString& tag, const QString& text = {}) {
    auto* w = new W(form);
    w->setObjectName(name);
    SetTag(w, tag);
    if constexpr (std::is_same_v<W, QLabel> || std::is_same_v<W, QPushButton> ||
                  std::is_same_v<W, QLineEdit>)
        w->setText(text);
    return w;
}

// A form whose controls carry every case of the grammar; `badTag` (if any) sits on a label
// created before the others.
std::unique_ptr<QWidget> MakeForm(const QString& badTag) {
    auto form = std::make_unique<QWidget>();
    form->setObjectName(QStringLiteral("frmTest"));
    form->setWindowTitle(QStringLiteral("design"));
    SetTag(form.get(), QStringLiteral("Projekte:|Projects:"));
    if (!badTag.isEmpty())
        Add<QLabel>(form.get(), QStringLiteral("lblBad"), badTag, QStringLiteral("bad"));
    Add<QPushButton>(form.get(), QStringLiteral("btnFull"),
                     QStringLiteral("Schließen|Zurück zu Outlook...|Close|Return to Outlook..."));
    Add<QPushButton>(form.get(), QStringLiteral("btnNoTip"), QStringLiteral("Schließen||Close|"))
        ->setToolTip(QStringLiteral("designed"));
    Add<QPushButton>(form.get(), QStringLiteral("btnTipOnly"),
                     QStringLiteral("|Ordner wählen...||Choose folder..."), QStringLiteral("X"));
    Add<QLineEdit>(form.get(), QStringLiteral("txtTipOnly"),
                   QStringLiteral("|Ordner wählen...||Choose folder..."), QStringLiteral("typed"));
    Add<QLabel>(form.get(), QStringLiteral("lblBang"), QStringLiteral("!"), QStringLiteral("bang"));
    Add<QLabel>(form.get(), QStringLiteral("lblOther"), QStringLiteral("other use"),
                QStringLiteral("other"));
    Add<QLabel>(form.get(), QStringLiteral("lblFit"),
                QStringLiteral("~Breite Beschriftung||~Wide caption|"));
    auto* tabs = Add<QTabWidget>(form.get(), QStringLiteral("regTabs"),
                                 QStringLiteral("Eins|Zwei|Tab 3|One|Two|Tab 3"));
    tabs->addTab(new QWidget, QStringLiteral("a"));
    tabs->addTab(new QWidget, QStringLiteral("b"));
    tabs->addTab(new QWidget, QStringLiteral("c"));
    QPixmap picture(8, 8);
    picture.fill(Qt::red);
    tabs->setTabIcon(1, QIcon(picture));
    auto* short_tabs =
        Add<QTabWidget>(form.get(), QStringLiteral("regShort"), QStringLiteral("Eins|One"));
    short_tabs->addTab(new QWidget, QStringLiteral("a"));
    short_tabs->addTab(new QWidget, QStringLiteral("b"));
    auto* view = Add<QTreeWidget>(form.get(), QStringLiteral("lvFiles"),
                                  QStringLiteral("Dateiname|Datum|Größe|Filename|Date|Size"));
    view->setColumnCount(3);
    return form;
}

QString TextOf(QWidget* form, const QString& name) {
    QWidget* w = form->findChild<QWidget*>(name);
    if (auto* l = qobject_cast<QLabel*>(w)) return l->text();
    if (auto* b = qobject_cast<QPushButton*>(w)) return b->text();
    if (auto* e = qobject_cast<QLineEdit*>(w)) return e->text();
    if (auto* t = qobject_cast<QTabWidget*>(w)) {
        QStringList texts;
        for (int i = 0; i < t->count(); ++i)
            texts << t->tabText(i);
        return texts.join(QLatin1Char(','));
    }
    if (auto* v = qobject_cast<QTreeWidget*>(w)) {
        QStringList texts;
        for (int i = 0; i < v->columnCount(); ++i)
            texts << v->headerItem()->text(i);
        return texts.join(QLatin1Char(','));
    }
    return form->windowTitle();
}
} // namespace

class TestTranslateForm : public QObject {
    Q_OBJECT
  private slots:
    void init() { TestEnv::resetAll(); }

    void texts_data() {
        QTest::addColumn<int>("language");
        QTest::addColumn<QString>("control");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTip");
        auto row = [](const char* name, int lang, const char* control, const char* text,
                      const char* tip) {
            QTest::newRow(name) << lang << QString::fromUtf8(control) << QString::fromUtf8(text)
                                << QString::fromUtf8(tip);
        };
        row("form caption, German", 0, "frmTest", " Projekte:", "");
        row("form caption, English", 1, "frmTest", " Projects:", "");
        row("caption and tooltip", 0, "btnFull", "Schließen", " Zurück zu Outlook...");
        row("caption and tooltip, English", 1, "btnFull", "Close", " Return to Outlook...");
        row("empty tooltip keeps the designed one", 1, "btnNoTip", "Close", "designed");
        row("tooltip only blanks a button's caption", 1, "btnTipOnly", "", " Choose folder...");
        row("tooltip only leaves a text box's text", 1, "txtTipOnly", "typed", " Choose folder...");
        row("bang is left alone", 1, "lblBang", "bang", "");
        row("text without bar is left alone", 1, "lblOther", "other", "");
        row("fitted caption loses its mark", 1, "lblFit", "Wide caption", "");
        row("tabs, picture gets two blanks", 0, "regTabs", "Eins,  Zwei,Tab 3", "");
        row("tabs, English", 1, "regTabs", "One,  Two,Tab 3", "");
        row("tabs with too few fields keep the rest", 1, "regShort", "a,b", "");
        row("columns, English", 1, "lvFiles", "Filename,Date,Size", "");
        row("language past English keeps the design", 2, "btnFull", "", "");
    }
    void texts() {
        QFETCH(int, language);
        QFETCH(QString, control);
        QFETCH(QString, text);
        QFETCH(QString, toolTip);
        ScriptedUserInteraction user;
        SetUserInteraction(&user);
        CurrLang = static_cast<uint8_t>(language);
        LangChanged = true;
        auto form = MakeForm(QString());
        TranslateForm(form.get());
        QCOMPARE(TextOf(form.get(), control), text);
        if (control != QLatin1String("frmTest"))
            QCOMPARE(form->findChild<QWidget*>(control)->toolTip(), toolTip);
        QVERIFY(user.questions().empty());
        QVERIFY(!LangChanged);
    }

    void fittedWidth() {
        auto form = MakeForm(QString());
        TranslateForm(form.get());
        auto* label = form->findChild<QLabel*>(QStringLiteral("lblFit"));
        QCOMPARE(label->width(), label->fontMetrics().horizontalAdvance(label->text()) + 20);
    }

    void malformedTag_data() {
        QTest::addColumn<QString>("tag");
        QTest::newRow("3 fields") << "a|b|c";
        QTest::newRow("5 fields") << "a|b|c|d|e";
    }
    void malformedTag() {
        QFETCH(QString, tag);
        ScriptedUserInteraction user;
        SetUserInteraction(&user);
        DoProto = false;
        CurrLang = 1;
        auto form = MakeForm(tag);
        TranslateForm(form.get());
        QCOMPARE(user.beeps(), 1);
        QCOMPARE(int(user.questions().size()), 1);
        const AskedQuestion& box = user.questions().front();
        QCOMPARE(box.icon, 16);
        QVERIFY(box.prompt.startsWith(
            QStringLiteral("Please check translation settings: (F: frmTest, C: lblBad)")));
        const QStringList log = LogLinesWithoutStamps();
        QCOMPARE(
            log.filter(QStringLiteral("Please check translation settings: (F: frmTest, C: lblBad)"))
                .size(),
            1);
        QVERIFY(!DoProto);
        // The walk goes on after the bad control.
        QCOMPARE(TextOf(form.get(), QStringLiteral("btnFull")), QStringLiteral("Close"));
        QCOMPARE(TextOf(form.get(), QStringLiteral("lblBad")), QStringLiteral("bad"));
    }
};

STOWAWAY_GUI_TEST_MAIN(TestTranslateForm)
#include "test_translate_form.moc"
