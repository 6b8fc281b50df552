#include "qel/text/detail/QelUtf8.h"

static_assert(sizeof(wchar_t) >= 4, "one wchar_t must hold any code point");

namespace
{
/// Bytes the sequence has, by its first byte; 0 for a byte no sequence starts with.
size_t SequenceLength(unsigned char c)
{
    if (c < 0x80)
        return 1;
    if (c >= 0xC2 && c <= 0xDF)
        return 2;
    if (c >= 0xE0 && c <= 0xEF)
        return 3;
    if (c >= 0xF0 && c <= 0xF4)
        return 4;
    return 0;
}
} // namespace

bool QelDecodeUtf8(const std::string& strText, std::wstring& strOut, size_t& nBadOffset)
{
    strOut.clear();
    strOut.reserve(strText.size());
    const unsigned char* p = reinterpret_cast<const unsigned char*>(strText.data());
    const size_t n = strText.size();
    for (size_t i = 0; i < n;)
    {
        const size_t nLength = SequenceLength(p[i]);
        bool bOk = nLength != 0 && nLength <= n - i;
        unsigned long nCode = nLength == 1 ? p[i] : p[i] & (0x7Fu >> nLength);
        for (size_t k = 1; bOk && k < nLength; ++k)
        {
            bOk = (p[i + k] & 0xC0) == 0x80;
            nCode = (nCode << 6) | (p[i + k] & 0x3Fu);
        }
        // Shortest form only (two-byte overlongs are excluded by the first byte), no surrogates.
        if (bOk && ((nLength == 3 && nCode < 0x800) || (nLength == 4 && (nCode < 0x10000 || nCode > 0x10FFFF)) ||
                    (nCode >= 0xD800 && nCode <= 0xDFFF)))
            bOk = false;
        if (!bOk)
        {
            nBadOffset = i;
            strOut.clear();
            return false;
        }
        strOut.push_back(static_cast<wchar_t>(nCode));
        i += nLength;
    }
    return true;
}
