#include "qel/platform/detail/QelPngEncoder.h"

#include <zlib.h>

#include <cstdint>
#include <cstdio>

namespace qel::detail
{
namespace
{
void PutBigEndian32(std::vector<unsigned char>& v, uint32_t n)
{
    v.push_back(static_cast<unsigned char>(n >> 24));
    v.push_back(static_cast<unsigned char>(n >> 16));
    v.push_back(static_cast<unsigned char>(n >> 8));
    v.push_back(static_cast<unsigned char>(n));
}

// A chunk is its length, its type, its data and a CRC over type and data.
void PutChunk(std::vector<unsigned char>& v, const char* pType, const unsigned char* pData, size_t nSize)
{
    PutBigEndian32(v, static_cast<uint32_t>(nSize));
    const size_t nTypeAt = v.size();
    v.insert(v.end(), pType, pType + 4);
    if (nSize)
        v.insert(v.end(), pData, pData + nSize);
    uLong nCrc = crc32(0L, Z_NULL, 0);
    nCrc = crc32(nCrc, v.data() + nTypeAt, static_cast<uInt>(4 + nSize));
    PutBigEndian32(v, static_cast<uint32_t>(nCrc));
}
} // namespace

std::vector<unsigned char> EncodePngRgba(const unsigned char* pPixels, int nWidth, int nHeight)
{
    // 16384 squared RGBA rows stay well inside what zlib's 32-bit lengths take.
    if (!pPixels || nWidth <= 0 || nHeight <= 0 || nWidth > 16384 || nHeight > 16384)
        return {};
    const size_t nRow = static_cast<size_t>(nWidth) * 4;
    std::vector<unsigned char> vRaw;
    vRaw.reserve((nRow + 1) * static_cast<size_t>(nHeight));
    for (int y = 0; y < nHeight; ++y)
    {
        vRaw.push_back(0); // filter: none
        const unsigned char* pRow = pPixels + nRow * static_cast<size_t>(y);
        vRaw.insert(vRaw.end(), pRow, pRow + nRow);
    }
    uLongf nPacked = compressBound(static_cast<uLong>(vRaw.size()));
    std::vector<unsigned char> vPacked(nPacked);
    if (compress2(vPacked.data(), &nPacked, vRaw.data(), static_cast<uLong>(vRaw.size()), 6) != Z_OK)
        return {};
    vPacked.resize(nPacked);

    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<unsigned char> vPng(kSignature, kSignature + 8);
    std::vector<unsigned char> vHeader;
    PutBigEndian32(vHeader, static_cast<uint32_t>(nWidth));
    PutBigEndian32(vHeader, static_cast<uint32_t>(nHeight));
    vHeader.insert(vHeader.end(), {8, 6, 0, 0, 0}); // 8 bits, RGBA, deflate, no filter choice, no interlace
    PutChunk(vPng, "IHDR", vHeader.data(), vHeader.size());
    PutChunk(vPng, "IDAT", vPacked.data(), vPacked.size());
    PutChunk(vPng, "IEND", nullptr, 0);
    return vPng;
}

bool WriteFileBytes(const std::string& strFilename, const std::vector<unsigned char>& vBytes)
{
    FILE* pFile = std::fopen(strFilename.c_str(), "wb");
    if (!pFile)
        return false;
    const bool bWritten = std::fwrite(vBytes.data(), 1, vBytes.size(), pFile) == vBytes.size();
    return std::fclose(pFile) == 0 && bWritten;
}
} // namespace qel::detail
