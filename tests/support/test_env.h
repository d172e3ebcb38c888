#pragma once
// A private home for the test process, and per-test reset of the global state.
#include <QString>
#include <QStringList>
#include <gtest/gtest.h>

#include <ostream>

// Readable failures.
inline void PrintTo(const QString& s, std::ostream* os) {
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QStringList& list, std::ostream* os) {
    *os << '[';
    for (const QString& s : list)
        *os << "\n  \"" << s.toStdString() << '"';
    *os << "\n]";
}

namespace TestEnv {
// Points HOME, XDG_DATA_HOME, XDG_CONFIG_HOME and XDG_DOCUMENTS_DIR at a fresh temporary folder.
void setUpProcessHome();
QString home();
// Empties the home folder and resets the globals and the settings store.
void resetAll();
// A sample file of tests/data.
QString dataFile(const QString& name);
} // namespace TestEnv

// Base fixture: every test starts from a fresh home and start-value globals.
class FreshState : public testing::Test {
protected:
    void SetUp() override { TestEnv::resetAll(); }
};
