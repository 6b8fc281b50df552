#include "qel/xml/detail/QelBase64.h"

#include <cstring>
#include <initializer_list>

namespace
{
const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
const uint32_t kSkip = 0x40;
const uint32_t kBad = 0x80;

/// Per character: its six bits, kSkip for white space, kBad for anything else. Wide tables hold
/// the same bits already shifted into place for each position of a group of four, with the flag
/// bits moved above the 24 bits of data, so a group is four loads and three ors.
struct STables
{
    uint8_t aValue[256];
    uint32_t aWide[4][256];
    STables()
    {
        std::memset(aValue, kBad, sizeof(aValue));
        for (unsigned char c : {' ', '\t', '\n', '\r'})
            aValue[c] = kSkip;
        for (int i = 0; i < 64; ++i)
            aValue[static_cast<unsigned char>(kAlphabet[i])] = uint8_t(i);
        for (int k = 0; k < 4; ++k)
            for (int c = 0; c < 256; ++c)
                aWide[k][c] = aValue[c] < 64 ? uint32_t(aValue[c]) << (18 - 6 * k) : 0x80000000u;
    }
};

const STables& Tables()
{
    static const STables s_tables;
    return s_tables;
}
} // namespace

size_t QelBase64::Encode(const unsigned char* pData, size_t nBytes, char* pOut)
{
    char* o = pOut;
    size_t i = 0;
    for (; i + 3 <= nBytes; i += 3, o += 4)
    {
        const uint32_t n = uint32_t(pData[i]) << 16 | uint32_t(pData[i + 1]) << 8 | pData[i + 2];
        o[0] = kAlphabet[n >> 18];
        o[1] = kAlphabet[n >> 12 & 63];
        o[2] = kAlphabet[n >> 6 & 63];
        o[3] = kAlphabet[n & 63];
    }
    if (nBytes - i == 1)
    {
        const uint32_t n = uint32_t(pData[i]) << 16;
        *o++ = kAlphabet[n >> 18];
        *o++ = kAlphabet[n >> 12 & 63];
    }
    else if (nBytes - i == 2)
    {
        const uint32_t n = uint32_t(pData[i]) << 16 | uint32_t(pData[i + 1]) << 8;
        *o++ = kAlphabet[n >> 18];
        *o++ = kAlphabet[n >> 12 & 63];
        *o++ = kAlphabet[n >> 6 & 63];
    }
    return size_t(o - pOut);
}

size_t QelBase64::Decoder::Feed(const char* pText, size_t nChars, unsigned char* pOut)
{
    const STables& t = Tables();
    const unsigned char* p = reinterpret_cast<const unsigned char*>(pText);
    const unsigned char* const e = p + nChars;
    unsigned char* o = pOut;
    for (;;)
    {
        // Whole groups while the text is clean: each writes four bytes and keeps three, which is
        // what the spare room of MaxBytes is for.
        if (m_nHave == 0)
            for (; e - p >= 4; p += 4, o += 3)
            {
                const uint32_t n = t.aWide[0][p[0]] | t.aWide[1][p[1]] | t.aWide[2][p[2]] | t.aWide[3][p[3]];
                if (n & 0x80000000u)
                    break;
                o[0] = uint8_t(n >> 16);
                o[1] = uint8_t(n >> 8);
                o[2] = uint8_t(n);
            }
        if (p == e)
            return size_t(o - pOut);
        // One character at a time through a group that is split, or holds a skipped character.
        const uint32_t v = t.aValue[*p++];
        if (v >= 64)
        {
            m_nDamage += v == kBad ? 1 : 0;
            continue;
        }
        m_nGroup = m_nGroup << 6 | v;
        if (++m_nHave == 4)
        {
            o[0] = uint8_t(m_nGroup >> 16);
            o[1] = uint8_t(m_nGroup >> 8);
            o[2] = uint8_t(m_nGroup);
            o += 3;
            m_nGroup = 0;
            m_nHave = 0;
        }
    }
}

size_t QelBase64::Decoder::Finish(unsigned char* pOut)
{
    size_t n = 0;
    // A short last group of k characters gives floor(6k / 8) bytes.
    if (m_nHave == 2)
        pOut[n++] = uint8_t(m_nGroup >> 4);
    else if (m_nHave == 3)
    {
        pOut[n++] = uint8_t(m_nGroup >> 10);
        pOut[n++] = uint8_t(m_nGroup >> 2);
    }
    else if (m_nHave == 1)
        ++m_nDamage;
    m_nGroup = 0;
    m_nHave = 0;
    return n;
}
