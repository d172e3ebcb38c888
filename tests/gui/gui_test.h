#pragma once
// Every GUI test binary: a private home, a QApplication on the platform that ctest sets
// (offscreen), and helpers to answer the modal windows the code under test opens.
#include "data/defaults.h"
#include "fakes/engine_fixture.h"
#include "support/test_env.h"

#include <QAbstractItemModel>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QListWidget>
#include <QTest>
#include <QTimer>

#include <functional>
#include <initializer_list>

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

// Row builders: an active rule saving by `saveBy` into `folder` (a project's name for
// SaveBy::Project); a watched-folder record of a store folder; a project.
inline udtRule MakeRule(const QString& name, int16_t saveBy, const QString& folder,
                        uint8_t fileExists = FileExists::Ask) {
    udtRule rule;
    rule.Active = vbTrue;
    rule.Name = name;
    rule.SaveBy = saveBy;
    rule.Folder = folder;
    rule.FileExists = fileExists;
    return rule;
}
template <class Folder> udtWatchFolder WatchOf(const Folder& folder, bool active = true) {
    udtWatchFolder wf;
    wf.Active = ToVb(active);
    wf.Name = folder->Name().value;
    wf.EntryID = folder->EntryID().value;
    wf.StoreID = folder->StoreID().value;
    return wf;
}
inline udtProject MakeProject(const QString& name, const QString& folder) {
    udtProject project;
    project.Name = name;
    project.Folder = folder;
    return project;
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
