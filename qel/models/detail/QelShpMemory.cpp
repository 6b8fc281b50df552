#include "qel/models/detail/QelShpMemory.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
QelShpMemory* s_pCurrent = nullptr;

struct SCursor
{
    const unsigned char* pData;
    size_t nSize;
    size_t nPos;
};

SCursor& Cursor(SAFile f)
{
    return *reinterpret_cast<SCursor*>(f);
}

SAOffset Read(void* p, SAOffset nSize, SAOffset nCount, SAFile f)
{
    SCursor& c = Cursor(f);
    if (nSize == 0 || c.nPos >= c.nSize)
        return 0;
    // Whole items only, as fread counts them.
    SAOffset nItems = std::min<SAOffset>(nCount, (c.nSize - c.nPos) / nSize);
    std::memcpy(p, c.pData + c.nPos, nItems * nSize);
    c.nPos += nItems * nSize;
    return nItems;
}

SAOffset Write(void*, SAOffset, SAOffset, SAFile)
{
    return 0;
}

SAOffset Seek(SAFile f, SAOffset nOffset, int nWhence)
{
    SCursor& c = Cursor(f);
    size_t nBase = nWhence == SEEK_CUR ? c.nPos : nWhence == SEEK_END ? c.nSize : 0;
    c.nPos = nBase + nOffset;
    return 0;
}

SAOffset Tell(SAFile f)
{
    return Cursor(f).nPos;
}

int Flush(SAFile)
{
    return 0;
}

int Close(SAFile f)
{
    delete &Cursor(f);
    return 0;
}

int Remove(const char*)
{
    return -1;
}

double Atof(const char* p)
{
    return std::strtod(p, nullptr);
}
} // namespace

QelShpMemory::QelShpMemory(const void* pShp, size_t nShp, const void* pShx, size_t nShx, const void* pDbf, size_t nDbf)
    : m_files{{static_cast<const unsigned char*>(pShp), nShp},
              {static_cast<const unsigned char*>(pShx), nShx},
              {static_cast<const unsigned char*>(pDbf), nDbf}},
      m_pPrevious(s_pCurrent)
{
    std::memset(&m_sHooks, 0, sizeof(m_sHooks));
    m_sHooks.FOpen = Open;
    m_sHooks.FRead = Read;
    m_sHooks.FWrite = Write;
    m_sHooks.FSeek = Seek;
    m_sHooks.FTell = Tell;
    m_sHooks.FFlush = Flush;
    m_sHooks.FClose = Close;
    m_sHooks.Remove = Remove;
    m_sHooks.Error = Error;
    m_sHooks.Atof = Atof;
    s_pCurrent = this;
}

QelShpMemory::~QelShpMemory()
{
    s_pCurrent = m_pPrevious;
}

std::string QelShpMemory::TakeMessage()
{
    std::string str;
    str.swap(m_strMessage);
    while (!str.empty() && (str.back() == '\n' || str.back() == '\r' || str.back() == ' '))
        str.pop_back();
    return str;
}

SAFile QelShpMemory::Open(const char* pName, const char* pAccess)
{
    if (!s_pCurrent || std::strpbrk(pAccess, "wa+"))
        return nullptr;
    size_t nLength = std::strlen(pName);
    if (nLength < 4)
        return nullptr;
    char ext[4];
    for (int i = 0; i < 3; ++i)
        ext[i] = char(std::tolower(static_cast<unsigned char>(pName[nLength - 3 + i])));
    ext[3] = 0;
    int nFile = std::strcmp(ext, "shp") == 0 ? 0 : std::strcmp(ext, "shx") == 0 ? 1 : std::strcmp(ext, "dbf") == 0 ? 2 : -1;
    if (nFile < 0 || !s_pCurrent->m_files[nFile].pData)
        return nullptr;
    const SFile& f = s_pCurrent->m_files[nFile];
    return reinterpret_cast<SAFile>(new SCursor{f.pData, f.nSize, 0});
}

void QelShpMemory::Error(const char* pMessage)
{
    if (s_pCurrent)
        s_pCurrent->m_strMessage = pMessage ? pMessage : "";
}
