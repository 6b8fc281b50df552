#pragma once
// The walk of the text scanner targets: every word with its type, line numbers and counters, as one
// text, so that two scanners can be compared. A template, because the portable build of the scanner
// is the same class under another name.

#include "qel/properties/QelDataType.h"

#include <cstdint>
#include <string>

template <class Scanner>
std::string QelFuzzScanWalk(Scanner& s, uint8_t nMode)
{
    s.SetSpaceDelimiter(nMode & 1);
    s.SetCommaDelimiter(nMode & 2);
    s.SetQuotesDelimitStrings(nMode & 4);
    s.SetReadIntsAsFloats(nMode & 8);
    std::string strOut;
    QelDataType eType = eDataString;
    if (nMode & 16)
    {
        while (const char* pLine = s.NextLine())
        {
            strOut += std::string("L") + pLine + char('0' + s.LineIsBlank());
            while (const char* pWord = s.NextWord(eType, false, true))
                strOut += std::string("|") + pWord + char('A' + int(eType));
        }
    }
    else
    {
        while (const char* pWord = s.NextWord(eType, true, (nMode & 32) != 0))
            strOut += std::string("|") + pWord + char('A' + int(eType)) + std::to_string(s.LineNum());
    }
    strOut += "#" + std::to_string(s.LineNum()) + "," + std::to_string(s.BytesRead()) + "," +
              std::to_string(s.CharsProcessed());
    return strOut;
}
