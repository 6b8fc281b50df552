// QelTextScanner: words split from the current line, and their classification.

#include "qel/util/QelTextScanner.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/util/detail/QelTextScanChars.h"

#include <typeinfo>

using namespace QelTextScanDetail;

// The hot path is written with inline members and local helpers: the exported members of a shared
// library are called through the symbol table and are never inlined.

inline bool QelTextScanner::UseTable()
{
    // Known only once construction is over; an override of IsDelimiter is honoured character by
    // character, the default set goes through the table.
    if (m_nUseTable < 0)
        m_nUseTable = typeid(*this) == typeid(QelTextScanner) ? 1 : 0;
    return m_nUseTable == 1;
}

inline const char* QelTextScanner::SkipDelimiters(const char* p, bool bSkipComma)
{
    if (UseTable())
    {
        const unsigned char* pStop = m_aStop;
        while (pStop[UC(*p)] == eStopDelimiter)
            ++p;
        if (bSkipComma && *p == ',')
        {
            ++p;
            while (pStop[UC(*p)] == eStopDelimiter)
                ++p;
        }
        return p;
    }
    while (*p && IsDelimiter(*p))
        ++p;
    if (bSkipComma && *p == ',')
    {
        ++p;
        while (*p && IsDelimiter(*p))
            ++p;
    }
    return p;
}

void QelTextScanner::SkipWhiteSpace(bool bSkipComma)
{
    if (m_pLinePos)
        m_pLinePos = const_cast<char*>(SkipDelimiters(m_pLinePos, bSkipComma));
}

void QelTextScanner::ReadQuoteDelimitedString()
{
    const char* p = m_pLinePos + 1;
    int n = 0;
    while (n < eMaxWordSize && *p && *p != '"')
        m_szWord[n++] = *p++;
    m_szWord[n] = '\0';
    m_nWordLength = n;
    if (*p == '"')
        ++p;
    else if (*p)
        ReportWordCut();
    else
        QelSysApp::App().PrintToConsole("<warning> string \"%s\" on line %d missing closing double quotes\n",
                                        QelQuoteInput(m_szWord, size_t(n)).c_str(), LineNum());
    m_pLinePos = const_cast<char*>(p);
}

#if QEL_SSE2
inline const char* QelTextScanner::LineWord(QelDataType& eType, bool bClassify)
{
    // The default delimiters and no quoted strings: the common case, kept short and without
    // branches on the text, whose outcome no predictor could learn: one look at the next 16
    // bytes finds the word, a comma before it and the delimiters after it. Anything unusual
    // is left to the general reader, which starts again from the same position.
    const char* pStart = m_pLinePos;
    unsigned nDelimiters, nCommas, nEnds;
    WindowMasks(pStart, m_bSpaceDelimiter, m_bCommaDelimiter, nDelimiters, nCommas, nEnds);
    const unsigned nComma = nCommas & 1u;
    // A delimiter or the end at the start or after the comma, or a leading comma of the line.
    const unsigned nUnusual =
        ((nDelimiters | nEnds) & (1u | nComma << 1)) | (nComma & unsigned(pStart == m_pLineBuffer));
    // The word ends at the first stop after its first byte, or after the comma.
    const unsigned nEnd = CountTrailingZeros((nDelimiters | nCommas | nEnds | 0x10000u) & ~1u);
    if (!nUnusual && nEnd < 16)
    {
        const char* pWord = pStart + nComma;
        const int n = int(nEnd - nComma);
        std::memcpy(m_szWord, pWord, 32); // one fixed-size move; the slack keeps it inside the line
        m_szWord[n] = '\0';
        m_nWordLength = n;
        const unsigned nNext = nEnd + CountTrailingZeros(~(nDelimiters >> nEnd)); // 16 at most
        const char* p = pStart + nNext;
        if (nNext == 16)
        {
            while (m_aStop[UC(*p)] == eStopDelimiter)
                ++p;
        }
        m_pLinePos = const_cast<char*>(p);
        m_nCharsProcessed += p - pStart;
        // Classified last, from the line: few values are still needed then.
        if (bClassify)
            eType = Classify(pWord, n, m_bReadIntsAsFloats);
        return m_szWord;
    }
    return ReadWord(eType, bClassify);
}
#endif

const char* QelTextScanner::NextWord(QelDataType& eType, bool bAcrossLines, bool bClassify)
{
#if QEL_SSE2
    // The next line is read by another function, so that this common path calls none and needs no
    // frame of its own.
    const char* pPos = m_pLinePos;
    if (pPos && *pPos && m_nUseTable == 1 && !m_bQuotesDelimitStrings)
        return LineWord(eType, bClassify);
#endif
    return WordOfNextLine(eType, bAcrossLines, bClassify);
}

const char* QelTextScanner::WordOfNextLine(QelDataType& eType, bool bAcrossLines, bool bClassify)
{
    if (!m_pLinePos || !*m_pLinePos)
    {
        if (!bAcrossLines || !NextLine())
            return nullptr;
        // The first word of the next line is always classified; an empty line gives an empty word,
        // so that null means the end of the file.
        bClassify = true;
    }
#if QEL_SSE2
    if (m_nUseTable == 1 && !m_bQuotesDelimitStrings)
        return LineWord(eType, bClassify);
#endif
    return ReadWord(eType, bClassify);
}

const char* QelTextScanner::ReadWord(QelDataType& eType, bool bClassify)
{
    const char* pStart = m_pLinePos;
    if (m_bCommaDelimiter && pStart == m_pLineBuffer && *pStart == ',')
    {
        // A leading comma is an empty first field.
        ++m_pLinePos;
        m_szWord[0] = '\0';
        m_nWordLength = 0;
        eType = eDataString;
        return m_szWord;
    }
    const char* p = SkipDelimiters(pStart, m_bCommaDelimiter);
    m_pLinePos = const_cast<char*>(p);
    if (!*p)
    {
        m_szWord[0] = '\0';
        m_nWordLength = 0;
        eType = eDataString;
        return m_szWord;
    }
    if (m_bQuotesDelimitStrings && *p == '"')
    {
        ReadQuoteDelimitedString();
        eType = eDataString;
        p = m_pLinePos;
    }
    else
    {
        // Find the end first (one character past the longest word at most), then copy at once.
        int n = UseTable() ? FindWordEnd(p, m_bSpaceDelimiter, m_bCommaDelimiter, m_aStop) : 0;
        if (!UseTable())
        {
            while (n <= eMaxWordSize && p[n] && !IsDelimiter(p[n]) && !(m_bCommaDelimiter && p[n] == ','))
                ++n;
        }
        if (n > eMaxWordSize)
        {
            n = eMaxWordSize;
            ReportWordCut();
        }
        // Classified from the line before the word is stored: the 16 bytes just searched are
        // still at hand, and a load over fresh stores would stall.
        if (bClassify)
            eType = Classify(p, n, m_bReadIntsAsFloats);
        if (n <= 32)
            std::memcpy(m_szWord, p, 32); // one fixed-size move; the slack keeps it inside the line
        else
            std::memcpy(m_szWord, p, size_t(n));
        m_szWord[n] = '\0';
        m_nWordLength = n;
        p += n;
    }
    p = SkipDelimiters(p, false);
    m_pLinePos = const_cast<char*>(p);
    m_nCharsProcessed += p - pStart;
    return m_szWord;
}

const char* QelTextScanner::NextWord(bool bAcrossLines)
{
    QelDataType eType = eDataString;
    return NextWord(eType, bAcrossLines, false);
}

bool QelTextScanner::IsColor(const char* pWord, int nLength) { return ColorWord(pWord, nLength); }

bool QelTextScanner::IsString(const char* pWord, int nLength) { return StringWord(pWord, nLength); }

bool QelTextScanner::IsInt(const char* pWord, int nLength) { return IntWord(pWord, nLength); }
