// TranslateForm over a form that holds every kind of Tag of the grammar.
#include "gui_test.h"

#include "dialogs/translate.h"

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
    form->setObjectName(u"frmTest"_s);
    form->setWindowTitle(u"design"_s);
    SetTag(form.get(), u"Projekte:|Projects:"_s);
    if (!badTag.isEmpty()) Add<QLabel>(form.get(), u"lblBad"_s, badTag, u"bad"_s);
    Add<QPushButton>(form.get(), u"btnFull"_s,
                     u"Schließen|Zurück zu Outlook...|Close|Return to Outlook..."_s);
    Add<QPushButton>(form.get(), u"btnNoTip"_s, u"Schließen||Close|"_s)->setToolTip(u"designed"_s);
    Add<QPushButton>(form.get(), u"btnTipOnly"_s, u"|Ordner wählen...||Choose folder..."_s, u"X"_s);
    Add<QLineEdit>(form.get(), u"txtTipOnly"_s, u"|Ordner wählen...||Choose folder..."_s,
                   u"typed"_s);
    Add<QLabel>(form.get(), u"lblBang"_s, u"!"_s, u"bang"_s);
    Add<QLabel>(form.get(), u"lblOther"_s, u"other use"_s, u"other"_s);
    Add<QLabel>(form.get(), u"lblFit"_s, u"~Breite Beschriftung||~Wide caption|"_s);
    auto* tabs = Add<QTabWidget>(form.get(), u"regTabs"_s, u"Eins|Zwei|Tab 3|One|Two|Tab 3"_s);
    tabs->addTab(new QWidget, u"a"_s);
    tabs->addTab(new QWidget, u"b"_s);
    tabs->addTab(new QWidget, u"c"_s);
    QPixmap picture(8, 8);
    picture.fill(Qt::red);
    tabs->setTabIcon(1, QIcon(picture));
    auto* short_tabs = Add<QTabWidget>(form.get(), u"regShort"_s, u"Eins|One"_s);
    short_tabs->addTab(new QWidget, u"a"_s);
    short_tabs->addTab(new QWidget, u"b"_s);
    auto* view =
        Add<QTreeWidget>(form.get(), u"lvFiles"_s, u"Dateiname|Datum|Größe|Filename|Date|Size"_s);
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
        return texts.join(u',');
    }
    if (auto* v = qobject_cast<QTreeWidget*>(w)) {
        QStringList texts;
        for (int i = 0; i < v->columnCount(); ++i)
            texts << v->headerItem()->text(i);
        return texts.join(u',');
    }
    return form->windowTitle();
}
} // namespace

class TestTranslateForm : public GuiTest {
    Q_OBJECT
  private slots:
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
        CurrLang = static_cast<uint8_t>(language);
        LangChanged = true;
        auto form = MakeForm(QString());
        TranslateForm(form.get());
        QCOMPARE(TextOf(form.get(), control), text);
        if (control != u"frmTest"_s)
            QCOMPARE(form->findChild<QWidget*>(control)->toolTip(), toolTip);
        QVERIFY(m_user.questions().empty());
        QVERIFY(!LangChanged);
    }

    void fittedWidth() {
        auto form = MakeForm(QString());
        TranslateForm(form.get());
        auto* label = form->findChild<QLabel*>(u"lblFit"_s);
        QCOMPARE(label->width(), label->fontMetrics().horizontalAdvance(label->text()) + 20);
    }

    void malformedTag_data() {
        QTest::addColumn<QString>("tag");
        QTest::newRow("3 fields") << "a|b|c";
        QTest::newRow("5 fields") << "a|b|c|d|e";
    }
    void malformedTag() {
        QFETCH(QString, tag);
        DoProto = false;
        CurrLang = 1;
        auto form = MakeForm(tag);
        TranslateForm(form.get());
        QCOMPARE(m_user.beeps(), 1);
        QCOMPARE(int(m_user.questions().size()), 1);
        const AskedQuestion& box = m_user.questions().front();
        QCOMPARE(box.icon, 16);
        QVERIFY(
            box.prompt.startsWith(u"Please check translation settings: (F: frmTest, C: lblBad)"_s));
        const QStringList log = LogLinesWithoutStamps();
        QCOMPARE(log.filter(u"Please check translation settings: (F: frmTest, C: lblBad)"_s).size(),
                 1);
        QVERIFY(!DoProto);
        // The walk goes on after the bad control.
        QCOMPARE(TextOf(form.get(), u"btnFull"_s), u"Close"_s);
        QCOMPARE(TextOf(form.get(), u"lblBad"_s), u"bad"_s);
    }
};

STOWAWAY_GUI_TEST_MAIN(TestTranslateForm)
#include "test_translate_form.moc"
