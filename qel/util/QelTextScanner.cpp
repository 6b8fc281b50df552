#include "qel/util/QelTextScanner.h"

#include "qel/framework/QelSysApp.h"

#include <cerrno>
#include <climits>
#include <cstring>
#include <new>
#include <typeinfo>

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

inline int ClampToInt(long long n) { return n > INT_MAX ? INT_MAX : static_cast<int>(n); }

inline bool IsHex(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}
} // namespace

QelTextScanner::QelTextScanner()
    : m_pFile(nullptr), m_pMemory(nullptr), m_nMemorySize(0), m_nRawPos(0), m_bSourceEnded(true),
      m_bNulReported(false), m_nBlockBytes(0), m_nBlockPos(0), m_pBlock(nullptr), m_pLinePos(nullptr),
      m_bLineBlank(true), m_nBytesRead(-1), m_nCharsProcessed(-1), m_nLineNum(-1),
      m_pLineBuffer(new (std::nothrow) char[eInitialLineCapacity]()), m_nLineCapacity(0), m_nWordLength(0),
      m_bReadIntsAsFloats(false), m_bCommaDelimiter(true), m_bSpaceDelimiter(false),
      m_bQuotesDelimitStrings(false), m_nUseTable(-1)
{
    if (m_pLineBuffer)
        m_nLineCapacity = eInitialLineCapacity;
    m_szBlock[0] = m_szBlock[eBlockSize] = '\0';
    m_szWord[0] = m_szWord[eMaxWordSize] = '\0';
    BuildStopTable();
}

QelTextScanner::QelTextScanner(const QelTextScanner& other)
    : m_pFile(nullptr), m_pMemory(nullptr), m_nMemorySize(0), m_pLineBuffer(nullptr), m_nLineCapacity(0)
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
        CopyFrom(other);
    }
    return *this;
}

QelTextScanner::~QelTextScanner()
{
    if (m_pFile)
        std::fclose(m_pFile);
    delete[] m_pLineBuffer;
}

void QelTextScanner::CopyFrom(const QelTextScanner& other)
{
    // Own line buffer, sized like the source's so that the current line fits.
    size_t nLineLength = other.m_pLineBuffer ? std::strlen(other.m_pLineBuffer) : 0;
    if (m_nLineCapacity < other.m_nLineCapacity || !m_pLineBuffer)
    {
        char* p = new (std::nothrow) char[other.m_nLineCapacity ? other.m_nLineCapacity : 1];
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
    m_pFile = nullptr;
    if (other.m_pFile)
    {
        m_pFile = std::fopen(m_strPath.c_str(), "rb");
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

bool QelTextScanner::UseTable()
{
    // Known only once construction is over; an override of IsDelimiter is honoured character by
    // character, the default set goes through the table.
    if (m_nUseTable < 0)
        m_nUseTable = typeid(*this) == typeid(QelTextScanner) ? 1 : 0;
    return m_nUseTable == 1;
}

void QelTextScanner::ResetState()
{
    m_nRawPos = 0;
    m_bSourceEnded = false;
    m_bNulReported = false;
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
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::Open() - cannot open \"%s\": %s\n", pPath,
                                        std::strerror(errno));
        return false;
    }
    // A directory opens as a stream on some systems and only fails when read.
    int c = std::getc(pFile);
    if (c == EOF && std::ferror(pFile))
    {
        QelSysApp::App().PrintToConsole("<error> QelTextScanner::Open() - cannot read \"%s\": %s\n", pPath,
                                        std::strerror(errno));
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

bool QelTextScanner::Close()
{
    bool bClosed = false;
    if (m_pFile)
    {
        bClosed = std::fclose(m_pFile) == 0;
        m_pFile = nullptr;
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
    char* p = new (std::nothrow) char[nCapacity];
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
        while (p < pEnd && pClass[UC(*p)] != eLineEnd)
            ++p;

        size_t nTake = size_t(p - pStart);
        bool bCut = false;
        if (!GrowLine(nLength + nTake + 1))
        {
            // Out of memory or past the longest line: what fits ends this line.
            size_t nFits = m_nLineCapacity > nLength + 1 ? m_nLineCapacity - nLength - 1 : 0;
            nTake = nTake < nFits ? nTake : nFits;
            bCut = true;
            QelSysApp::App().PrintToConsole(
                "<warning> QelTextScanner - line %lld of \"%s\" is cut after %zu bytes; the rest is read as the "
                "next line\n",
                m_nLineNum + 1, m_strPath.c_str(), nLength + nTake);
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

void QelTextScanner::SkipWhiteSpace(bool bSkipComma)
{
    if (!m_pLinePos)
        return;
    const char* p = m_pLinePos;
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
    }
    else
    {
        while (*p && IsDelimiter(*p))
            ++p;
        if (bSkipComma && *p == ',')
        {
            ++p;
            while (*p && IsDelimiter(*p))
                ++p;
        }
    }
    m_pLinePos = const_cast<char*>(p);
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
        QelSysApp::App().PrintToConsole("<warning> Max word size of %d reached\n", int(eMaxWordSize));
    else
        QelSysApp::App().PrintToConsole("<warning> string \"%s\" on line %d missing closing double quotes\n",
                                        m_szWord, LineNum());
    m_pLinePos = const_cast<char*>(p);
}

const char* QelTextScanner::NextWord(QelDataType& eType, bool bAcrossLines, bool bClassify)
{
    if (!m_pLinePos || !*m_pLinePos)
    {
        if (!bAcrossLines || !NextLine())
            return nullptr;
        // The first word of the next line is always classified; an empty line gives an empty word,
        // so that null means the end of the file.
        return ReadWord(eType, true);
    }
    return ReadWord(eType, bClassify);
}

const char* QelTextScanner::NextWord(bool bAcrossLines)
{
    QelDataType eType = eDataString;
    return NextWord(eType, bAcrossLines, false);
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
    SkipWhiteSpace(m_bCommaDelimiter);
    if (!*m_pLinePos)
    {
        m_szWord[0] = '\0';
        m_nWordLength = 0;
        eType = eDataString;
        return m_szWord;
    }
    if (m_bQuotesDelimitStrings && *m_pLinePos == '"')
    {
        ReadQuoteDelimitedString();
        eType = eDataString;
    }
    else
    {
        const char* p = m_pLinePos;
        int n = 0;
        if (UseTable())
        {
            const unsigned char* pStop = m_aStop;
            while (n < eMaxWordSize && !pStop[UC(p[n])])
            {
                m_szWord[n] = p[n];
                ++n;
            }
        }
        else
        {
            while (n < eMaxWordSize && p[n] && !IsDelimiter(p[n]) && !(m_bCommaDelimiter && p[n] == ','))
            {
                m_szWord[n] = p[n];
                ++n;
            }
        }
        m_szWord[n] = '\0';
        m_nWordLength = n;
        p += n;
        m_pLinePos = const_cast<char*>(p);
        if (n == eMaxWordSize && *p && !(m_bCommaDelimiter && *p == ',') &&
            !(UseTable() ? m_aStop[UC(*p)] != 0 : IsDelimiter(*p)))
            QelSysApp::App().PrintToConsole("<warning> Max word size of %d reached\n", int(eMaxWordSize));
        if (bClassify)
        {
            if (IsColor(m_szWord, n))
                eType = eDataColor;
            else if (n == 0 || IsString(m_szWord, n))
                eType = eDataString;
            else if (m_bReadIntsAsFloats)
                eType = eDataReal;
            else if (IsInt(m_szWord, n))
                eType = eDataInteger;
            else
                eType = eDataReal;
        }
    }
    SkipWhiteSpace(false);
    m_nCharsProcessed += m_pLinePos - pStart;
    return m_szWord;
}

bool QelTextScanner::IsColor(const char* pWord, int nLength)
{
    if (!pWord || (nLength != 7 && nLength != 9) || pWord[0] != '#')
        return false;
    for (int i = 1; i < nLength; ++i)
        if (!IsHex(pWord[i]))
            return false;
    return true;
}

bool QelTextScanner::IsString(const char* pWord, int nLength)
{
    if (!pWord || nLength < 1)
        return false;
    char c = pWord[0];
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool QelTextScanner::IsInt(const char* pWord, int nLength)
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

int QelTextScanner::LineNum() const { return ClampToInt(m_nLineNum); }

int QelTextScanner::BytesRead() const { return ClampToInt(m_nBytesRead); }

int QelTextScanner::CharsProcessed() const { return ClampToInt(m_nCharsProcessed); }
