#include "qel/platform/QelGuid.h"

#include <cstdio>
#include <cstring>

#if defined(_WIN32)
#  include <objbase.h>
#else
#  include <uuid/uuid.h>
#endif

bool QelCreateGuid(GUID* pGuid)
{
    if (!pGuid)
        return false;
#if defined(_WIN32)
    return SUCCEEDED(CoCreateGuid(pGuid));
#else
    uuid_t raw;
    uuid_generate_random(raw);
    // libuuid hands out the RFC 4122 byte order (big-endian fields); keep the fields' values
    // so that the text form matches the bytes libuuid would print.
    pGuid->Data1 = (uint32_t(raw[0]) << 24) | (uint32_t(raw[1]) << 16) | (uint32_t(raw[2]) << 8) | raw[3];
    pGuid->Data2 = uint16_t((raw[4] << 8) | raw[5]);
    pGuid->Data3 = uint16_t((raw[6] << 8) | raw[7]);
    std::memcpy(pGuid->Data4, raw + 8, 8);
    return true;
#endif
}

std::string QelGuidToString(const GUID& g)
{
    char buf[40];
    std::snprintf(buf, sizeof(buf), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  unsigned(g.Data1), unsigned(g.Data2), unsigned(g.Data3), g.Data4[0], g.Data4[1],
                  g.Data4[2], g.Data4[3], g.Data4[4], g.Data4[5], g.Data4[6], g.Data4[7]);
    return buf;
}

static int HexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

bool QelGuidFromString(const std::string& strText, GUID& guid)
{
    std::string s = strText;
    if (s.size() == 38 && s.front() == '{' && s.back() == '}')
        s = s.substr(1, 36);
    if (s.size() != 36 || s[8] != '-' || s[13] != '-' || s[18] != '-' || s[23] != '-')
        return false;
    uint8_t bytes[16];
    int n = 0;
    for (size_t i = 0; i < s.size(); ++i)
    {
        if (i == 8 || i == 13 || i == 18 || i == 23)
            continue;
        int hi = HexValue(s[i]);
        int lo = HexValue(s[i + 1]);
        if (hi < 0 || lo < 0)
            return false;
        bytes[n++] = uint8_t(hi * 16 + lo);
        ++i;
    }
    guid.Data1 = (uint32_t(bytes[0]) << 24) | (uint32_t(bytes[1]) << 16) | (uint32_t(bytes[2]) << 8) | bytes[3];
    guid.Data2 = uint16_t((bytes[4] << 8) | bytes[5]);
    guid.Data3 = uint16_t((bytes[6] << 8) | bytes[7]);
    std::memcpy(guid.Data4, bytes + 8, 8);
    return true;
}

int QelGuidCompare(const GUID& a, const GUID& b)
{
    if (a.Data1 != b.Data1)
        return a.Data1 < b.Data1 ? -1 : 1;
    if (a.Data2 != b.Data2)
        return a.Data2 < b.Data2 ? -1 : 1;
    if (a.Data3 != b.Data3)
        return a.Data3 < b.Data3 ? -1 : 1;
    return std::memcmp(a.Data4, b.Data4, 8);
}
