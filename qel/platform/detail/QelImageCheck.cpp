#include "qel/platform/detail/QelImageCheck.h"

#include "qel/platform/QelString.h"

#include <algorithm>
#include <cstdint>

namespace
{
constexpr uint32_t kMaxSide = 16384;

uint32_t U16(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8;
}

uint32_t U32(const unsigned char* p)
{
    return U16(p) | U16(p + 2) << 16;
}

/// Sides and a pixel count DevIL may allocate for without exhausting the host: 16384 a side as
/// OpenGL allows, at most 64 M pixels (256 MiB as RGBA).
bool SizeIsSane(uint64_t nWidth, uint64_t nHeight)
{
    return nWidth > 0 && nHeight > 0 && nWidth <= kMaxSide && nHeight <= kMaxSide && nWidth * nHeight <= (1u << 26);
}

uint32_t U16BigEndian(const unsigned char* p)
{
    return uint32_t(p[0]) << 8 | uint32_t(p[1]);
}

uint32_t U32BigEndian(const unsigned char* p)
{
    return U16BigEndian(p) << 16 | U16BigEndian(p + 2);
}

bool Starts(const unsigned char* p, size_t n, const char* pMagic, size_t nLen)
{
    return n >= nLen && std::equal(pMagic, pMagic + nLen, reinterpret_cast<const char*>(p));
}

bool BmpIsSound(const unsigned char* p, size_t n)
{
    if (n < 54)
        return false;
    const uint32_t nOffBits = U32(p + 10), nInfo = U32(p + 14), nPlanes = U16(p + 26), nBits = U16(p + 28);
    const uint32_t nCompression = U32(p + 30);
    const int32_t nWidth = int32_t(U32(p + 18)), nHeight = int32_t(U32(p + 22));
    if (nInfo != 40 && nInfo != 52 && nInfo != 56 && nInfo != 108 && nInfo != 124)
        return false;
    if (nPlanes != 1 || nWidth <= 0 || nHeight == 0 || nHeight < -int32_t(kMaxSide) ||
        !SizeIsSane(uint32_t(nWidth), uint32_t(nHeight < 0 ? -nHeight : nHeight)))
        return false;
    // Run-length bitmaps are refused: their packets would have to be walked like the decoder does.
    const bool bPlain = nCompression == 0 && (nBits == 1 || nBits == 4 || nBits == 8 || nBits == 16 || nBits == 24 ||
                                              nBits == 32);
    const bool bMasks = nCompression == 3 && (nBits == 16 || nBits == 32);
    if (!bPlain && !bMasks)
        return false;
    uint64_t nColors = U32(p + 46);
    if (nBits <= 8)
    {
        if (nColors == 0)
            nColors = 1u << nBits;
        if (nColors > (1u << nBits))
            return false;
    }
    else
        nColors = 0;
    const uint64_t nPaletteEnd = 14ull + nInfo + (bMasks && nInfo == 40 ? 12 : 0) + 4 * nColors;
    const uint64_t nRow = (uint64_t(nWidth) * nBits + 31) / 32 * 4;
    const uint64_t nRows = uint64_t(nHeight < 0 ? -int64_t(nHeight) : nHeight);
    return nPaletteEnd <= nOffBits && nOffBits + nRow * nRows <= n;
}

bool TgaIsSound(const unsigned char* p, size_t n)
{
    if (n < 18)
        return false;
    const uint32_t nIdLength = p[0], nMapType = p[1], nType = p[2], nMapLength = U16(p + 5), nMapDepth = p[7];
    const uint32_t nWidth = U16(p + 12), nHeight = U16(p + 14), nDepth = p[16];
    // True-color and gray images; color-mapped ones are refused, since their indices would have to
    // be checked against the map one by one.
    const bool bColor = (nType == 2 || nType == 10) && (nDepth == 15 || nDepth == 16 || nDepth == 24 || nDepth == 32);
    const bool bGray = (nType == 3 || nType == 11) && nDepth == 8;
    if ((!bColor && !bGray) || nMapType > 1 || !SizeIsSane(nWidth, nHeight))
        return false;
    uint64_t nPos = 18ull + nIdLength + (nMapType ? uint64_t(nMapLength) * ((nMapDepth + 7) / 8) : 0);
    const uint64_t nBytes = (nDepth + 7) / 8, nPixels = uint64_t(nWidth) * nHeight;
    if (nType < 8)
        return nPos + nPixels * nBytes <= n;
    // Run-length packets must end exactly at the last pixel and within the block.
    for (uint64_t nDone = 0; nDone < nPixels;)
    {
        if (nPos >= n)
            return false;
        const unsigned char nHeader = p[nPos++];
        const uint64_t nCount = (nHeader & 0x7Fu) + 1;
        if (nDone + nCount > nPixels)
            return false;
        nPos += (nHeader & 0x80) ? nBytes : nBytes * nCount;
        if (nPos > n)
            return false;
        nDone += nCount;
    }
    return true;
}

bool DdsIsSound(const unsigned char* p, size_t n)
{
    if (n < 128 || U32(p + 4) != 124 || U32(p + 76) != 32)
        return false;
    const uint32_t nHeight = U32(p + 12), nWidth = U32(p + 16), nMips = U32(p + 28), nPixelFlags = U32(p + 80);
    const uint32_t nFourCC = U32(p + 84), nBits = U32(p + 88), nCaps2 = U32(p + 112), nDepth = U32(p + 24);
    // Volumes are refused, and so is any depth: DevIL allocates for it even without the volume caps.
    if (!SizeIsSane(nWidth, nHeight) || (nCaps2 & 0x200000) || nDepth > 1)
        return false;
    uint32_t nMaxLevels = 1;
    for (uint32_t s = std::max(nWidth, nHeight); s > 1; s >>= 1)
        ++nMaxLevels;
    const uint32_t nLevels = std::max(1u, nMips);
    if (nLevels > nMaxLevels)
        return false;
    uint32_t nBlock = 0, nPixelBits = 0;
    if (nPixelFlags & 0x4)
    {
        const char c = char(nFourCC >> 24);
        if ((nFourCC & 0xFFFFFF) != ('D' | 'X' << 8 | 'T' << 16) || c < '1' || c > '5')
            return false;
        nBlock = c == '1' ? 8 : 16;
    }
    else if (nBits == 8 || nBits == 16 || nBits == 24 || nBits == 32)
        nPixelBits = nBits;
    else
        return false;
    const bool bCube = (nCaps2 & 0x200) != 0;
    if (bCube && ((nCaps2 & 0xFC00) != 0xFC00 || nWidth != nHeight))
        return false;
    uint64_t nTotal = 0;
    for (uint32_t l = 0; l < nLevels; ++l)
    {
        const uint64_t w = std::max(1u, nWidth >> l), h = std::max(1u, nHeight >> l);
        nTotal += nBlock ? (w + 3) / 4 * ((h + 3) / 4) * nBlock : w * h * nPixelBits / 8;
    }
    return 128 + nTotal * (bCube ? 6 : 1) <= n;
}
bool PngIsSound(const unsigned char* p, size_t n)
{
    // The signature, then the IHDR chunk with the size.
    return n >= 24 && Starts(p + 12, 4, "IHDR", 4) && SizeIsSane(U32BigEndian(p + 16), U32BigEndian(p + 20));
}

bool GifIsSound(const unsigned char* p, size_t n)
{
    return n >= 10 && SizeIsSane(U16(p + 6), U16(p + 8));
}

bool JpegIsSound(const unsigned char* p, size_t n)
{
    // Walk the markers to the first frame header; its size decides what the decoder allocates.
    for (size_t i = 2; i + 4 <= n;)
    {
        if (p[i] != 0xFF)
            return false;
        const unsigned char nMarker = p[i + 1];
        if (nMarker == 0xFF)
        {
            ++i;
            continue;
        }
        const size_t nLength = U16BigEndian(p + i + 2);
        const bool bFrame = nMarker >= 0xC0 && nMarker <= 0xCF && nMarker != 0xC4 && nMarker != 0xC8 && nMarker != 0xCC;
        if (bFrame)
            return i + 9 <= n && SizeIsSane(U16BigEndian(p + i + 7), U16BigEndian(p + i + 5));
        if (nLength < 2)
            return false;
        i += 2 + nLength;
    }
    return false;
}
} // namespace

EQelImageFormat QelImageFormatOf(const unsigned char* p, size_t n, const std::string& strName)
{
    if (Starts(p, n, "\x89PNG", 4))
        return eQelImagePng;
    if (Starts(p, n, "\xFF\xD8\xFF", 3))
        return eQelImageJpeg;
    if (Starts(p, n, "BM", 2))
        return eQelImageBmp;
    if (Starts(p, n, "GIF8", 4))
        return eQelImageGif;
    if (Starts(p, n, "II*\0", 4) || Starts(p, n, "MM\0*", 4))
        return eQelImageTiff;
    if (Starts(p, n, "DDS ", 4))
        return eQelImageDds;
    const size_t nDot = strName.rfind('.');
    const char* pExt = nDot == std::string::npos ? "" : strName.c_str() + nDot + 1;
    // A block without a name, or with one that names no signed format, can only be a Targa.
    if (strName.empty() || QelStricmp(pExt, "tga") == 0)
        return eQelImageTga;
    return eQelImageUnknown;
}

bool QelImageIsSound(EQelImageFormat eFormat, const unsigned char* pData, size_t nSize)
{
    if (!pData)
        return false;
    switch (eFormat)
    {
    case eQelImageBmp:
        return BmpIsSound(pData, nSize);
    case eQelImageTga:
        return TgaIsSound(pData, nSize);
    case eQelImageDds:
        return DdsIsSound(pData, nSize);
    case eQelImagePng:
        return PngIsSound(pData, nSize);
    case eQelImageJpeg:
        return JpegIsSound(pData, nSize);
    case eQelImageGif:
        return GifIsSound(pData, nSize);
    case eQelImageTiff:
        return true;
    default:
        return false;
    }
}
