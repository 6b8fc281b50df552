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
    auto isSep = [](char c) { return c == '\\' || c == '/'; };
    const size_t n = strPath.size();
    std::string out;
    out.reserve(n + 1);
    // One pass, no list of segments: the texture cache makes a key of every path it is asked for.
    // Keep a drive or UNC prefix as it is; fold the segments after it.
    size_t i = 0;
    bool bPrefix = true;
    if (n >= 2 && strPath[1] == ':')
    {
        out.assign(strPath, 0, 2);
        if (out[0] == '/')
            out[0] = '\\';
        i = 2;
    }
    else if (n >= 2 && isSep(strPath[0]) && isSep(strPath[1]))
    {
        out = "\\\\";
        i = 2;
    }
    else
        bPrefix = false;
    if (i < n && isSep(strPath[i]))
        out += '\\';
    const size_t nRoot = out.size();
    size_t nParts = 0;
    while (i < n)
    {
        size_t e = i;
        while (e < n && !isSep(strPath[e]))
            ++e;
        const size_t nLen = e - i;
        if (nLen == 2 && strPath[i] == '.' && strPath[i + 1] == '.')
        {
            if (nParts > 1)
                out.resize(out.rfind('\\'));
            else if (nParts == 1)
                out.resize(nRoot);
            if (nParts > 0)
                --nParts;
        }
        else if (nLen > 0 && !(nLen == 1 && strPath[i] == '.'))
        {
            if (nParts++ > 0)
                out += '\\';
            out.append(strPath, i, nLen);
        }
        i = e + 1;
    }
    if (n > 0 && isSep(strPath[n - 1]) && nParts > 0)
        out += '\\';
    // Without a prefix the result can still begin as a drive does: a ".." that went away or a root
    // before a segment that starts with ':' ("../S:.\\s" gives "S:.\\s", "/.\\:." gives "\\:.").
    // Fold once more as a drive path so that a canonical path is its own canonical form, which the
    // texture cache's keys rely on. The second call has a prefix, so it stops there.
    if (!bPrefix && out.size() >= 2 && out[1] == ':')
        return QelCanonicalizePath(out);
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
