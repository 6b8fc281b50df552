#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    // The console must be the process's first application object, before any library object.
    QelTestApp::Get();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
