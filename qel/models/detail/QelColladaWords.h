#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// The numbers of COLLADA float arrays and index lists: words between white space, read a whole
/// stretch of text at a time. The first word that is not a number stops the reading; the numbers
/// before it stay.
namespace QelColladaWords
{
/// Per character, whether it is white space between words (space, tab, line feed, carriage return).
extern const std::array<bool, 256> kGaps;

inline bool IsGap(char c)
{
    return kGaps[static_cast<unsigned char>(c)];
}

/// Appends the numbers of the words in [s, e); false at a word that is not one. The text must end
/// with white space, or e must point at a readable character that ends a word (a terminating
/// zero): digits are read without a test of the end.
bool ReadFloats(const char* s, const char* e, std::vector<float>& v);
/// Non-negative integers; values past 32 bits become 0xFFFFFFFF, which no source reaches. The
/// text is bounded as for ReadFloats.
bool ReadIndices(const char* s, const char* e, std::vector<uint32_t>& v);

/// Reads words from text that comes in pieces; a word cut at the end of a piece waits for the rest.
class QelColladaWordReader
{
public:
    template <class T>
    void Feed(const char* s, const char* e, std::vector<T>& v)
    {
        if (m_bBad)
            return;
        if (!m_strCarry.empty())
        {
            const char* w = s;
            while (s < e && !IsGap(*s))
                ++s;
            m_strCarry.append(w, s);
            if (s == e)
                return;
            Finish(v);
            if (m_bBad)
                return;
        }
        // Words before the piece's last gap are whole; the one after it may go on.
        const char* pWhole = e;
        while (pWhole > s && !IsGap(pWhole[-1]))
            --pWhole;
        m_bBad = !Read(s, pWhole, v);
        if (!m_bBad)
            m_strCarry.assign(pWhole, e);
    }
    /// Reads the word still waiting, at the end of the text.
    template <class T>
    void Finish(std::vector<T>& v)
    {
        if (!m_bBad && !m_strCarry.empty())
            m_bBad = !Read(m_strCarry.data(), m_strCarry.data() + m_strCarry.size(), v);
        m_strCarry.clear();
    }
    /// A word that was not a number stopped the reading.
    bool Bad() const { return m_bBad; }

private:
    static bool Read(const char* s, const char* e, std::vector<float>& v) { return ReadFloats(s, e, v); }
    static bool Read(const char* s, const char* e, std::vector<uint32_t>& v) { return ReadIndices(s, e, v); }

    std::string m_strCarry;
    bool m_bBad = false;
};
} // namespace QelColladaWords
