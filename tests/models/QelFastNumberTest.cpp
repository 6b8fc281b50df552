#include "qel/models/detail/QelFastNumber.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>

namespace
{
/// The float a plain decimal gives through the fast reader, falling back to from_chars as the
/// model readers do; the count of fallbacks goes to nFallbacks.
float FastFloat(const std::string& str, int& nFallbacks)
{
    const char* e = str.data() + str.size();
    double d = 0.0;
    float f = 0.0f;
    if (QelFastNumber::Decimal(str.data(), e, d) && QelFastNumber::ToFloat(d, f))
        return f;
    ++nFallbacks;
    std::from_chars(str[0] == '+' ? str.data() + 1 : str.data(), e, f);
    return f;
}

float ExactFloat(const std::string& str)
{
    float f = 0.0f;
    std::from_chars(str[0] == '+' ? str.data() + 1 : str.data(), str.data() + str.size(), f);
    return f;
}

void ExpectSameBits(float a, float b, const std::string& str)
{
    uint32_t x = 0, y = 0;
    std::memcpy(&x, &a, 4);
    std::memcpy(&y, &b, 4);
    EXPECT_EQ(x, y) << str;
}
} // namespace

TEST(QelFastNumber, PlainDecimalsRoundToTheNearestFloat)
{
    std::mt19937_64 rng(20);
    int nFallbacks = 0, nLong = 0;
    // Random plain decimals of up to 19 digits, signs and leading zeros included.
    for (int i = 0; i < 200000; ++i)
    {
        const int nInt = int(rng() % 11), nFrac = int(rng() % (20 - nInt));
        std::string str = rng() % 3 == 0 ? "-" : rng() % 5 == 0 ? "+" : "";
        for (int k = 0; k < nInt; ++k)
            str += char('0' + rng() % 10);
        if (nFrac || nInt == 0)
            str += '.';
        for (int k = 0; k < nFrac || str.back() == '.' || str.back() == '-' || str.back() == '+'; ++k)
            str += char('0' + rng() % 10);
        nLong += nInt + nFrac > 15;
        ExpectSameBits(FastFloat(str, nFallbacks), ExactFloat(str), str);
    }
    // Up to 15 digits always fit the fast reader's exact range; longer ones may not.
    EXPECT_LE(nFallbacks, nLong + 10);

    // Decimals a hair off the midpoint between two neighbouring floats: their double can land on
    // the midpoint itself, and rounding that to float would then tie the wrong way. The midpoint's
    // exact digits are cut to the 16 a double holds, and the last one raised by one.
    int nOnMidpoint = 0;
    for (int i = 0; i < 20000; ++i)
    {
        const float a = std::ldexp(float(uint32_t(rng() % (1u << 23)) | (1u << 23)), int(rng() % 40) - 40);
        const double m = (double(a) + double(std::nextafter(a, 2.0f * a))) / 2.0;
        char buf[128];
        std::snprintf(buf, sizeof buf, "%.60f", m);
        std::string str = buf;
        const size_t nFirst = str.find_first_not_of("0.");
        size_t nEnd = nFirst;
        for (int nDigits = 0; nDigits < 16 && nEnd < str.size(); ++nEnd)
            nDigits += str[nEnd] != '.';
        str.resize(nEnd);
        for (int nUp : {0, 1})
        {
            std::string s = str;
            for (size_t k = s.size(); nUp && k-- > 0;)
            {
                if (s[k] == '.')
                    continue;
                if (s[k] != '9')
                {
                    ++s[k];
                    break;
                }
                s[k] = '0';
            }
            double d = 0.0;
            if (QelFastNumber::Decimal(s.data(), s.data() + s.size(), d) && d == m)
                ++nOnMidpoint;
            int nIgnored = 0;
            ExpectSameBits(FastFloat(s, nIgnored), ExactFloat(s), s);
        }
    }
    EXPECT_GT(nOnMidpoint, 1000); // the cases above did reach the midpoint
}

TEST(QelFastNumber, EightCharactersAtOnceMatchACharacterLoop)
{
    // Every byte value at every position, between digits, and random digit runs of each length.
    std::mt19937_64 rng(21);
    for (int i = 0; i < 100000; ++i)
    {
        char a[8];
        for (char& c : a)
            c = char('0' + rng() % 10);
        if (i < 256 * 8)
            a[(i / 256) % 8] = char(i % 256);
        else
            a[rng() % 8] = char(rng() % 4 ? "/:. \n-e"[rng() % 7] : char(rng() % 256));
        unsigned nDigits = 0;
        uint32_t nValue = 0;
        while (nDigits < 8 && a[nDigits] >= '0' && a[nDigits] <= '9')
            nValue = nValue * 10 + unsigned(a[nDigits++] - '0');
        const uint64_t x = QelSwarDigits::Load8(a);
        ASSERT_EQ(QelSwarDigits::LeadingDigits(x), nDigits) << std::string(a, 8);
        if (nDigits)
        {
            ASSERT_EQ(QelSwarDigits::Value(x, nDigits), nValue) << std::string(a, 8);
        }
    }
    const char kAll[] = "99999999";
    EXPECT_EQ(QelSwarDigits::LeadingDigits(QelSwarDigits::Load8(kAll)), 8u);
    EXPECT_EQ(QelSwarDigits::Value(QelSwarDigits::Load8(kAll), 8), 99999999u);
}

TEST(QelFastNumber, ShortDecimalsReadAsThePlainPathDoes)
{
    // Signs, leading zeros, a missing part on either side of the point, runs of 7 and 8 digits,
    // and what ends a word; whatever the short path takes must end and round as the plain one.
    std::mt19937_64 rng(22);
    int nTaken = 0;
    for (int i = 0; i < 200000; ++i)
    {
        std::string str = rng() % 3 == 0 ? "-" : rng() % 5 == 0 ? "+" : "";
        for (int k = 0, n = int(rng() % 10); k < n; ++k)
            str += char('0' + rng() % 10);
        if (rng() % 4)
            str += '.';
        for (int k = 0, n = int(rng() % 10); k < n; ++k)
            str += char('0' + rng() % 10);
        str += " \n0e.-"[rng() % 5];
        str += "1234567812345678"; // the text may go on after the word
        double dShort = -7.0, dPlain = -7.0;
        const char* e = str.data() + str.size();
        const char* pShort = QelFastNumber::ShortDecimal(str.data(), e, dShort);
        const char* pPlain = QelFastNumber::DecimalPrefix(str.data(), e, dPlain);
        if (!pShort)
            continue;
        ++nTaken;
        ASSERT_EQ(pShort, pPlain) << str;
        ASSERT_EQ(std::memcmp(&dShort, &dPlain, sizeof dShort), 0) << str;
    }
    EXPECT_GT(nTaken, 80000); // most of them
    // The characters it may read must lie before the end given.
    double d = 0.0;
    const char kShort[] = "1.5 ";
    EXPECT_EQ(QelFastNumber::ShortDecimal(kShort, kShort + 4, d), nullptr);
}
