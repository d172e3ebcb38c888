#pragma once
// A private home for the test process, and per-test reset of the global state.
#include <QByteArray>
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

inline std::string S(const QString& text) {
    return text.toStdString();
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

// The bytes of a file; empty when it cannot be read.
QByteArray FileBytes(const QString& path);
// Writes a file whole, making its folder first.
bool PutFile(const QString& path, const QByteArray& bytes = {});
// Every entry of a folder, hidden ones too, by name.
QStringList FolderEntries(const QString& folder);
// The LOG's lines without their time stamps ("dd.mm.yyyy - hh:mm:ss - ").
QStringList LogLinesWithoutStamps();

// Base fixture: every test starts from a fresh home and start-value globals.
class FreshState : public testing::Test {
  protected:
    void SetUp() override { TestEnv::resetAll(); }
};
