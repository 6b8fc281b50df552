#include "qel/util/QelTextScanner.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/platform/QelSimd.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <typeinfo>

#if QEL_SSE2
#  include <emmintrin.h>
#endif

namespace
{
// A line longer than this is cut and its rest read as the next line, so positions stay ints.
const size_t kMaxLineCapacity = size_t(1) << 30;

const char kCtrlZ = 0x1A;

// Character classes of the line reader.
enum : unsigned char
{
    eLineOther = 0,
    eLineEnd = 1,   // NUL, line feed, carriage return
    eLineBlank = 2, // blank, tab
};

struct LineClasses
{
    unsigned char a[256];
    LineClasses()
    {
        std::memset(a, eLineOther, sizeof(a));
        a[0] = a[static_cast<unsigned char>('\n')] = a[static_cast<unsigned char>('\r')] = eLineEnd;
        a[static_cast<unsigned char>(' ')] = a[static_cast<unsigned char>('\t')] = eLineBlank;
    }
};
const LineClasses s_lineClasses;

// Bits of the word reader's stop table.
enum : unsigned char
{
    eStopDelimiter = 1,
    eStopComma = 2,
    eStopEnd = 4,
};

inline unsigned char UC(char c) { return static_cast<unsigned char>(c); }

/// A line buffer of the given capacity with the scan slack behind it, zeroed.
inline char* AllocLine(size_t nCapacity, size_t nSlack)
{
    return new (std::nothrow) char[nCapacity + nSlack]();
}

#if QEL_SSE2
inline int CountTrailingZeros(unsigned nMask)
{
#  if defined(__GNUC__)
    return __builtin_ctz(nMask);
#  else
    int n = 0;
    while (!(nMask & 1u))
    {
        nMask >>= 1;
        ++n;
    }
    return n;
#  endif
}
#endif

/// Offset of the first NUL, line feed or carriage return in [p, pEnd), or pEnd - p. Up to 15 bytes
/// past pEnd may be read.
inline size_t FindLineEnd(const char* p, const char* pEnd, const unsigned char* pClass)
{
    const char* pStart = p;
#if QEL_SSE2
    const __m128i vZero = _mm_setzero_si128(), vLF = _mm_set1_epi8('\n'), vCR = _mm_set1_epi8('\r');
    while (p < pEnd)
    {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        __m128i m = _mm_or_si128(_mm_cmpeq_epi8(v, vZero), _mm_or_si128(_mm_cmpeq_epi8(v, vLF), _mm_cmpeq_epi8(v, vCR)));
        unsigned nMask = unsigned(_mm_movemask_epi8(m));
        if (nMask)
        {
            p += CountTrailingZeros(nMask);
            return size_t((p < pEnd ? p : pEnd) - pStart);
        }
        p += 16;
    }
    return size_t(pEnd - pStart);
#else
    while (p < pEnd && pClass[static_cast<unsigned char>(*p)] != eLineEnd)
        ++p;
    return size_t(p - pStart);
#endif
    (void)pClass;
}

/// Length of the word at p: up to the first NUL, tab, line feed, carriage return, blank (when
/// delimiting) or comma (when delimiting), looking at no more than 1040 bytes of it. Reads in
/// 16-byte steps, never past 15 bytes beyond the line's terminator.
inline int FindWordEnd(const char* p, bool bSpace, bool bComma, const unsigned char* pStop)
{
    int n = 0;
#if QEL_SSE2
    const __m128i vZero = _mm_setzero_si128(), vTab = _mm_set1_epi8('\t'), vLF = _mm_set1_epi8('\n'),
                  vCR = _mm_set1_epi8('\r'), vSpace = _mm_set1_epi8(bSpace ? ' ' : '\0'),
                  vComma = _mm_set1_epi8(bComma ? ',' : '\0');
    for (;;)
    {
        __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + n));
        __m128i m = _mm_or_si128(_mm_or_si128(_mm_cmpeq_epi8(v, vZero), _mm_cmpeq_epi8(v, vTab)),
                                 _mm_or_si128(_mm_cmpeq_epi8(v, vLF), _mm_cmpeq_epi8(v, vCR)));
        m = _mm_or_si128(m, _mm_or_si128(_mm_cmpeq_epi8(v, vSpace), _mm_cmpeq_epi8(v, vComma)));
        unsigned nMask = unsigned(_mm_movemask_epi8(m));
        if (nMask)
            return n + CountTrailingZeros(nMask);
        n += 16;
        if (n > 1024)
            return n;
    }
    (void)pStop;
#else
    (void)bSpace;
    (void)bComma;
    while (n <= 1024 && !pStop[static_cast<unsigned char>(p[n])])
        ++n;
    return n;
#endif
}

inline int ClampToInt(long long n) { return n > INT_MAX ? INT_MAX : static_cast<int>(n); }

inline bool IsHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

inline bool ColorWord(const char* pWord, int nLength)
{
    if (!pWord || (nLength != 7 && nLength != 9) || pWord[0] != '#')
        return false;
    for (int i = 1; i < nLength; ++i)
        if (!IsHex(pWord[i]))
            return false;
    return true;
}

inline bool StringWord(const char* pWord, int nLength)
{
    if (!pWord || nLength < 1)
        return false;
    char c = pWord[0];
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

inline bool IntWord(const char* pWord, int nLength)
{
    if (!pWord || nLength < 1)
        return false;
    int i = pWord[0] == '-' ? 1 : 0;
    if (i == nLength)
        return false;
    for (; i < nLength; ++i)
        if (pWord[i] < '0' || pWord[i] > '9')
            return false;
    return true;
}

#if QEL_SSE2
/// Tables of the word classification: a word's type follows from the class of its first
/// character, its length and whether the rest is all decimal or all hexadecimal digits.
struct TypeTables
{
    enum
    {
        eFirstOther = 0,
        eFirstDigit = 1,
        eFirstMinus = 2,
        eFirstHash = 3,
        eFirstLetter = 4,
        eLengthEmpty = 0 << 3,
        eLengthOne = 1 << 3,
        eLengthColor = 2 << 3, // 7 or 9
        eLengthOther = 3 << 3,
        eRestDigits = 1 << 5,
        eRestHex = 1 << 6,
        eIntsAsFloats = 1 << 7,
    };
    unsigned char aFirst[256];
    unsigned char aLength[17];
    unsigned short aRest[17]; // the bits of a word's characters after the first
    unsigned char aType[256];

    constexpr TypeTables() : aFirst{}, aLength{}, aRest{}, aType{}
    {
        for (int c = 0; c < 256; ++c)
        {
            unsigned char n = eFirstOther;
            if (c >= '0' && c <= '9')
                n = eFirstDigit;
            else if (c == '-')
                n = eFirstMinus;
            else if (c == '#')
                n = eFirstHash;
            else if ((c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))
                n = eFirstLetter;
            aFirst[c] = n;
        }
        for (int n = 0; n <= 16; ++n)
            aRest[n] = n > 1 ? static_cast<unsigned short>(((1u << n) - 1u) & ~1u) : 0;
        for (int n = 0; n <= 16; ++n)
            aLength[n] = n == 0 ? eLengthEmpty : n == 1 ? eLengthOne : (n == 7 || n == 9) ? eLengthColor : eLengthOther;
        for (int i = 0; i < 256; ++i)
        {
            const int nFirst = i & 7, nLength = i & (3 << 3);
            unsigned char eType = eDataReal;
            if (nFirst == eFirstHash && nLength == eLengthColor && (i & eRestHex))
                eType = eDataColor;
            else if (nLength == eLengthEmpty || nFirst == eFirstLetter)
                eType = eDataString;
            else if (i & eIntsAsFloats)
                eType = eDataReal;
            else if ((i & eRestDigits) && (nFirst == eFirstDigit || (nFirst == eFirstMinus && nLength != eLengthOne)))
                eType = eDataInteger;
            aType[i] = eType;
        }
    }
};
constexpr TypeTables s_typeTables;
#endif

/// The type of the nLength characters at pWord, with at least 16 bytes readable there.
inline QelDataType Classify(const char* pWord, int nLength, bool bIntsAsFloats)
{
    const char c = pWord[0];
#if QEL_SSE2
    if (nLength <= 16)
    {
        // One mask per character class over the whole word instead of a loop per character, and
        // the type looked up instead of picked by branches: word types come in no order a
        // predictor could learn. A byte is in a range when its distance from the range's start,
        // taken unsigned, is no larger than the range.
        const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pWord));
        const __m128i vDigit = _mm_sub_epi8(v, _mm_set1_epi8('0'));
        const __m128i vHexLetter = _mm_sub_epi8(_mm_or_si128(v, _mm_set1_epi8(0x20)), _mm_set1_epi8('a'));
        const unsigned nDigits =
            unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_min_epu8(vDigit, _mm_set1_epi8(9)), vDigit)));
        const unsigned nHex = nDigits | unsigned(_mm_movemask_epi8(
                                            _mm_cmpeq_epi8(_mm_min_epu8(vHexLetter, _mm_set1_epi8(5)), vHexLetter)));
        // The characters after the first that are no digit, and no hexadecimal digit; a count
        // minus one has its top bit set exactly when the count was 0.
        const unsigned nRest = s_typeTables.aRest[nLength];
        const unsigned nNonDigits = nRest & ~nDigits, nNonHex = nRest & ~nHex;
        const unsigned nIndex = s_typeTables.aFirst[UC(c)] | s_typeTables.aLength[nLength] |
                                ((nNonDigits - 1u) >> 26 & TypeTables::eRestDigits) |
                                ((nNonHex - 1u) >> 25 & TypeTables::eRestHex) | unsigned(bIntsAsFloats) << 7;
        return QelDataType(s_typeTables.aType[nIndex]);
    }
#endif
    if (c == '#')
        return ColorWord(pWord, nLength) ? eDataColor : eDataReal;
    if (nLength == 0 || StringWord(pWord, nLength))
        return eDataString;
    if (bIntsAsFloats)
        return eDataReal;
    return IntWord(pWord, nLength) ? eDataInteger : eDataReal;
}

#if QEL_SSE2
/// Bit masks of the 16 bytes at p within a line: delimiters (tab, and the blank when it
/// delimits; a line holds no line feed or carriage return), commas (when they delimit) and NULs.
inline void WindowMasks(const char* p, bool bSpace, bool bComma, unsigned& nDelimiters, unsigned& nCommas,
                        unsigned& nEnds)
{
    // The switches mask the bits rather than pick the patterns, which keeps the patterns
    // constants of the code.
    const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    nDelimiters = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8('\t')))) |
                  (unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(' ')))) & (0u - unsigned(bSpace)));
    nCommas = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_set1_epi8(',')))) & (0u - unsigned(bComma));
    nEnds = unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())));
}
#endif
} // namespace

QelTextScanner::QelTextScanner()
    : m_pFile(nullptr), m_pStreamBuffer(nullptr), m_pMemory(nullptr), m_nMemorySize(0), m_nRawPos(0), m_bSourceEnded(true),
      m_bNulReported(false), m_nWordCuts(0), m_nLineCuts(0), m_nBlockBytes(0), m_nBlockPos(0), m_pBlock(nullptr),
      m_pLinePos(nullptr),
      m_bLineBlank(true), m_nBytesRead(-1), m_nCharsProcessed(-1), m_nLineNum(-1),
      m_pLineBuffer(AllocLine(eInitialLineCapacity, eScanSlack)), m_nLineCapacity(0), m_nWordLength(0),
      m_bReadIntsAsFloats(false), m_bCommaDelimiter(true), m_bSpaceDelimiter(false),
      m_bQuotesDelimitStrings(false), m_nUseTable(-1)
{
    if (m_pLineBuffer)
        m_nLineCapacity = eInitialLineCapacity;
    std::memset(m_szBlock, 0, sizeof(m_szBlock));
    m_szWord[0] = m_szWord[eMaxWordSize] = '\0';
    BuildStopTable();
}

QelTextScanner::QelTextScanner(const QelTextScanner& other)
    : m_pFile(nullptr), m_pStreamBuffer(nullptr), m_pMemory(nullptr), m_nMemorySize(0), m_pLineBuffer(nullptr),
      m_nLineCapacity(0)
{
    CopyFrom(other);
}

QelTextScanner& QelTextScanner::operator=(const QelTextScanner& other)
{
    if (this != &other)
    {
        if (m_pFile)
            std::fclose(m_pFile);
        m_pFile = nullptr;
        delete[] m_pStreamBuffer;
        m_pStreamBuffer = nullptr;
        CopyFrom(other);
    }
    return *this;
}

QelTextScanner::~QelTextScanner()
{
    ReportRepeats();
    if (m_pFile)
        std::fclose(m_pFile);
    delete[] m_pStreamBuffer;
    delete[] m_pLineBuffer;
}

void QelTextScanner::AttachStreamBuffer(std::FILE* pFile)
{
    // Blocks stay 4096 bytes; the larger stream buffer only saves system calls. The stream takes
    // its own default buffer when this one cannot be had.
    if (!m_pStreamBuffer)
        m_pStreamBuffer = new (std::nothrow) char[eStreamBufferSize];
    if (m_pStreamBuffer)
        std::setvbuf(pFile, m_pStreamBuffer, _IOFBF, eStreamBufferSize);
}

void QelTextScanner::CopyFrom(const QelTextScanner& other)
{
    // Own line buffer, sized like the source's so that the current line fits.
    size_t nLineLength = other.m_pLineBuffer ? std::strlen(other.m_pLineBuffer) : 0;
    if (m_nLineCapacity < other.m_nLineCapacity || !m_pLineBuffer)
    {
        char* p = AllocLine(other.m_nLineCapacity ? other.m_nLineCapacity : 1, eScanSlack);
        if (p)
        {
            delete[] m_pLineBuffer;
            m_pLineBuffer = p;
            m_nLineCapacity = other.m_nLineCapacity ? other.m_nLineCapacity : 1;
        }
    }
    if (m_pLineBuffer)
    {
        if (nLineLength >= m_nLineCapacity)
            nLineLength = m_nLineCapacity - 1;
        if (nLineLength)
            std::memcpy(m_pLineBuffer, other.m_pLineBuffer, nLineLength);
        m_pLineBuffer[nLineLength] = '\0';
    }
    m_pLinePos = nullptr;
    if (other.m_pLinePos && m_pLineBuffer)
    {
        size_t nOffset = size_t(other.m_pLinePos - other.m_pLineBuffer);
        m_pLinePos = m_pLineBuffer + (nOffset <= nLineLength ? nOffset : nLineLength);
    }

    std::memcpy(m_szBlock, other.m_szBlock, sizeof(m_szBlock));
    std::memcpy(m_szWord, other.m_szWord, sizeof(m_szWord));
    std::memcpy(m_aStop, other.m_aStop, sizeof(m_aStop));
    m_nWordLength = other.m_nWordLength;
    m_nBlockBytes = other.m_nBlockBytes;
    m_nBlockPos = other.m_nBlockPos;
    m_pBlock = other.m_pBlock ? m_szBlock : nullptr;
    m_bLineBlank = other.m_bLineBlank;
    m_nBytesRead = other.m_nBytesRead;
    m_nCharsProcessed = other.m_nCharsProcessed;
    m_nLineNum = other.m_nLineNum;
    m_bReadIntsAsFloats = other.m_bReadIntsAsFloats;
    m_bCommaDelimiter = other.m_bCommaDelimiter;
    m_bSpaceDelimiter = other.m_bSpaceDelimiter;
    m_bQuotesDelimitStrings = other.m_bQuotesDelimitStrings;
    m_nUseTable = -1;

    // The source: a memory block is shared (the caller owns it); a file is reopened at the same
    // raw position so that each scanner closes only its own stream.
    m_strPath = other.m_strPath;
    m_pMemory = other.m_pMemory;
    m_nMemorySize = other.m_nMemorySize;
    m_nRawPos = other.m_nRawPos;
    m_bSourceEnded = other.m_bSourceEnded;
    m_bNulReported = other.m_bNulReported;
    m_nWordCuts = other.m_nWordCuts;
    m_nLineCuts = other.m_nLineCuts;
    m_pFile = nullptr;
    if (other.m_pFile)
    {
        m_pFile = std::fopen(m_strPath.c_str(), "rb");
        if (m_pFile)
            AttachStreamBuffer(m_pFile);
        if (m_pFile && !m_bSourceEnded && std::fseek(m_pFile, long(m_nRawPos), SEEK_SET) != 0)
        {
            std::fclose(m_pFile);
            m_pFile = nullptr;
        }
        if (!m_pFile)
        {
            QelSysApp::App().PrintToConsole("<warning> QelTextScanner - a copy cannot reopen \"%s\": %s\n",
                                            m_strPath.c_str(), std::strerror(errno));
            m_bSourceEnded = true;
        }
    }
}

bool QelTextScanner::IsDelimiter(char c)
{
    return (c == ' ' && m_bSpaceDelimiter) || c == '\t' || c == '\n' || c == '\r';
}

void QelTextScanner::SetCommaDelimiter(bool bOn)
{
    m_bCommaDelimiter = bOn;
    BuildStopTable();
}

void QelTextScanner::SetSpaceDelimiter(bool bOn)
{
    m_bSpaceDelimiter = bOn;
    BuildStopTable();
}

void QelTextScanner::BuildStopTable()
{
    std::memset(m_aStop, 0, sizeof(m_aStop));
    m_aStop[0] = eStopEnd;
    m_aStop[UC('\t')] = m_aStop[UC('\n')] = m_aStop[UC('\r')] = eStopDelimiter;
    if (m_bSpaceDelimiter)
        m_aStop[UC(' ')] = eStopDelimiter;
    if (m_bCommaDelimiter)
        m_aStop[UC(',')] = eStopComma;
}

void QelTextScanner::ResetState()
{
    m_nRawPos = 0;
    m_bSourceEnded = false;
    m_bNulReported = false;
    m_nWordCuts = 0;
    m_nLineCuts = 0;
    m_nBlockBytes = 0;
    m_nBlockPos = 0;
    m_pBlock = nullptr;
    m_pLinePos = nullptr;
    m_bLineBlank = true;
    m_nBytesRead = 0;
    m_nCharsProcessed = 0;
    m_nLineNum = 0;
}

bool QelTextScanner::Open(const char* pPath)
{
    if (m_pLineBuffer)
        m_pLineBuffer[0] = '\0';
    m_pLinePos = nullptr;
    if (!pPath || !*pPath)
    {
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::Open() - no file name given\n");
        return false;
    }
    Close();
    std::FILE* pFile = std::fopen(pPath, "rb");
    if (!pFile)
    {
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::Open() - cannot open \"%s\": %s\n",
                                        QelQuoteInput(pPath, std::strlen(pPath)).c_str(), std::strerror(errno));
        return false;
    }
    AttachStreamBuffer(pFile);
    // A directory opens as a stream on some systems and only fails when read.
    int c = std::getc(pFile);
    if (c == EOF && std::ferror(pFile))
    {
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::Open() - cannot read \"%s\": %s\n",
                                        QelQuoteInput(pPath, std::strlen(pPath)).c_str(), std::strerror(errno));
        std::fclose(pFile);
        return false;
    }
    if (c != EOF)
        std::ungetc(c, pFile);
    m_pFile = pFile;
    m_strPath = pPath;
    ResetState();
    return true;
}

bool QelTextScanner::OpenBuffer(const char* pData, size_t nSize)
{
    if (m_pLineBuffer)
        m_pLineBuffer[0] = '\0';
    m_pLinePos = nullptr;
    if (!pData && nSize)
    {
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::OpenBuffer() - no data for %zu bytes\n", nSize);
        return false;
    }
    Close();
    static const char s_empty = '\0';
    m_pMemory = pData ? pData : &s_empty;
    m_nMemorySize = nSize;
    m_strPath = "<memory>";
    ResetState();
    return true;
}

void QelTextScanner::ReportWordCut()
{
    if (m_nWordCuts++ == 0)
        QelSysApp::App().PrintToConsole("<warning> Max word size of %d reached\n", int(eMaxWordSize));
}

void QelTextScanner::ReportRepeats()
{
    // A 1 GB line would otherwise write a million warnings.
    if (m_nWordCuts > 1)
        QelSysApp::App().PrintToConsole("<warning> Max word size of %d reached %lld times in \"%s\"\n",
                                        int(eMaxWordSize), m_nWordCuts, QelQuoteInput(m_strPath).c_str());
    if (m_nLineCuts > 1)
        QelSysApp::App().PrintToConsole("<warning> QelTextScanner - %lld lines of \"%s\" were cut\n", m_nLineCuts,
                                        QelQuoteInput(m_strPath).c_str());
    m_nWordCuts = m_nLineCuts = 0;
}

bool QelTextScanner::Close()
{
    ReportRepeats();
    bool bClosed = false;
    if (m_pFile)
    {
        bClosed = std::fclose(m_pFile) == 0;
        m_pFile = nullptr;
        delete[] m_pStreamBuffer;
        m_pStreamBuffer = nullptr;
    }
    else if (m_pMemory)
        bClosed = true;
    m_pMemory = nullptr;
    m_nMemorySize = 0;
    m_bSourceEnded = true;
    m_pBlock = nullptr;
    m_nBlockBytes = m_nBlockPos = 0;
    return bClosed;
}

size_t QelTextScanner::ReadRaw(char* pDest, size_t nMax)
{
    size_t n = 0;
    if (m_pFile)
    {
        n = std::fread(pDest, 1, nMax, m_pFile);
        if (n < nMax && std::ferror(m_pFile))
        {
            QelSysApp::App().PrintToConsole("<error> QelTextScanner - cannot read \"%s\" after %lld bytes: %s\n",
                                            m_strPath.c_str(), m_nRawPos + static_cast<long long>(n),
                                            std::strerror(errno));
            m_bSourceEnded = true;
        }
    }
    else if (m_pMemory)
    {
        size_t nLeft = m_nMemorySize - size_t(m_nRawPos);
        n = nLeft < nMax ? nLeft : nMax;
        std::memcpy(pDest, m_pMemory + m_nRawPos, n);
    }
    m_nRawPos += static_cast<long long>(n);
    return n;
}

int QelTextScanner::PeekRaw()
{
    if (m_bSourceEnded)
        return EOF;
    if (m_pFile)
    {
        int c = std::getc(m_pFile);
        if (c != EOF)
            std::ungetc(c, m_pFile);
        return c;
    }
    if (m_pMemory && size_t(m_nRawPos) < m_nMemorySize)
        return UC(m_pMemory[m_nRawPos]);
    return EOF;
}

size_t QelTextScanner::Translate(char* pData, size_t nCount)
{
    // Deliberately what a Windows text-mode stream delivers: Ctrl-Z ends the file and a carriage
    // return before a line feed is dropped, so files written on Windows scan alike everywhere.
    if (const void* pZ = std::memchr(pData, kCtrlZ, nCount))
    {
        nCount = size_t(static_cast<const char*>(pZ) - pData);
        m_bSourceEnded = true;
    }
    char* pCR = static_cast<char*>(std::memchr(pData, '\r', nCount));
    if (!pCR)
        return nCount;
    char* pWrite = pCR;
    const char* pRead = pCR;
    const char* pEnd = pData + nCount;
    while (pRead < pEnd)
    {
        char c = *pRead++;
        if (c == '\r')
        {
            if (pRead < pEnd)
            {
                if (*pRead == '\n')
                    continue; // the line feed is copied next
            }
            else if (PeekRaw() == '\n')
            {
                char cLF;
                ReadRaw(&cLF, 1);
                c = '\n';
            }
        }
        *pWrite++ = c;
    }
    return size_t(pWrite - pData);
}

const char* QelTextScanner::ReadBlock(int& nCount)
{
    nCount = 0;
    while (nCount < eBlockSize && !m_bSourceEnded && (m_pFile || m_pMemory))
    {
        size_t nRaw = ReadRaw(m_szBlock + nCount, size_t(eBlockSize - nCount));
        if (nRaw == 0)
        {
            m_bSourceEnded = true;
            break;
        }
        nCount += int(Translate(m_szBlock + nCount, nRaw));
    }
    m_szBlock[nCount] = '\0';
    m_nBlockBytes = nCount;
    m_nBlockPos = 0;
    m_pBlock = nCount > 0 ? m_szBlock : nullptr;
    if (m_nBytesRead < 0)
        m_nBytesRead = 0;
    m_nBytesRead += nCount;
    return m_pBlock;
}

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

int QelTextScanner::LineNum() const { return ClampToInt(m_nLineNum); }

int QelTextScanner::BytesRead() const { return ClampToInt(m_nBytesRead); }

int QelTextScanner::CharsProcessed() const { return ClampToInt(m_nCharsProcessed); }
