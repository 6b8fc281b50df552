#include "qel/platform/QelGuid.h"
#include "qel/platform/QelRandom.h"
#include "qel/platform/QelString.h"
#include "qel/platform/QelTimer.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

TEST(QelRandom, FollowsTheWindowsRuntimeSequence)
{
    QelSRand(1);
    const int expected[] = {41, 18467, 6334, 26500, 19169};
    for (int v : expected)
        EXPECT_EQ(QelRand(), v);
    QelSRand(1);
    EXPECT_EQ(QelRand(), 41);
    // Every value stays within 0..QEL_RAND_MAX.
    QelSRand(12345);
    for (int i = 0; i < 100000; ++i)
    {
        int v = QelRand();
        ASSERT_GE(v, 0);
        ASSERT_LE(v, QEL_RAND_MAX);
    }
}

TEST(QelGuid, LayoutTextAndOrdering)
{
    static_assert(sizeof(GUID) == 16, "Windows layout");
    GUID a, b;
    ASSERT_TRUE(QelCreateGuid(&a));
    ASSERT_TRUE(QelCreateGuid(&b));
    EXPECT_NE(a, b);
    EXPECT_NE(a, kZeroGUID);
    EXPECT_FALSE(QelCreateGuid(nullptr));

    std::string s = QelGuidToString(a);
    ASSERT_EQ(s.size(), 38u);
    GUID back = kZeroGUID;
    ASSERT_TRUE(QelGuidFromString(s, back));
    EXPECT_EQ(back, a);
    ASSERT_TRUE(QelGuidFromString(s.substr(1, 36), back));
    EXPECT_EQ(back, a);

    GUID known = {0x01234567, 0x89AB, 0xCDEF, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
    EXPECT_EQ(QelGuidToString(known), "{01234567-89AB-CDEF-0123-456789ABCDEF}");
    EXPECT_EQ(QelGuidToString(kZeroGUID), "{00000000-0000-0000-0000-000000000000}");

    GUID untouched = known;
    EXPECT_FALSE(QelGuidFromString("{01234567-89AB-CDEF-0123-456789ABCDEZ}", untouched));
    EXPECT_FALSE(QelGuidFromString("", untouched));
    EXPECT_FALSE(QelGuidFromString("01234567+89AB-CDEF-0123-456789ABCDEF", untouched));
    EXPECT_EQ(untouched, known);

    GUID smaller = known;
    smaller.Data4[7] = 0xEE;
    EXPECT_TRUE(smaller < known);
    EXPECT_FALSE(known < smaller);

    // The version nibble of a random identifier says "random".
    EXPECT_EQ((a.Data3 >> 12) & 0xF, 4);
    std::set<GUID> many;
    for (int i = 0; i < 1000; ++i)
    {
        GUID g;
        QelCreateGuid(&g);
        many.insert(g);
    }
    EXPECT_EQ(many.size(), 1000u);
}

TEST(QelString, StricmpSemantics)
{
    EXPECT_EQ(QelStricmp("Hello", "hELLO"), 0);
    EXPECT_LT(QelStricmp("apple", "Banana"), 0);
    EXPECT_GT(QelStricmp("b", "A"), 0);
    EXPECT_LT(QelStricmp("abc", "abcd"), 0);
    EXPECT_GT(QelStricmp("A", "_"), 0);
    EXPECT_EQ(QelStrnicmp("TEXTure", "textFILE", 4), 0);
    EXPECT_NE(QelStrnicmp("TEXTure", "textFILE", 5), 0);
    // Bytes above 127 compare unsigned and are not folded.
    EXPECT_GT(QelStricmp("\xE9", "e"), 0);
}

TEST(QelString, FormatGrowsUntilTheTextFits)
{
    std::string long100(100, 'x');
    EXPECT_EQ(QelFormat("%s", long100.c_str()), long100);
    EXPECT_EQ(QelFormat("value %d", 5), "value 5");
    EXPECT_EQ(QelFormat("%s", ""), "");
    std::string huge(1 << 20, 'y');
    EXPECT_EQ(QelFormat("[%s]", huge.c_str()).size(), huge.size() + 2);
}

TEST(QelString, CanonicalizePath)
{
    EXPECT_EQ(QelCanonicalizePath("C:\\a\\b\\..\\c\\.\\d.png"), "C:\\a\\c\\d.png");
    EXPECT_EQ(QelCanonicalizePath("C:/textures/./wood.bmp"), "C:\\textures\\wood.bmp");
    EXPECT_EQ(QelCanonicalizePath("a\\..\\..\\b"), "b");
    EXPECT_EQ(QelCanonicalizePath("\\\\server\\share\\x\\..\\y"), "\\\\server\\share\\y");
    EXPECT_EQ(QelCanonicalizePath(""), "");
    EXPECT_EQ(QelCanonicalizePath("./a//b/../t.png"), "a\\t.png");
    EXPECT_EQ(QelCanonicalizePath("/x/y/"), "\\x\\y\\");
    EXPECT_EQ(QelCanonicalizePath("//srv/..//"), "\\\\");
    EXPECT_EQ(QelCanonicalizePath("C:..\\a"), "C:a");
    // A ".." that goes away uncovers what reads as a drive: the result must already be canonical.
    for (const char* pPath : {"../S:.\\s", "a/../../S:..\\x", "../S:/x", "/.\\:."})
    {
        SCOPED_TRACE(pPath);
        const std::string strOnce = QelCanonicalizePath(pPath);
        EXPECT_EQ(QelCanonicalizePath(strOnce), strOnce);
    }
    EXPECT_EQ(QelCanonicalizePath("../S:.\\s"), "S:s");
}

TEST(QelTimer, MonotonicSeconds)
{
    double t0 = QelGetHighResTime();
    QelHighResTimer timer;
    volatile double sink = 0;
    for (int i = 0; i < 100000; ++i)
        sink = sink + i;
    double dt = timer.GetElapsedSeconds();
    EXPECT_GE(dt, 0.0);
    EXPECT_LT(dt, 10.0);
    EXPECT_GE(QelGetHighResTime(), t0);
    EXPECT_GT(QelQueryPerformanceFrequency(), 0);
}
