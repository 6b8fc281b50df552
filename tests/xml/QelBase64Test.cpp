#include "qel/xml/detail/QelBase64.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace
{
const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The plain way, one character at a time: what the table-driven decoder must agree with.
std::vector<unsigned char> PlainDecode(const std::string& strText, size_t& nDamage)
{
    std::vector<unsigned char> v;
    uint32_t nGroup = 0;
    int nHave = 0;
    nDamage = 0;
    for (char c : strText)
    {
        const char* p = c ? std::strchr(kAlphabet, c) : nullptr;
        if (!p)
        {
            nDamage += c == ' ' || c == '\t' || c == '\n' || c == '\r' ? 0 : 1;
            continue;
        }
        nGroup = nGroup << 6 | uint32_t(p - kAlphabet);
        if (++nHave == 4)
        {
            v.insert(v.end(), {uint8_t(nGroup >> 16), uint8_t(nGroup >> 8), uint8_t(nGroup)});
            nGroup = 0;
            nHave = 0;
        }
    }
    if (nHave == 1)
        ++nDamage;
    else if (nHave == 2)
        v.push_back(uint8_t(nGroup >> 4));
    else if (nHave == 3)
        v.insert(v.end(), {uint8_t(nGroup >> 10), uint8_t(nGroup >> 2)});
    return v;
}

/// Decodes the text handed over in pieces of the given lengths.
std::vector<unsigned char> DecodeInPieces(const std::string& strText, std::mt19937& rng, size_t& nDamage)
{
    QelBase64::Decoder decoder;
    std::vector<unsigned char> v(QelBase64::Decoder::MaxBytes(strText.size()) + 16);
    size_t nOut = 0;
    for (size_t nDone = 0; nDone < strText.size();)
    {
        const size_t nPiece = std::min<size_t>(strText.size() - nDone, rng() % 9 == 0 ? 1 + rng() % 3 : rng() % 700);
        nOut += decoder.Feed(strText.data() + nDone, nPiece, v.data() + nOut);
        nDone += nPiece;
    }
    nOut += decoder.Finish(v.data() + nOut);
    nDamage = decoder.Damage();
    v.resize(nOut);
    return v;
}
} // namespace

TEST(QelBase64, EncodesEveryLengthAndDecodesItBack)
{
    std::mt19937 rng(7);
    for (size_t n = 0; n < 70; ++n)
    {
        SCOPED_TRACE(n);
        std::vector<unsigned char> vBytes(n);
        for (unsigned char& c : vBytes)
            c = static_cast<unsigned char>(rng());
        std::string strText(QelBase64::EncodedLength(n), '?');
        ASSERT_EQ(QelBase64::Encode(vBytes.data(), n, &strText[0]), strText.size());
        EXPECT_EQ(strText.find('?'), std::string::npos);
        size_t nDamage = 0;
        EXPECT_EQ(PlainDecode(strText, nDamage), vBytes);
        EXPECT_EQ(nDamage, 0u);
        EXPECT_EQ(DecodeInPieces(strText, rng, nDamage), vBytes);
        EXPECT_EQ(nDamage, 0u);
    }
    char sz[8] = {};
    const unsigned char kMan[] = {'M', 'a', 'n', 'M'};
    EXPECT_EQ(std::string(sz, QelBase64::Encode(kMan, 4, sz)), "TWFuTQ");
}

TEST(QelBase64, PiecesWithSpacesAndDamageDecodeAsThePlainWay)
{
    struct Row
    {
        const char* m_pName;
        int m_nSpacePercent;
        int m_nDamagePercent;
    };
    const Row kRows[] = {{"clean", 0, 0}, {"line breaks and blanks", 3, 0}, {"stray characters", 0, 2}, {"both", 5, 5}};
    std::mt19937 rng(11);
    for (const Row& row : kRows)
        for (int nRound = 0; nRound < 20; ++nRound)
        {
            SCOPED_TRACE(std::string(row.m_pName) + " round " + std::to_string(nRound));
            std::string strText;
            const size_t nLength = rng() % 5000;
            for (size_t i = 0; i < nLength; ++i)
            {
                const int nRoll = int(rng() % 100);
                if (nRoll < row.m_nSpacePercent)
                    strText += " \t\r\n"[rng() % 4];
                else if (nRoll < row.m_nSpacePercent + row.m_nDamagePercent)
                    strText += "*=-.\xC3\x80"[rng() % 6];
                else
                    strText += kAlphabet[rng() % 64];
            }
            size_t nPlainDamage = 0, nDamage = 0;
            const std::vector<unsigned char> vPlain = PlainDecode(strText, nPlainDamage);
            EXPECT_EQ(DecodeInPieces(strText, rng, nDamage), vPlain);
            EXPECT_EQ(nDamage, nPlainDamage);
        }
}
