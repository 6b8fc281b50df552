#include "qel/models/detail/QelColladaRuns.h"
#include "qel/models/detail/QelGapMask.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace
{
/// Random text of the characters the scanners tell apart, and others; each in its own buffer so
/// that a read past its end shows under the sanitizers.
std::vector<char> RandomText(std::mt19937_64& rng, size_t nSize, unsigned nStopOdds)
{
    static const char kCommon[] = "0123456789 \t\n\r.-+eE";
    std::vector<char> v(nSize);
    for (char& c : v)
    {
        const unsigned n = unsigned(rng() % 1000);
        c = n < nStopOdds ? (n % 2 ? '<' : '&') : n < 990 ? kCommon[rng() % (sizeof kCommon - 1)] : char(rng() % 256);
    }
    return v;
}
} // namespace

TEST(QelGapMask, BlockMasksMatchTheByteAtATimeOnes)
{
    std::mt19937_64 rng(3);
    for (int nText = 0; nText < 2000; ++nText)
    {
        const std::vector<char> v = RandomText(rng, 64, 5);
        SCOPED_TRACE(std::string(v.begin(), v.end()));
        ASSERT_EQ(QelGapMask::GapMask64(v.data()), QelGapMask::GapMask64Plain(v.data()));
        ASSERT_EQ(QelGapMask::DigitMask64(v.data()), QelGapMask::DigitMask64Plain(v.data()));
        for (char c : {'.', '-', '\xff', '\0'})
            ASSERT_EQ(QelGapMask::ByteMask64(v.data(), c), QelGapMask::ByteMask64Plain(v.data(), c));
    }
    // Every byte value in every place, against the obvious bits.
    for (unsigned c = 0; c < 256; ++c)
    {
        std::vector<char> v(64, 'x');
        for (unsigned i = 0; i < 64; i += 7)
            v[i] = char(c);
        uint64_t nAt = 0;
        for (unsigned i = 0; i < 64; i += 7)
            nAt |= uint64_t(1) << i;
        const bool bGap = c == ' ' || c == '\t' || c == '\n' || c == '\r', bDigit = c >= '0' && c <= '9';
        EXPECT_EQ(QelGapMask::GapMask64(v.data()), bGap ? nAt : 0) << c;
        EXPECT_EQ(QelGapMask::DigitMask64(v.data()), bDigit ? nAt : 0) << c;
    }
}

TEST(QelColladaRuns, ScanFindsTheStopAndCountsLinesAsThePlainLoop)
{
    std::mt19937_64 rng(5);
    // Short and long texts, with stops rare enough that the long ones run past the counters'
    // summing round (63 blocks of 64 bytes).
    for (int nText = 0; nText < 600; ++nText)
    {
        const size_t nSize = nText < 300 ? rng() % 200 : 4000 + rng() % 9000;
        const std::vector<char> v = RandomText(rng, nSize, nText % 3 ? 0 : 1);
        SCOPED_TRACE(nText);
        size_t nPlain = 0, nFast = 0;
        const char* pPlain = QelColladaRuns::ScanPlain(v.data(), v.data() + v.size(), nPlain);
        ASSERT_EQ(QelColladaRuns::Scan(v.data(), v.data() + v.size(), nFast), pPlain);
        ASSERT_EQ(nFast, nPlain);
    }
}

TEST(QelColladaRuns, RunsComeBackOnlyInOrderForTheirElement)
{
    const std::string strText = std::string(100, '1') + "<x>" + std::string(20, '2') + "&" + std::string(100, '3') + "<";
    QelColladaRuns runs(50);
    size_t nLines = 0;
    struct Row
    {
        const char* m_pName;
        size_t m_nAt;
        bool m_bRun;
    };
    const Row kRows[] = {{"long enough before '<'", 0, true},
                         {"shorter than the minimum", 60, false},
                         {"'&' before the '<'", 103, false},
                         {"no '<' in what is left", 124, false}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        const size_t nLeft = row.m_nAt == 124 ? 100 : strText.size() - row.m_nAt;
        EXPECT_EQ(runs.RunEnd(strText.data() + row.m_nAt, nLeft, nLines) != nullptr, row.m_bRun);
    }

    const int a = 0, b = 0;
    char aMarker[2][80] = {};
    ASSERT_EQ(runs.Cut(strText.data(), strText.data() + 10, 1, &a, aMarker[0], 4), 0u) << "no room for the marker";
    EXPECT_FALSE(runs.Pending());
    const size_t n0 = runs.Cut(strText.data(), strText.data() + 10, 1, &a, aMarker[0], sizeof aMarker[0]);
    const size_t n1 = runs.Cut(strText.data() + 10, strText.data() + 30, 2, &b, aMarker[1], sizeof aMarker[1]);
    ASSERT_GT(n0, 0u);
    ASSERT_GT(n1, 0u);
    // The data between "<?qel-run " and "?>".
    auto data = [](const char* pMarker, size_t n) {
        const std::string str(pMarker, n);
        const size_t nFrom = str.find(' ') + 1;
        return str.substr(nFrom, str.size() - 2 - nFrom);
    };
    EXPECT_EQ(std::string(aMarker[0], n0).rfind(std::string("<?") + QelColladaRuns::kTarget + " ", 0), 0u);
    const char* pBegin = nullptr;
    const char* pEnd = nullptr;
    EXPECT_FALSE(runs.Take(data(aMarker[1], n1).c_str(), &b, pBegin, pEnd, nLines)) << "out of order";
    EXPECT_FALSE(runs.Take(data(aMarker[0], n0).c_str(), &b, pBegin, pEnd, nLines)) << "another element";
    EXPECT_FALSE(runs.Take("0 0000000000000000", &a, pBegin, pEnd, nLines)) << "a marker of the document's own";
    EXPECT_FALSE(runs.Take(nullptr, &a, pBegin, pEnd, nLines));
    ASSERT_TRUE(runs.Take(data(aMarker[0], n0).c_str(), &a, pBegin, pEnd, nLines));
    EXPECT_EQ(pBegin, strText.data());
    EXPECT_EQ(pEnd, strText.data() + 10);
    EXPECT_EQ(nLines, 1u);
    EXPECT_TRUE(runs.Pending());
    ASSERT_TRUE(runs.Take(data(aMarker[1], n1).c_str(), &b, pBegin, pEnd, nLines));
    EXPECT_EQ(nLines, 2u);
    EXPECT_FALSE(runs.Pending());
    EXPECT_FALSE(runs.Take(data(aMarker[1], n1).c_str(), &b, pBegin, pEnd, nLines)) << "taken twice";
}
