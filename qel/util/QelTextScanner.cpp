// QelTextScanner: construction, options, and the source: files and memory blocks read in blocks,
// line ends translated as a text-mode stream does.

#include "qel/util/QelTextScanner.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"
#include "qel/util/detail/QelTextScanChars.h"

#include <cerrno>
#include <cstring>
#include <typeinfo>

using namespace QelTextScanDetail;

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


int QelTextScanner::LineNum() const { return ClampToInt(m_nLineNum); }

int QelTextScanner::BytesRead() const { return ClampToInt(m_nBytesRead); }

int QelTextScanner::CharsProcessed() const { return ClampToInt(m_nCharsProcessed); }
