#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

/// Walks ASCII DXF text held in memory as pairs of lines: a group code and its value. Nothing is
/// copied; the value is a range of the text until the next pair is read.
class QelDxfReader
{
public:
    enum EResult
    {
        eGroup = 0,
        /// The text ended before a group code.
        eEnd = 1,
        /// The code line holds no integer.
        eBadCode = 2,
        /// The text ended after a code, before its value.
        eTruncated = 3
    };

    QelDxfReader(const char* pData, size_t nSize) : m_p(pData), m_e(pData + nSize) {}

    /// Reads the next pair. The usual pair (a code line of digits, a value line) is read inline;
    /// anything else by the general reader.
    EResult Next()
    {
        int n = 0;
        const char* p = CodeDigits(n);
        if (!p || p >= m_e || *p != '\n')
            return NextGeneral();
        m_nLine = m_nNextLine;
        m_p = p + 1;
        ++m_nNextLine;
        m_nCode = n;
        return ReadValue();
    }

    int Code() const { return m_nCode; }
    /// The value with blanks trimmed at both ends.
    const char* Value() const { return m_pValue; }
    size_t ValueSize() const { return m_nValueSize; }
    std::string ValueString() const { return std::string(m_pValue, m_nValueSize); }
    bool ValueIs(const char* pText, size_t nLength) const
    {
        return m_nValueSize == nLength && std::memcmp(m_pValue, pText, nLength) == 0;
    }
    /// Bytes of text not read yet.
    size_t Remaining() const { return size_t(m_e - m_p); }
    /// Line of the current group code (1-based).
    unsigned Line() const { return m_nLine; }
    /// The value as a number; false when it is not one (or not finite).
    bool Double(double& f) const { return ParseDouble(m_pValue, m_pValue + m_nValueSize, f); }
    /// Text of a value (kept from an earlier group) as a number; false when it is not one.
    static bool ParseDouble(const char* p, const char* e, double& f);
    /// The value as an integer (a decimal point and what follows are tolerated).
    bool Int(int64_t& n) const
    {
        // Short plain integers, nearly all of them, without the general reader.
        const char* p = m_pValue;
        const char* e = p + m_nValueSize;
        if (e - p > 0 && e - p < 10)
        {
            const bool bNeg = *p == '-';
            const char* d = p + bNeg;
            int64_t v = 0;
            while (d < e && unsigned(*d - '0') <= 9)
                v = v * 10 + (*d++ - '0');
            if (d == e && d > p + bNeg)
            {
                n = bNeg ? -v : v;
                return true;
            }
        }
        return IntGeneral(n);
    }
    /// The bad code line after eBadCode, for the message (at most 40 characters).
    std::string BadCodeText() const { return m_strBad; }

private:
    static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\f' || c == '\v'; }
    /// The next line with blanks trimmed; false at the end of the text.
    bool NextLine(const char*& pBegin, const char*& pEnd)
    {
        if (m_p >= m_e)
            return false;
        const char* p = m_p;
        const char* q = EndOfLine(p);
        m_p = q < m_e ? q + 1 : m_e;
        ++m_nNextLine;
        while (p < q && IsBlank(*p))
            ++p;
        while (q > p && IsBlank(q[-1]))
            --q;
        pBegin = p;
        pEnd = q;
        return true;
    }
    /// Reads the code line's blanks and up to nine digits into n; what follows them, or null when
    /// there are no digits.
    const char* CodeDigits(int& n) const
    {
        const char* p = m_p;
        while (p < m_e && *p == ' ')
            ++p;
        const char* pDigits = p;
        n = 0;
        while (p < m_e && unsigned(*p - '0') <= 9 && p - pDigits < 9)
            n = n * 10 + (*p++ - '0');
        return p > pDigits ? p : nullptr;
    }
    /// The first line break from p on, or the end of the text. Lines of DXF are a few characters
    /// long: eight at a time in a word beats both a plain loop and a library search.
    const char* EndOfLine(const char* q) const
    {
#if defined(__GNUC__) && defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
        const uint64_t kOnes = 0x0101010101010101ull, kHigh = 0x8080808080808080ull;
        for (; m_e - q >= 8; q += 8)
        {
            uint64_t w;
            std::memcpy(&w, q, 8);
            w ^= kOnes * '\n';
            // The lowest high bit marks the first byte that was a line break.
            const uint64_t nZero = (w - kOnes) & ~w & kHigh;
            if (nZero)
                return q + (__builtin_ctzll(nZero) >> 3);
        }
#endif
        while (q < m_e && *q != '\n')
            ++q;
        return q;
    }
    /// The value line after a code.
    EResult ReadValue()
    {
        const char* b;
        const char* e;
        if (!NextLine(b, e))
            return eTruncated;
        m_pValue = b;
        m_nValueSize = size_t(e - b);
        return eGroup;
    }
    bool IntGeneral(int64_t& n) const;
    /// Next for code lines with blanks, CRs or signs, and for the end of the text.
    EResult NextGeneral();

    const char* m_p;
    const char* m_e;
    unsigned m_nNextLine = 1;
    unsigned m_nLine = 0;
    int m_nCode = 0;
    const char* m_pValue = nullptr;
    size_t m_nValueSize = 0;
    std::string m_strBad;
};
