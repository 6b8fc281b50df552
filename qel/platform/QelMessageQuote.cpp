#include "qel/platform/QelMessageQuote.h"

#include <cstring>

std::string QelQuoteInput(const char* pText, size_t nLength)
{
    if (!pText)
        return std::string();
    if (nLength <= kQelMaxQuotedBytes)
        return std::string(pText, nLength);
    size_t nCut = kQelMaxQuotedBytes;
    // Back up over UTF-8 continuation bytes so that the quote ends on a whole character.
    for (int i = 0; i < 3 && nCut > 0 && (static_cast<unsigned char>(pText[nCut]) & 0xC0) == 0x80; ++i)
        --nCut;
    return std::string(pText, nCut) + "... (" + std::to_string(nLength) + " bytes)";
}

std::string QelQuoteInput(const std::string& strText)
{
    return QelQuoteInput(strText.data(), strText.size());
}
