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

    EResult Next();

    int Code() const { return m_nCode; }
    /// The value with blanks trimmed at both ends.
    const char* Value() const { return m_pValue; }
    size_t ValueSize() const { return m_nValueSize; }
    std::string ValueString() const { return std::string(m_pValue, m_nValueSize); }
    bool ValueIs(const char* pText, size_t nLength) const
    {
        return m_nValueSize == nLength && std::memcmp(m_pValue, pText, nLength) == 0;
    }
    /// Line of the current group code (1-based).
    unsigned Line() const { return m_nLine; }
    /// The value as a number; false when it is not one (or not finite).
    bool Double(double& f) const;
    /// The value as an integer (a decimal point and what follows are tolerated).
    bool Int(int64_t& n) const;
    /// The bad code line after eBadCode, for the message (at most 40 characters).
    std::string BadCodeText() const { return m_strBad; }

private:
    /// The next line with blanks trimmed; false at the end of the text.
    bool NextLine(const char*& pBegin, const char*& pEnd);

    const char* m_p;
    const char* m_e;
    unsigned m_nNextLine = 1;
    unsigned m_nLine = 0;
    int m_nCode = 0;
    const char* m_pValue = nullptr;
    size_t m_nValueSize = 0;
    std::string m_strBad;
};
