// Feeds arbitrary bytes to the text scanner as the contents of a file. The first byte picks the
// switches and how the input is walked; the rest is the file.
#include "qel/framework/QelSysApp.h"
#include "qel/util/QelTextScanner.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstring>

namespace
{
using SilentApp = QelSilentApp;

/// Delimits at semicolons too, so the virtual path is fuzzed as well.
class SemicolonScanner : public QelTextScanner
{
public:
    bool IsDelimiter(char c) override { return c == ';' || QelTextScanner::IsDelimiter(c); }
};

volatile size_t s_nSink;

void Walk(QelTextScanner& s, const char* pData, size_t nSize, uint8_t nMode)
{
    s.SetSpaceDelimiter(nMode & 1);
    s.SetCommaDelimiter(nMode & 2);
    s.SetQuotesDelimitStrings(nMode & 4);
    s.SetReadIntsAsFloats(nMode & 8);
    if (!s.OpenBuffer(pData, nSize))
        return;
    QelDataType eType;
    size_t nTotal = 0;
    if (nMode & 16)
    {
        while (const char* pLine = s.NextLine())
        {
            nTotal += std::strlen(pLine) + s.LineIsBlank();
            while (const char* pWord = s.NextWord(eType, false, true))
                nTotal += std::strlen(pWord) + size_t(eType);
        }
    }
    else
    {
        int n = 0;
        while (const char* pWord = s.NextWord(eType, true, (nMode & 32) != 0))
        {
            nTotal += std::strlen(pWord);
            if (++n == 7 && (nMode & 64))
            {
                QelTextScanner copy(s); // a copy reads on by itself
                while (const char* p = copy.NextWord(true))
                    nTotal += std::strlen(p);
            }
        }
    }
    nTotal += size_t(s.LineNum() + s.BytesRead() + s.CharsProcessed());
    s.Close();
    s_nSink = nTotal;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static SilentApp s_app;
    if (nSize == 0)
        return 0;
    uint8_t nMode = pData[0];
    const char* pText = reinterpret_cast<const char*>(pData + 1);
    if (nMode & 128)
    {
        SemicolonScanner s;
        Walk(s, pText, nSize - 1, nMode);
    }
    else
    {
        QelTextScanner s;
        Walk(s, pText, nSize - 1, nMode);
    }
    return 0;
}
