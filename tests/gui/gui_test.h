#pragma once
// Every GUI test binary: a private home, a QApplication on the platform that ctest sets
// (offscreen), the widgets the tests reach, and helpers to answer the modal windows the code
// under test opens.
#include "data/defaults.h"
#include "dialogs/options/frm_stowaway.h"
#include "fakes/engine_fixture.h"
#include "support/builders.h"
#include "support/test_env.h"

#include <QAbstractButton>
#include <QAbstractItemModel>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QLocale>
#include <QMenu>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

#include <functional>
#include <initializer_list>
#include <memory>

using namespace Qt::StringLiterals;

#define STOWAWAY_GUI_TEST_MAIN(TestClass)                                                          \
    int main(int argc, char** argv) {                                                              \
        TestEnv::setUpProcessHome();                                                               \
        QApplication app(argc, argv);                                                              \
        TestClass test;                                                                            \
        return QTest::qExec(&test, argc, argv);                                                    \
    }

// Once a widget of type W is the active modal window (or popup), runs `act` on it.
template <class W> void WhenShown(std::function<void(W*)> act, bool popup = false) {
    auto* timer = new QTimer;
    auto* clock = new QElapsedTimer;
    clock->start();
    QObject::connect(timer, &QTimer::timeout, [timer, clock, act, popup] {
        QWidget* shown =
            popup ? QApplication::activePopupWidget() : QApplication::activeModalWidget();
        W* w = qobject_cast<W*>(shown);
        if (!w && clock->elapsed() < 5000) return;
        timer->stop();
        timer->deleteLater();
        delete clock;
        if (w) act(w);
    });
    timer->start(10);
}

// The control of that objectName below `root`; a missing one ends the test binary.
template <class W = QWidget> W* Child(QObject* root, const QString& name) {
    W* w = root->findChild<W*>(name);
    if (!w) qFatal("no control %s", qPrintable(name));
    return w;
}

// A data-driven test's table as structs, one line a row: each row's `name` names it, and the
// test takes it with QFETCH(Type, row).
template <class Row> void Rows(std::initializer_list<Row> rows) {
    QTest::addColumn<Row>("row");
    for (const Row& r : rows)
        QTest::newRow(r.name) << r;
}

// The fixture of the GUI tests: a fresh home and a scripted user before each test, and the
// options dialog built, loaded and on one of its tabs, in a language chosen (-1: as the
// settings say).
class GuiTest : public QObject {
    Q_OBJECT
  protected slots:
    void init() {
        TestEnv::resetAll();
        m_user = ScriptedUserInteraction();
        SetUserInteraction(&m_user);
    }
    void cleanup() {
        m_form.reset();
        SetMailSession(nullptr);
        SetUserInteraction(nullptr);
    }

  protected:
    frmStowaway& open(int lang = -1, int tab = 0) {
        if (lang >= 0) {
            SaveSetting(QStringLiteral("CurrLang"), QString::number(lang));
            CurrLang = static_cast<uint8_t>(lang);
        }
        m_form = std::make_unique<frmStowaway>();
        m_form->Form_Load();
        m_form->showTab(tab);
        return *m_form;
    }
    // The control of that name on the open dialog.
    template <class W = QWidget> W* ctl(const QString& name) {
        return Child<W>(m_form.get(), name);
    }

    ScriptedUserInteraction m_user;
    std::unique_ptr<frmStowaway> m_form;
};

// The rows of a view: the columns (all, or those named) joined by "|", a tree's nodes indented
// by two blanks a level.
inline QStringList Lines(const QAbstractItemModel* model, const QList<int>& columns = {},
                         const QModelIndex& parent = {}, int depth = 0) {
    QStringList lines;
    for (int r = 0; r < model->rowCount(parent); ++r) {
        QStringList cells;
        for (int c = 0; c < model->columnCount(parent); ++c)
            if (columns.isEmpty() || columns.contains(c))
                cells << model->index(r, c, parent).data().toString();
        lines << QString(depth * 2, u' ') + cells.join(u'|');
        lines << Lines(model, columns, model->index(r, 0, parent), depth + 1);
    }
    return lines;
}
// A view's column headings joined by "|".
inline QString Headers(const QAbstractItemModel* model) {
    QStringList texts;
    for (int c = 0; c < model->columnCount(); ++c)
        texts << model->headerData(c, Qt::Horizontal).toString();
    return texts.join(u'|');
}

// The texts of a list or a combo box's items, or of one column of a model, top to bottom.
inline QStringList Texts(const QAbstractItemModel* model, int column = 0) {
    QStringList out;
    for (int r = 0; r < model->rowCount(); ++r)
        out << model->index(r, column).data().toString();
    return out;
}
inline QStringList Texts(const QComboBox* box) {
    return Texts(box->model(), box->modelColumn());
}
inline QStringList Texts(const QListWidget* list) {
    return Texts(list->model());
}

// The prompt of the last question or message the scripted user was shown (of one kind), ""
// for none.
inline QString LastPrompt(const ScriptedUserInteraction& user) {
    return user.questions().empty() ? QString() : user.questions().back().prompt;
}
inline QString LastPrompt(const ScriptedUserInteraction& user, AskedQuestion::Kind kind) {
    const std::vector<AskedQuestion> asked = user.questions(kind);
    return asked.empty() ? QString() : asked.back().prompt;
}
