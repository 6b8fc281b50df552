#include "qel/platform/QelString.h"

#include <cstdio>
#include <vector>

namespace
{
inline unsigned char FoldLower(unsigned char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}
} // namespace

int QelStricmp(const char* pA, const char* pB)
{
    const unsigned char* a = reinterpret_cast<const unsigned char*>(pA);
    const unsigned char* b = reinterpret_cast<const unsigned char*>(pB);
    for (;; ++a, ++b)
    {
        int ca = FoldLower(*a);
        int cb = FoldLower(*b);
        if (ca != cb || ca == 0)
            return ca - cb;
    }
}

int QelStrnicmp(const char* pA, const char* pB, size_t nCount)
{
    const unsigned char* a = reinterpret_cast<const unsigned char*>(pA);
    const unsigned char* b = reinterpret_cast<const unsigned char*>(pB);
    for (size_t i = 0; i < nCount; ++i)
    {
        int ca = FoldLower(a[i]);
        int cb = FoldLower(b[i]);
        if (ca != cb || ca == 0)
            return ca - cb;
    }
    return 0;
}

std::string QelFormatV(const char* pFormat, va_list args)
{
    if (!pFormat)
        return std::string();
    size_t nSize = std::char_traits<char>::length(pFormat) * 2;
    if (nSize < 16)
        nSize = 16;
    std::vector<char> buffer;
    for (;;)
    {
        buffer.resize(nSize);
        va_list copy;
        va_copy(copy, args);
        // vsnprintf reports the length it needed rather than -1, so "did not fit" is the C99 test.
        int n = std::vsnprintf(buffer.data(), nSize, pFormat, copy);
        va_end(copy);
        if (n < 0)
            return std::string();
        if (size_t(n) < nSize)
            return std::string(buffer.data(), size_t(n));
        nSize *= 2;
    }
}

std::string QelFormat(const char* pFormat, ...)
{
    va_list args;
    va_start(args, pFormat);
    std::string s = QelFormatV(pFormat, args);
    va_end(args);
    return s;
}

std::string QelCanonicalizePath(const std::string& strPath)
{
    std::string s = strPath;
    for (char& c : s)
        if (c == '/')
            c = '\\';
    // Keep a drive or UNC prefix as it is; fold the segments after it.
    std::string prefix;
    size_t nStart = 0;
    if (s.size() >= 2 && s[1] == ':')
    {
        prefix = s.substr(0, 2);
        nStart = 2;
    }
    else if (s.compare(0, 2, "\\\\") == 0)
    {
        prefix = "\\\\";
        nStart = 2;
    }
    bool bRooted = nStart < s.size() && s[nStart] == '\\';
    std::vector<std::string> parts;
    std::string cur;
    for (size_t i = nStart; i <= s.size(); ++i)
    {
        if (i == s.size() || s[i] == '\\')
        {
            if (cur == "..")
            {
                if (!parts.empty())
                    parts.pop_back();
            }
            else if (cur != "." && !cur.empty())
                parts.push_back(cur);
            cur.clear();
        }
        else
            cur += s[i];
    }
    std::string out = prefix;
    if (bRooted)
        out += '\\';
    for (size_t i = 0; i < parts.size(); ++i)
    {
        if (i)
            out += '\\';
        out += parts[i];
    }
    if (!s.empty() && s.back() == '\\' && !parts.empty())
        out += '\\';
    return out;
}

std::string QelHostPath(std::string strPath)
{
#if !defined(_WIN32)
    for (char& c : strPath)
        if (c == '\\')
            c = '/';
#endif
    return strPath;
}
