#include "qel/platform/QelBitmap.h"

#include "qel/platform/QelResources.h"
#include "qel/platform/detail/QelDevIL.h"

#include <cstdint>
#include <cstring>

namespace
{
uint32_t ReadU32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

void WriteU32(unsigned char* p, uint32_t n)
{
    for (int i = 0; i < 4; ++i)
        p[i] = (unsigned char)(n >> (8 * i));
}

/// Resource compilers store a bitmap without its 14-byte file header; put one in front so that the
/// block reads as a .bmp file. False when the info header is too short to place the pixels.
bool AddFileHeader(const unsigned char* pDib, size_t nSize, std::vector<unsigned char>& vFile)
{
    if (nSize < 40)
        return false;
    const uint32_t nInfo = ReadU32(pDib);
    if (nInfo < 40 || nInfo > nSize)
        return false;
    const unsigned nBits = unsigned(pDib[14]) | unsigned(pDib[15]) << 8;
    const uint32_t nCompression = ReadU32(pDib + 16);
    uint32_t nColors = ReadU32(pDib + 32);
    if (nColors == 0 && nBits <= 8)
        nColors = 1u << nBits;
    if (nColors > 256)
        return false;
    uint64_t nOffset = 14ull + nInfo + 4ull * nColors;
    if (nCompression == 3 && nInfo == 40) // BI_BITFIELDS: three masks follow the header
        nOffset += 12;
    if (nOffset > 14ull + nSize)
        return false;
    vFile.resize(14 + nSize);
    vFile[0] = 'B';
    vFile[1] = 'M';
    WriteU32(&vFile[2], uint32_t(vFile.size()));
    WriteU32(&vFile[6], 0);
    WriteU32(&vFile[10], uint32_t(nOffset));
    std::memcpy(&vFile[14], pDib, nSize);
    return true;
}
} // namespace

HBITMAP QelBitmap::Create(unsigned int nWidth, unsigned int nHeight, const unsigned char* pRgba)
{
    if (!pRgba || nWidth == 0 || nHeight == 0 || nWidth > kMaxSide || nHeight > kMaxSide)
        return nullptr;
    HBITMAP hBitmap = new HBITMAP__;
    hBitmap->m_nWidth = nWidth;
    hBitmap->m_nHeight = nHeight;
    hBitmap->m_vPixels.assign(pRgba, pRgba + size_t(nWidth) * nHeight * 4);
    return hBitmap;
}

HBITMAP QelBitmap::LoadFromResource(HINSTANCE hModule, unsigned int nId)
{
    const void* pData = nullptr;
    size_t nSize = 0;
    if (!QelResources::Find(hModule, nId, "Bitmap", pData, nSize))
        return nullptr;
    const unsigned char* pBytes = static_cast<const unsigned char*>(pData);
    std::vector<unsigned char> vFile;
    if (nSize < 2 || pBytes[0] != 'B' || pBytes[1] != 'M')
    {
        if (!AddFileHeader(pBytes, nSize, vFile))
            return nullptr;
        pBytes = vFile.data();
        nSize = vFile.size();
    }
    HBITMAP hBitmap = new HBITMAP__;
    if (!QelDevILDecodeRgba(pBytes, nSize, hBitmap->m_vPixels, hBitmap->m_nWidth, hBitmap->m_nHeight))
    {
        delete hBitmap;
        return nullptr;
    }
    return hBitmap;
}

void QelBitmap::Delete(HBITMAP hBitmap)
{
    delete hBitmap;
}

unsigned int QelBitmap::GetWidth(HBITMAP hBitmap)
{
    return hBitmap ? hBitmap->m_nWidth : 0;
}

unsigned int QelBitmap::GetHeight(HBITMAP hBitmap)
{
    return hBitmap ? hBitmap->m_nHeight : 0;
}

const unsigned char* QelBitmap::GetPixels(HBITMAP hBitmap)
{
    return hBitmap && !hBitmap->m_vPixels.empty() ? hBitmap->m_vPixels.data() : nullptr;
}
