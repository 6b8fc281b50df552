// QelTextScanner: lines assembled from the blocks.

#include "qel/util/QelTextScanner.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/util/detail/QelTextScanChars.h"

using namespace QelTextScanDetail;

bool QelTextScanner::GrowLine(size_t nNeeded)
{
    if (nNeeded <= m_nLineCapacity)
        return true;
    size_t nCapacity = m_nLineCapacity ? m_nLineCapacity : size_t(eInitialLineCapacity);
    while (nCapacity < nNeeded && nCapacity < kMaxLineCapacity)
        nCapacity *= 2;
    if (nCapacity < nNeeded)
        return false;
    char* p = AllocLine(nCapacity, eScanSlack);
    if (!p)
        return false;
    if (m_pLineBuffer)
    {
        std::memcpy(p, m_pLineBuffer, m_nLineCapacity);
        delete[] m_pLineBuffer;
    }
    m_pLineBuffer = p;
    m_nLineCapacity = nCapacity;
    return true;
}

const char* QelTextScanner::NextLine()
{
    if (!m_pFile && !m_pMemory)
        return nullptr;
    m_bLineBlank = true;
    m_pLinePos = nullptr;
    const unsigned char* pClass = s_lineClasses.a;
#if QEL_SSE2
    if (m_pBlock && m_pLineBuffer)
    {
        // Mostly the whole line lies in the current block and fits the line buffer: it is copied
        // 16 bytes at a time while its end is sought, the last step into the buffer's slack.
        const char* pStart = m_pBlock + m_nBlockPos;
        char* const pLine = m_pLineBuffer; // a local, which the stores below cannot change
        const size_t nAvailable = size_t(m_nBlockBytes - m_nBlockPos);
        const size_t nScan = nAvailable < m_nLineCapacity ? nAvailable : m_nLineCapacity;
        const __m128i vZero = _mm_setzero_si128(), vLF = _mm_set1_epi8('\n'), vCR = _mm_set1_epi8('\r');
        for (size_t nOffset = 0; nOffset < nScan; nOffset += 16)
        {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pStart + nOffset));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(pLine + nOffset), v);
            const unsigned nMask = unsigned(_mm_movemask_epi8(
                _mm_or_si128(_mm_cmpeq_epi8(v, vZero), _mm_or_si128(_mm_cmpeq_epi8(v, vLF), _mm_cmpeq_epi8(v, vCR)))));
            if (!nMask)
                continue;
            const size_t nLength = nOffset + CountTrailingZeros(nMask);
            if (nLength >= nScan)
                break;
            const char* p = pStart;
            while (pClass[UC(*p)] == eLineBlank) // stops at the line's end at the latest
                ++p;
            if (pClass[UC(*p)] == eLineOther)
                m_bLineBlank = false;
            if (pStart[nLength] == '\0' && !m_bNulReported)
            {
                m_bNulReported = true;
                QelSysApp::App().PrintToConsole("<warning> QelTextScanner - NUL byte on line %lld of \"%s\" ends the line\n",
                                                m_nLineNum + 1, m_strPath.c_str());
            }
            m_nBlockPos += int(nLength + 1);
            if (m_nBlockPos >= m_nBlockBytes)
                m_pBlock = nullptr;
            pLine[nLength] = '\0';
            ++m_nLineNum;
            m_pLinePos = pLine;
            return pLine;
        }
    }
#endif
    size_t nLength = 0;
    bool bEnded = false;
    for (;;)
    {
        if (!m_pBlock)
        {
            int nCount;
            if (!ReadBlock(nCount))
                break;
        }
        const char* pStart = m_pBlock + m_nBlockPos;
        const char* pEnd = m_pBlock + m_nBlockBytes;
        const char* p = pStart;
        if (m_bLineBlank)
        {
            while (p < pEnd && pClass[UC(*p)] == eLineBlank)
                ++p;
            if (p < pEnd && pClass[UC(*p)] == eLineOther)
                m_bLineBlank = false;
        }
        p += FindLineEnd(p, pEnd, pClass);

        size_t nTake = size_t(p - pStart);
        bool bCut = false;
        if (!GrowLine(nLength + nTake + 1))
        {
            // Out of memory or past the longest line: what fits ends this line.
            size_t nFits = m_nLineCapacity > nLength + 1 ? m_nLineCapacity - nLength - 1 : 0;
            nTake = nTake < nFits ? nTake : nFits;
            bCut = true;
            if (m_nLineCuts++ == 0)
                QelSysApp::App().PrintToConsole(
                    "<warning> QelTextScanner - line %lld of \"%s\" is cut after %zu bytes; the rest is read as the "
                    "next line\n",
                    m_nLineNum + 1, QelQuoteInput(m_strPath).c_str(), nLength + nTake);
        }
        if (m_pLineBuffer && nTake)
            std::memcpy(m_pLineBuffer + nLength, pStart, nTake);
        nLength += nTake;
        if (bCut)
        {
            m_nBlockPos += int(nTake);
            bEnded = true;
            break;
        }
        if (p < pEnd)
        {
            if (*p == '\0' && !m_bNulReported)
            {
                m_bNulReported = true;
                QelSysApp::App().PrintToConsole("<warning> QelTextScanner - NUL byte on line %lld of \"%s\" ends the line\n",
                                                m_nLineNum + 1, m_strPath.c_str());
            }
            m_nBlockPos = int(p + 1 - m_pBlock);
            if (m_nBlockPos >= m_nBlockBytes)
                m_pBlock = nullptr;
            bEnded = true;
            break;
        }
        m_pBlock = nullptr;
    }
    if (!m_pLineBuffer)
        return nullptr;
    m_pLineBuffer[nLength] = '\0';
    if (!bEnded && nLength == 0)
        return nullptr;
    ++m_nLineNum;
    m_pLinePos = m_pLineBuffer;
    return m_pLineBuffer;
}

const char* QelTextScanner::CurrentLine()
{
    return m_pLineBuffer ? m_pLineBuffer : "";
}
