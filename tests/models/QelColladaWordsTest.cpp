#include "qel/models/detail/QelColladaWords.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstring>
#include <random>
#include <string>
#include <vector>

using QelColladaWords::QelColladaWordReader;

namespace
{
const char kGaps[] = {' ', '\t', '\n', '\r'};

/// What a word should give, read the slow and obvious way: floats through from_chars (any form
/// it knows, one leading '+' allowed, out of range or not finite as 0), indices as digits only,
/// held at 0xFFFFFFFF.
bool ExpectedFloat(const std::string& w, float& f)
{
    const char* b = w.data() + (w[0] == '+' ? 1 : 0);
    auto r = std::from_chars(b, w.data() + w.size(), f);
    if (r.ec == std::errc::invalid_argument || r.ptr != w.data() + w.size())
        return false;
    if (r.ec == std::errc::result_out_of_range || !std::isfinite(f))
        f = 0.0f;
    return true;
}

bool ExpectedIndex(const std::string& w, uint32_t& n)
{
    unsigned long long x = 0;
    for (char c : w)
    {
        if (c < '0' || c > '9')
            return false;
        x = std::min(x * 10 + unsigned(c - '0'), 0xFFFFFFFFull);
    }
    n = uint32_t(x);
    return true;
}

/// The numbers of a whole text, word by word, up to the first bad word; bBad tells whether one
/// stopped the reading.
template <class T, class Fn>
std::vector<T> Expected(const std::string& strText, Fn fnWord, bool& bBad)
{
    std::vector<T> v;
    bBad = false;
    size_t i = 0;
    while (!bBad)
    {
        i = strText.find_first_not_of(" \t\n\r", i);
        if (i == std::string::npos)
            break;
        const size_t e = std::min(strText.find_first_of(" \t\n\r", i), strText.size());
        T x{};
        bBad = !fnWord(strText.substr(i, e - i), x);
        if (!bBad)
            v.push_back(x);
        i = e;
    }
    return v;
}

/// Random words between random gaps: mostly numbers of the kind files hold, with the forms and
/// lengths around every limit of the fast paths, and now and then a word that is no number.
std::string RandomText(std::mt19937_64& rng, bool bFloats, size_t nWords)
{
    static const char* const kOdd[] = {"1e5",        "-2.5E-3",    "+7",   "1.",   ".5",   "-.25",  "1e400", "-1e-50",
                                       "inf",        "nan",        "007",  "0.0e0", "00",  "4294967295", "4294967296",
                                       "99999999999999999999999", "00000000000000000000000012", "123456789.123456789",
                                       // longer than a block of 64 characters
                                       "0000000000000000000000000000000000000000000000000000000000000000000000000042"};
    static const char* const kBad[] = {"1.5.2", "x", "-", ".", "1e", "--1", "+-1", "0x10", "1,5", "12a", "\xc3\xa9"};
    std::string s;
    for (size_t i = 0; i < nWords; ++i)
    {
        for (size_t g = 1 + rng() % 2; g > 0; --g)
            s += kGaps[rng() % 4];
        if (rng() % 20 == 0)
        {
            s += kOdd[rng() % (sizeof kOdd / sizeof *kOdd)];
            continue;
        }
        if (rng() % 300 == 0)
        {
            s += kBad[rng() % (sizeof kBad / sizeof *kBad)];
            continue;
        }
        const int nInt = int(rng() % (bFloats ? 12 : 22)), nFrac = bFloats && rng() % 4 ? int(rng() % 12) : -1;
        if (bFloats && rng() % 3 == 0)
            s += rng() % 4 ? '-' : '+';
        for (int k = 0; k < nInt || (k == 0 && nFrac <= 0); ++k)
            s += char('0' + rng() % 10);
        if (nFrac >= 0)
            s += '.';
        for (int k = 0; k < nFrac; ++k)
            s += char('0' + rng() % 10);
    }
    return s;
}

template <class T>
void ExpectSame(const std::vector<T>& a, const std::vector<T>& b)
{
    ASSERT_EQ(a.size(), b.size());
    EXPECT_TRUE(a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

/// Reads the text fed in pieces cut at the given positions and checks it against the word by
/// word reading.
template <class T, class Fn>
void CheckPieces(const std::string& strText, const std::vector<size_t>& vCuts, Fn fnWord)
{
    bool bBad = false;
    const std::vector<T> vExpected = Expected<T>(strText, fnWord, bBad);
    QelColladaWordReader reader;
    std::vector<T> v;
    size_t nFrom = 0;
    for (size_t nCut : vCuts)
    {
        // Each piece in its own buffer, so that a read past its end shows under the sanitizers.
        const std::vector<char> vPiece(strText.begin() + long(nFrom), strText.begin() + long(nCut));
        reader.Feed(vPiece.data(), vPiece.data() + vPiece.size(), v);
        nFrom = nCut;
    }
    const std::vector<char> vLast(strText.begin() + long(nFrom), strText.end());
    reader.Feed(vLast.data(), vLast.data() + vLast.size(), v);
    reader.Finish(v);
    EXPECT_EQ(reader.Bad(), bBad);
    ExpectSame(v, vExpected);
}

template <class T, class Fn>
void CheckEverySplit(bool bFloats, Fn fnWord)
{
    std::mt19937_64 rng(bFloats ? 7 : 8);
    // Long texts in random pieces, as the parser hands them over.
    for (int nText = 0; nText < 300; ++nText)
    {
        SCOPED_TRACE(nText);
        const std::string strText = RandomText(rng, bFloats, 200);
        std::vector<size_t> vCuts;
        for (size_t n = rng() % 40; n < strText.size(); n += 1 + rng() % 60)
            vCuts.push_back(n);
        CheckPieces<T>(strText, vCuts, fnWord);
        CheckPieces<T>(strText, {}, fnWord);
    }
    // Short texts cut in two at every position, and in single characters.
    for (int nText = 0; nText < 200; ++nText)
    {
        const std::string strText = RandomText(rng, bFloats, 4);
        SCOPED_TRACE(strText);
        std::vector<size_t> vEach;
        for (size_t n = 0; n <= strText.size(); ++n)
        {
            CheckPieces<T>(strText, {n}, fnWord);
            vEach.push_back(n);
        }
        CheckPieces<T>(strText, vEach, fnWord);
    }
}
} // namespace

TEST(QelColladaWords, FloatsMatchTheGeneralReaderWhereverThePiecesEnd)
{
    CheckEverySplit<float>(true, ExpectedFloat);
}

TEST(QelColladaWords, IndicesMatchAPlainReadingWhereverThePiecesEnd)
{
    CheckEverySplit<uint32_t>(false, ExpectedIndex);
}

TEST(QelColladaWords, ABadWordStopsTheReadingAndKeepsWhatCameBefore)
{
    struct Row
    {
        const char* m_pName;
        std::vector<std::string> m_vPieces;
        size_t m_nRead;
    };
    const Row kRows[] = {
        {"word after a full batch", {std::string(600, ' ') + "1 2 3 x 4"}, 3},
        {"bad word cut between pieces", {"1 2 1.", "5.2 3"}, 2},
        {"bad carried word at the end", {"1 2 3 ", "x"}, 3},
        {"word cut after a number", {"1 2 3", "x"}, 2},
        {"pieces after the bad word are ignored", {"1 y", "2 3", "4"}, 1},
    };
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pName);
        std::vector<float> v;
        QelColladaWordReader reader;
        for (const std::string& str : row.m_vPieces)
            reader.Feed(str.data(), str.data() + str.size(), v);
        reader.Finish(v);
        EXPECT_TRUE(reader.Bad());
        EXPECT_EQ(v.size(), row.m_nRead);
    }
    // Many numbers before the bad word: every batch of them is kept.
    std::string strMany;
    for (int i = 0; i < 1000; ++i)
        strMany += std::to_string(i) + "\n";
    strMany += "-1 ";
    std::vector<uint32_t> vIdx;
    EXPECT_FALSE(QelColladaWords::ReadIndices(strMany.data(), strMany.data() + strMany.size(), vIdx));
    ASSERT_EQ(vIdx.size(), 1000u);
    EXPECT_EQ(vIdx[999], 999u);
}
