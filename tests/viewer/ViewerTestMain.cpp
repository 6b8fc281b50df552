#include "ViewerTestSupport.h"

#include <gtest/gtest.h>

ViewerApp& ViewerTestApp()
{
    static ViewerApp s_cApp(false);
    return s_cApp;
}

int main(int argc, char** argv)
{
    // The viewer's application object must be the first one, before any library object.
    ViewerTestApp();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
