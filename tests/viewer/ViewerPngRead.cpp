#include "ViewerTestSupport.h"

#include <unistd.h>
#include <zlib.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{
uint32_t U32(const unsigned char* p) { return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | p[3]; }

int Paeth(int a, int b, int c)
{
    int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    return pa <= pb && pa <= pc ? a : pb <= pc ? b : c;
}
} // namespace

unsigned int ViewerImage::Pixel(int x, int y) const
{
    const unsigned char* p = &m_vRgba[(size_t(y) * size_t(m_nWidth) + size_t(x)) * 4];
    return unsigned(p[0]) | unsigned(p[1]) << 8 | unsigned(p[2]) << 16 | unsigned(p[3]) << 24;
}

size_t ViewerImage::CountRgb(unsigned int nColor) const
{
    size_t n = 0;
    for (size_t i = 0; i + 3 < m_vRgba.size(); i += 4)
        n += (unsigned(m_vRgba[i]) | unsigned(m_vRgba[i + 1]) << 8 | unsigned(m_vRgba[i + 2]) << 16) ==
             (nColor & 0xFFFFFF);
    return n;
}

bool ViewerReadPng(const std::string& strPath, ViewerImage& cImage, std::string& strWhy)
{
    std::ifstream cFile(strPath, std::ios::binary);
    std::vector<unsigned char> v((std::istreambuf_iterator<char>(cFile)), std::istreambuf_iterator<char>());
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    if (v.size() < 8 || !std::equal(kSignature, kSignature + 8, v.begin()))
        return strWhy = "not a PNG file", false;
    int nChannels = 0;
    std::vector<unsigned char> vPacked;
    for (size_t i = 8; i + 12 <= v.size();)
    {
        uint32_t nLength = U32(&v[i]);
        if (nLength > v.size() - i - 12)
            return strWhy = "a chunk runs past the end", false;
        std::string strType(reinterpret_cast<const char*>(&v[i + 4]), 4);
        const unsigned char* pData = &v[i + 8];
        if (strType == "IHDR")
        {
            cImage.m_nWidth = int(U32(pData));
            cImage.m_nHeight = int(U32(pData + 4));
            if (pData[8] != 8 || (pData[9] != 6 && pData[9] != 2) || pData[12] != 0)
                return strWhy = "not 8-bit RGB(A) without interlace", false;
            nChannels = pData[9] == 6 ? 4 : 3;
        }
        else if (strType == "IDAT")
            vPacked.insert(vPacked.end(), pData, pData + nLength);
        i += 12 + nLength;
    }
    if (nChannels == 0 || cImage.m_nWidth <= 0 || cImage.m_nHeight <= 0 || cImage.m_nWidth > 16384 ||
        cImage.m_nHeight > 16384)
        return strWhy = "no usable header", false;
    const size_t nRow = size_t(cImage.m_nWidth) * size_t(nChannels);
    std::vector<unsigned char> vRaw((nRow + 1) * size_t(cImage.m_nHeight));
    uLongf nRaw = uLongf(vRaw.size());
    if (uncompress(vRaw.data(), &nRaw, vPacked.data(), uLong(vPacked.size())) != Z_OK || nRaw != vRaw.size())
        return strWhy = "the image data does not inflate to its size", false;

    std::vector<unsigned char> vPrior(nRow, 0), vLine(nRow);
    cImage.m_vRgba.assign(size_t(cImage.m_nWidth) * size_t(cImage.m_nHeight) * 4, 255);
    for (int y = 0; y < cImage.m_nHeight; ++y)
    {
        const unsigned char* pIn = &vRaw[size_t(y) * (nRow + 1)];
        int nFilter = pIn[0];
        for (size_t x = 0; x < nRow; ++x)
        {
            int a = x >= size_t(nChannels) ? vLine[x - size_t(nChannels)] : 0, b = vPrior[x];
            int c = x >= size_t(nChannels) ? vPrior[x - size_t(nChannels)] : 0;
            int nPredict = nFilter == 1 ? a : nFilter == 2 ? b : nFilter == 3 ? (a + b) / 2 : nFilter == 4 ? Paeth(a, b, c) : 0;
            vLine[x] = static_cast<unsigned char>(pIn[1 + x] + nPredict);
        }
        for (int x = 0; x < cImage.m_nWidth; ++x)
            for (int k = 0; k < nChannels; ++k)
                cImage.m_vRgba[(size_t(y) * size_t(cImage.m_nWidth) + size_t(x)) * 4 + size_t(k)] =
                    vLine[size_t(x) * size_t(nChannels) + size_t(k)];
        vPrior = vLine;
    }
    return true;
}

std::string ViewerScratchDir(const std::string& strName)
{
    std::filesystem::path cPath = std::filesystem::temp_directory_path() / ("qel-viewer-test-" + std::to_string(::getpid()));
    cPath /= strName;
    std::filesystem::remove_all(cPath);
    std::filesystem::create_directories(cPath);
    return cPath.string();
}
