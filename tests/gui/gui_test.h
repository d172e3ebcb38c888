#pragma once
// Every GUI test binary: a private home, a QApplication on the platform that ctest sets
// (offscreen), and helpers to answer the modal windows the code under test opens.
#include "fakes/engine_fixture.h"
#include "support/test_env.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <functional>

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

// The control of that objectName below `root`; a warning names a missing one.
template <class W> W* Find(QObject* root, const QString& name) {
    W* w = root->findChild<W*>(name);
    if (!w) qWarning("no control %s", qPrintable(name));
    return w;
}
