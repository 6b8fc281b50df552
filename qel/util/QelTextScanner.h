#pragma once

#include "qel/platform/QelExport.h"
#include "qel/properties/QelDataType.h"

#include <cstddef>
#include <cstdio>
#include <string>

/// Reads a text file line by line and word by word, and can classify each word as an integer, a
/// real, a string or a color. Files read as a Windows text-mode stream delivers them on every
/// platform: a carriage return followed by a line feed arrives as one line feed, and a Ctrl-Z byte
/// ends the file.
///
/// A copy is an independent reader positioned where its source stands: it has its own buffers and
/// reopens the file for itself, so closing or destroying one never affects the other.
class QEL_EXPORT QelTextScanner
{
public:
    /// Sizes of the scanner's buffers, fixed at compile time.
    enum
    {
        eBlockSize = 4096,           ///< bytes delivered by one ReadBlock
        eMaxWordSize = 1024,         ///< longer words are cut; the rest is the next word
        eInitialLineCapacity = 1024, ///< the line buffer doubles from here
    };

    /// Nothing open; comma delimiter on, the other switches off.
    QelTextScanner();
    /// Takes over the other scanner's position, current line, word and switches. A file is
    /// opened again at the same point, so each scanner reads and closes its own; a memory block is
    /// shared and must outlive both.
    ///@{
    QelTextScanner(const QelTextScanner& other);
    QelTextScanner& operator=(const QelTextScanner& other);
    ///@}
    /// Closes what is open. Cut words and lines counted since the last report are summed up in one
    /// warning each, so a huge line does not flood the log.
    virtual ~QelTextScanner();

    /// Tab, line feed, carriage return, and a blank when the space delimiter is on. A derived
    /// scanner may choose its own set; the comma is handled by the word reader, not here.
    virtual bool IsDelimiter(char c);

    /// Opens a file for reading; resets the counters to 0.
    bool Open(const char* pPath);
    /// Scans nSize bytes of memory exactly as a file with those bytes would scan. The memory is not
    /// copied: it must stay valid until Close, another Open or destruction.
    bool OpenBuffer(const char* pData, size_t nSize);
    /// Closes the stream (or forgets the buffer); false when nothing was open or closing failed.
    bool Close();

    /// Reads the next line; null at the end of the file or when nothing is open.
    const char* NextLine();
    /// The line read last (empty before the first).
    const char* CurrentLine();
    /// True while the current line holds nothing but blanks, tabs, line feeds and carriage returns.
    bool LineIsBlank() const { return m_bLineBlank; }

    /// The next word of the current line, or with bAcrossLines the first word of the next line once
    /// this one is used up; null when there is none. The text stays valid until the next call.
    const char* NextWord(QelDataType& eType, bool bAcrossLines, bool bClassify);
    /// The same without classification.
    const char* NextWord(bool bAcrossLines);

    /// '#' and six or eight hexadecimal digits.
    static bool IsColor(const char* pWord, int nLength);
    /// Begins with a letter A-Z or a-z.
    static bool IsString(const char* pWord, int nLength);
    /// An optional '-' and at least one decimal digit, nothing else.
    static bool IsInt(const char* pWord, int nLength);

    /// With this on, integers are classified as reals, for files that mix "1" and "1.0" in one
    /// column. Off by default.
    void SetReadIntsAsFloats(bool bOn) { m_bReadIntsAsFloats = bOn; }
    /// With this on (the default) a comma ends a word as white space does, so "1,2" is two words.
    void SetCommaDelimiter(bool bOn);
    /// With this on a blank ends a word; off by default, so only tabs and line ends separate words.
    void SetSpaceDelimiter(bool bOn);
    /// With this on, a word starting with '"' runs to the closing quote, blanks and commas
    /// included, and comes back without the quotes; a quote left open at the line's end is reported.
    /// Off by default.
    void SetQuotesDelimitStrings(bool bOn) { m_bQuotesDelimitStrings = bOn; }

    /// Lines returned since Open (-1 before the first Open).
    int LineNum() const;
    /// Bytes delivered by the stream since Open, after line-end translation.
    int BytesRead() const;
    /// Characters the word reader has passed over since Open.
    int CharsProcessed() const;

protected:
    /// Reads up to the next 4096 bytes into the block and adds them to the bytes read; null and a
    /// count of 0 at the end of the file.
    const char* ReadBlock(int& nCount);
    /// Reads a double-quoted string at the current position into the word.
    void ReadQuoteDelimitedString();
    /// Steps over delimiters and, with bSkipComma, over one comma among them.
    void SkipWhiteSpace(bool bSkipComma);

private:
    /// Readable bytes kept past the block and the line, so that the word and line searches may
    /// look at 16 bytes at a time without a bounds test per byte.
    enum
    {
        eScanSlack = 64,
        eStreamBufferSize = 65536
    };

    bool UseTable();
    const char* ReadWord(QelDataType& eType, bool bClassify);
    const char* LineWord(QelDataType& eType, bool bClassify);
    const char* WordOfNextLine(QelDataType& eType, bool bAcrossLines, bool bClassify);
    const char* SkipDelimiters(const char* p, bool bSkipComma);
    void BuildStopTable();
    bool GrowLine(size_t nNeeded);
    size_t ReadRaw(char* pDest, size_t nMax);
    int PeekRaw();
    size_t Translate(char* pData, size_t nCount);
    void ResetState();
    void CopyFrom(const QelTextScanner& other);
    void AttachStreamBuffer(std::FILE* pFile);
    /// A word cut at eMaxWordSize: warned the first time, counted after that.
    void ReportWordCut();
    /// Once per source, when it is closed: how often a repeated warning would have been written.
    void ReportRepeats();

    // The source: a file stream, or a caller's memory block when m_pMemory is set.
    std::FILE* m_pFile;
    char* m_pStreamBuffer; // the stream's buffer, freed after the stream is closed
    const char* m_pMemory;
    size_t m_nMemorySize;
    long long m_nRawPos;  // bytes consumed from the source before translation
    bool m_bSourceEnded;  // end of file, Ctrl-Z or a read error seen
    bool m_bNulReported;  // one warning per file is enough
    long long m_nWordCuts; // words cut at the longest word size in this source
    long long m_nLineCuts; // lines cut at the longest line in this source
    std::string m_strPath;

    // The current block.
    int m_nBlockBytes;
    int m_nBlockPos;
    char* m_pBlock; // null when the next character needs a new block

    // The current line.
    char* m_pLinePos; // null when there is no current line
    bool m_bLineBlank;

    long long m_nBytesRead;
    long long m_nCharsProcessed;
    long long m_nLineNum;

    char m_szBlock[eBlockSize + 1 + eScanSlack];
    char* m_pLineBuffer;
    size_t m_nLineCapacity;
    char m_szWord[eMaxWordSize + 1];
    int m_nWordLength;

    bool m_bReadIntsAsFloats;
    bool m_bCommaDelimiter;
    bool m_bSpaceDelimiter;
    bool m_bQuotesDelimitStrings;

    // The default delimiter set as a table, used instead of IsDelimiter when it is not overridden.
    int m_nUseTable; // -1 until the dynamic type is known
    unsigned char m_aStop[256];
};
