#include "ViewerTiming.h"

#include <gtest/gtest.h>

namespace
{
TEST(ViewerTiming, MedianOfOddEvenAndNoCounts)
{
    EXPECT_DOUBLE_EQ(ViewerTiming::Median({5.0, 1.0, 3.0}), 3.0);
    EXPECT_DOUBLE_EQ(ViewerTiming::Median({4.0, 1.0, 3.0, 2.0}), 2.5);
    EXPECT_DOUBLE_EQ(ViewerTiming::Median({}), 0.0);
}

TEST(ViewerTiming, TheFirstFrameIsReportedApartFromTheOthers)
{
    ViewerTiming::SOpen cOpen;
    cOpen.m_strFile = "grid.obj";
    cOpen.m_dWallMs = 812.25;
    cOpen.m_dCpuMs = 800.0;
    cOpen.m_bOk = true;
    ViewerTiming::SOpen cFailed;
    cFailed.m_strFile = "none.obj";
    EXPECT_EQ(ViewerTiming::Report({cOpen, cFailed}, 940, 610, 1002528, {500.0, 40.0, 60.0, 50.0}, {90.0, 9.0, 7.0, 8.0}),
              "timing: open grid.obj: 812.2 ms wall, 800.0 ms cpu\n"
              "timing: open none.obj: 0.0 ms wall, 0.0 ms cpu (failed)\n"
              "timing: view 940x610, 1002528 triangles\n"
              "timing: frames ms: 500.00 40.00 60.00 50.00\n"
              "timing: first frame 500.00 ms wall, 90.00 ms cpu\n"
              "timing: later frames (3) median 50.00 ms wall (mean 50.00, min 40.00, max 60.00), median 8.00 ms cpu\n");
    EXPECT_EQ(ViewerTiming::Report({}, 0, 0, 0, {}, {}), "timing: view 0x0, 0 triangles\ntiming: frames ms:\n");
}
} // namespace
