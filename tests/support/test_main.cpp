// Every test binary starts here: a Qt application object and a private home, data and config
// folder, so no test reads or writes the real user's files.
#include "support/test_env.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    TestEnv::setUpProcessHome();
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
