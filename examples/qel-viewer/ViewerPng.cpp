#include "ViewerPng.h"

#include <GL/glew.h>
#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <cstring>

namespace
{
void PutU32(std::vector<unsigned char>& v, uint32_t n)
{
    for (int nShift = 24; nShift >= 0; nShift -= 8)
        v.push_back(static_cast<unsigned char>(n >> nShift));
}

void PutChunk(std::vector<unsigned char>& vOut, const char* pType, const std::vector<unsigned char>& vData)
{
    PutU32(vOut, uint32_t(vData.size()));
    size_t nStart = vOut.size();
    vOut.insert(vOut.end(), pType, pType + 4);
    vOut.insert(vOut.end(), vData.begin(), vData.end());
    uLong nCrc = crc32(0L, vOut.data() + nStart, uInt(vOut.size() - nStart));
    PutU32(vOut, uint32_t(nCrc));
}
} // namespace

namespace ViewerPng
{
bool Write(const std::string& strPath, const unsigned char* pRgba, int nWidth, int nHeight)
{
    // Far below the format's limits, and small enough that every size below fits in 32 bits.
    const int kMaxSide = 16384;
    if (!pRgba || nWidth <= 0 || nHeight <= 0 || nWidth > kMaxSide || nHeight > kMaxSide)
        return false;
    const size_t nRow = size_t(nWidth) * 4;
    std::vector<unsigned char> vRaw;
    vRaw.reserve((nRow + 1) * size_t(nHeight));
    for (int y = 0; y < nHeight; ++y)
    {
        vRaw.push_back(0); // filter: none
        vRaw.insert(vRaw.end(), pRgba + nRow * size_t(y), pRgba + nRow * size_t(y + 1));
    }
    uLongf nPacked = compressBound(uLong(vRaw.size()));
    std::vector<unsigned char> vPacked(nPacked);
    if (compress2(vPacked.data(), &nPacked, vRaw.data(), uLong(vRaw.size()), 6) != Z_OK)
        return false;
    vPacked.resize(nPacked);

    std::vector<unsigned char> vFile = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::vector<unsigned char> vHeader;
    PutU32(vHeader, uint32_t(nWidth));
    PutU32(vHeader, uint32_t(nHeight));
    vHeader.insert(vHeader.end(), {8, 6, 0, 0, 0}); // 8 bits, RGBA, deflate, adaptive filters, no interlace
    PutChunk(vFile, "IHDR", vHeader);
    PutChunk(vFile, "IDAT", vPacked);
    PutChunk(vFile, "IEND", {});

    FILE* pFile = std::fopen(strPath.c_str(), "wb");
    if (!pFile)
        return false;
    bool bOk = std::fwrite(vFile.data(), 1, vFile.size(), pFile) == vFile.size();
    bOk = std::fclose(pFile) == 0 && bOk;
    return bOk;
}

std::vector<unsigned char> ReadPixels(int x, int y, int nWidth, int nHeight)
{
    std::vector<unsigned char> vPixels;
    if (nWidth <= 0 || nHeight <= 0)
        return vPixels;
    const size_t nRow = size_t(nWidth) * 4;
    vPixels.resize(nRow * size_t(nHeight));
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(x, y, nWidth, nHeight, GL_RGBA, GL_UNSIGNED_BYTE, vPixels.data());
    // OpenGL gives the bottom row first; files want the top row first.
    std::vector<unsigned char> vSwap(nRow);
    for (int nTop = 0, nBottom = nHeight - 1; nTop < nBottom; ++nTop, --nBottom)
    {
        std::memcpy(vSwap.data(), &vPixels[nRow * size_t(nTop)], nRow);
        std::memcpy(&vPixels[nRow * size_t(nTop)], &vPixels[nRow * size_t(nBottom)], nRow);
        std::memcpy(&vPixels[nRow * size_t(nBottom)], vSwap.data(), nRow);
    }
    return vPixels;
}
} // namespace ViewerPng
