#include "common/paths.h"

#include <QDir>
#include <QStringList>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {
struct PathCase {
    const char* function;
    QString (*apply)(const QString&);
    const char* input;
    const char* expected;
};

void PrintTo(const PathCase& c, std::ostream* os) {
    *os << c.function << "(\"" << c.input << "\")";
}

class PathHelpers : public testing::TestWithParam<PathCase> {};

TEST_P(PathHelpers, GiveTheExpectedPart) {
    const PathCase& c = GetParam();
    const QString expected = QString::fromUtf8(c.expected).replace(u"$HOME"_s, QDir::homePath());
    EXPECT_EQ(c.apply(QString::fromUtf8(c.input)), expected);
}

const PathCase kCases[] = {
    // A blank path stays blank; only a missing separator is added.
    {"AddBackslash", AddBackslash, "", ""},
    {"AddBackslash", AddBackslash, "   ", "   "},
    {"AddBackslash", AddBackslash, "/a", "/a/"},
    {"AddBackslash", AddBackslash, "/a/", "/a/"},
    {"AddBackslash", AddBackslash, "a", "a/"},
    {"AddBackslash", AddBackslash, " a ", " a /"},

    {"StripBackslash", StripBackslash, "/a/", "/a"},
    {"StripBackslash", StripBackslash, "/a//", "/a/"},
    {"StripBackslash", StripBackslash, "/", ""},
    {"StripBackslash", StripBackslash, "a", "a"},
    {"StripBackslash", StripBackslash, "", ""},

    {"GetFolderPart", GetFolderPart, "/home/u/file.txt", "/home/u/"},
    {"GetFolderPart", GetFolderPart, "/home/u/", "/home/u/"},
    {"GetFolderPart", GetFolderPart, "a/b", "a/"},
    {"GetFolderPart", GetFolderPart, "file.txt", ""},
    {"GetFolderPart", GetFolderPart, "/file.txt", ""}, // the only "/" at position 1
    {"GetFolderPart", GetFolderPart, "", ""},

    {"GetFileNamePart", GetFileNamePart, "/home/u/file.txt", "file.txt"},
    {"GetFileNamePart", GetFileNamePart, "file.txt", "file.txt"},
    {"GetFileNamePart", GetFileNamePart, "/file.txt", ""},
    {"GetFileNamePart", GetFileNamePart, "/home/u/", ""},
    {"GetFileNamePart", GetFileNamePart, "", ""},

    {"GetBaseName", GetBaseName, "/x/file.tar.gz", "file.tar"},
    {"GetBaseName", GetBaseName, "/x/.profile", ""},
    {"GetBaseName", GetBaseName, ".profile", ""},
    {"GetBaseName", GetBaseName, "/x/README", "README"},
    {"GetBaseName", GetBaseName, "a.b/file", "file"},
    {"GetBaseName", GetBaseName, "/file.txt", ""},
    {"GetBaseName", GetBaseName, "name.", "name"},
    {"GetBaseName", GetBaseName, "", ""},

    {"GetExtensionUpper", GetExtensionUpper, "file.tar.gz", "GZ"},
    {"GetExtensionUpper", GetExtensionUpper, "Report.Pdf", "PDF"},
    {"GetExtensionUpper", GetExtensionUpper, ".profile", ""},
    {"GetExtensionUpper", GetExtensionUpper, "README", ""},
    {"GetExtensionUpper", GetExtensionUpper, "name.", ""},
    // The scan does not stop at a folder: the folder's dot counts.
    {"GetExtensionUpper", GetExtensionUpper, "a.b/file", "B/FILE"},
    {"GetExtensionUpper", GetExtensionUpper, "", ""},

    {"GetParentFolder", GetParentFolder, "/home/u/docs/", "/home/u"},
    {"GetParentFolder", GetParentFolder, "/home/u", "/home"},
    {"GetParentFolder", GetParentFolder, "/home", "/"},
    {"GetParentFolder", GetParentFolder, "/home/", "/"},
    {"GetParentFolder", GetParentFolder, "/", ""},
    {"GetParentFolder", GetParentFolder, "file", ""},
    {"GetParentFolder", GetParentFolder, "a/b", ""}, // the "/" stands at position 2
    {"GetParentFolder", GetParentFolder, "ab/c", "ab"},
    {"GetParentFolder", GetParentFolder, "", ""},

    {"GetLastPathPart", GetLastPathPart, "/home/u/docs/", "docs"},
    {"GetLastPathPart", GetLastPathPart, "/home/u/docs", "docs"},
    {"GetLastPathPart", GetLastPathPart, "/home", "home"},
    {"GetLastPathPart", GetLastPathPart, "docs", ""}, // unlike GetFileNamePart
    {"GetLastPathPart", GetLastPathPart, "/", ""},
    {"GetLastPathPart", GetLastPathPart, "", ""},

    // "~" is the home folder at the start only; "~user" and a later "~" stay.
    {"ExpandHome", ExpandHome, "~", "$HOME"},
    {"ExpandHome", ExpandHome, "~/Invoices", "$HOME/Invoices"},
    {"ExpandHome", ExpandHome, "~anna/x", "~anna/x"},
    {"ExpandHome", ExpandHome, "/srv/~/x", "/srv/~/x"},
    {"ExpandHome", ExpandHome, "Invoices", "Invoices"},
    {"ExpandHome", ExpandHome, "", ""},
};

INSTANTIATE_TEST_SUITE_P(Table, PathHelpers, testing::ValuesIn(kCases));

TEST(PathHelpers, WalkUpFromADeepFolderEndsAtTheRoot) {
    QStringList walk;
    for (QString p = u"/srv/mail/2026/"_s; !p.isEmpty(); p = GetParentFolder(p))
        walk << p;
    EXPECT_EQ(walk, QStringList({"/srv/mail/2026/", "/srv/mail", "/srv", "/"}));
}
} // namespace
