#include "qel/materials/detail/QelDDSReader.h"

#include <GL/glew.h>

#include <algorithm>
#include <cstdint>

namespace
{
constexpr size_t kHeaderSize = 128; // magic + 124-byte header
constexpr uint32_t kFlagMipMapCount = 0x20000;
constexpr uint32_t kPixelFourCC = 0x4;
constexpr uint32_t kCapsMipMap = 0x400000;
constexpr uint32_t kCaps2CubeMap = 0x200;
constexpr uint32_t kCaps2AllFaces = 0xFC00;
constexpr uint32_t kCaps2Volume = 0x200000;

uint32_t U32(const unsigned char* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}

constexpr uint32_t FourCC(char a, char b, char c, char d)
{
    return uint32_t(uint8_t(a)) | uint32_t(uint8_t(b)) << 8 | uint32_t(uint8_t(c)) << 16 | uint32_t(uint8_t(d)) << 24;
}

unsigned int MaxLevels(unsigned int nWidth, unsigned int nHeight)
{
    unsigned int n = 1;
    for (unsigned int nSide = std::max(nWidth, nHeight); nSide > 1; nSide >>= 1)
        ++n;
    return n;
}

/// Drops errors left by earlier calls, so that the upload's own are seen; bounded, since a lost
/// context reports an error on every call.
void ClearGLErrors()
{
    for (int i = 0; i < 16 && glGetError() != GL_NO_ERROR; ++i)
    {
    }
}
} // namespace

bool QelIsDDS(const unsigned char* pData, size_t nSize)
{
    return pData && nSize >= 4 && U32(pData) == FourCC('D', 'D', 'S', ' ');
}

bool QelParseDDS(const unsigned char* pData, size_t nSize, unsigned int nMaxSide, QelDDSInfo& cInfo,
                 std::string& strWhy)
{
    cInfo = QelDDSInfo();
    if (!QelIsDDS(pData, nSize))
        return strWhy = "not a DDS file", false;
    if (nSize < kHeaderSize || U32(pData + 4) != 124 || U32(pData + 76) != 32)
        return strWhy = "truncated or malformed header", false;
    const uint32_t nFlags = U32(pData + 8), nPixelFlags = U32(pData + 80), nFourCC = U32(pData + 84);
    const uint32_t nCaps = U32(pData + 108), nCaps2 = U32(pData + 112);
    const uint32_t nHeight = U32(pData + 12), nWidth = U32(pData + 16), nMipCount = U32(pData + 28);

    unsigned int nBlockBytes = 16;
    cInfo.m_bOtherFormat = true;
    if (!(nPixelFlags & kPixelFourCC))
        return strWhy = "not block-compressed", false;
    if (nFourCC == FourCC('D', 'X', 'T', '1'))
    {
        cInfo.m_nFormat = GL_COMPRESSED_RGBA_S3TC_DXT1_EXT;
        nBlockBytes = 8;
    }
    else if (nFourCC == FourCC('D', 'X', 'T', '3'))
        cInfo.m_nFormat = GL_COMPRESSED_RGBA_S3TC_DXT3_EXT;
    else if (nFourCC == FourCC('D', 'X', 'T', '5'))
        cInfo.m_nFormat = GL_COMPRESSED_RGBA_S3TC_DXT5_EXT;
    else
        return strWhy = "FourCC other than DXT1, DXT3 and DXT5", false;
    if (nCaps2 & kCaps2Volume)
        return strWhy = "volume texture", false;
    cInfo.m_bOtherFormat = false;
    if (nWidth == 0 || nHeight == 0 || nWidth > nMaxSide || nHeight > nMaxSide)
        return strWhy = "size out of range", false;

    unsigned int nLevels = 1;
    if (((nFlags & kFlagMipMapCount) || (nCaps & kCapsMipMap)) && nMipCount > 1)
        nLevels = nMipCount;
    if (nLevels > MaxLevels(nWidth, nHeight))
        return strWhy = "more mip levels than the size allows", false;
    unsigned int nFaces = 1;
    if (nCaps2 & kCaps2CubeMap)
    {
        if ((nCaps2 & kCaps2AllFaces) != kCaps2AllFaces)
            return strWhy = "cube map with missing faces", false;
        if (nWidth != nHeight)
            return strWhy = "cube map with faces that are not square", false;
        nFaces = 6;
    }

    cInfo.m_vLevels.reserve(size_t(nFaces) * nLevels);
    size_t nOffset = kHeaderSize;
    for (unsigned int nFace = 0; nFace < nFaces; ++nFace)
        for (unsigned int nLevel = 0; nLevel < nLevels; ++nLevel)
        {
            QelDDSLevel cLevel;
            cLevel.m_nWidth = std::max(1u, unsigned(nWidth) >> nLevel);
            cLevel.m_nHeight = std::max(1u, unsigned(nHeight) >> nLevel);
            cLevel.m_nOffset = nOffset;
            cLevel.m_nSize = size_t((cLevel.m_nWidth + 3) / 4) * ((cLevel.m_nHeight + 3) / 4) * nBlockBytes;
            if (cLevel.m_nSize > nSize - nOffset)
                return cInfo = QelDDSInfo(), strWhy = "level larger than the bytes left", false;
            nOffset += cLevel.m_nSize;
            cInfo.m_vLevels.push_back(cLevel);
        }
    cInfo.m_nWidth = nWidth;
    cInfo.m_nHeight = nHeight;
    cInfo.m_nLevels = nLevels;
    cInfo.m_nFaces = nFaces;
    return true;
}

unsigned int QelLoadDDS(const unsigned char* pData, size_t nSize, QelDDSInfo& cInfo)
{
    GLint nMaxSide = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &nMaxSide);
    std::string strWhy;
    if (nMaxSide <= 0 || !QelParseDDS(pData, nSize, unsigned(std::min(nMaxSide, 65535)), cInfo, strWhy))
        return 0;
    const bool bCube = cInfo.m_nFaces == 6;
    if (!GLEW_ARB_texture_compression || !GLEW_EXT_texture_compression_s3tc || !glCompressedTexImage2DARB ||
        (bCube && !GLEW_ARB_texture_cube_map))
    {
        cInfo.m_bOtherFormat = true;
        return 0;
    }
    const GLenum eTarget = bCube ? GL_TEXTURE_CUBE_MAP_ARB : GL_TEXTURE_2D;

    ClearGLErrors();
    GLuint nName = 0;
    glGenTextures(1, &nName);
    glBindTexture(eTarget, nName);
    for (unsigned int nFace = 0; nFace < cInfo.m_nFaces; ++nFace)
    {
        const GLenum eFace = bCube ? GL_TEXTURE_CUBE_MAP_POSITIVE_X_ARB + nFace : GL_TEXTURE_2D;
        for (unsigned int nLevel = 0; nLevel < cInfo.m_nLevels; ++nLevel)
        {
            const QelDDSLevel& c = cInfo.m_vLevels[size_t(nFace) * cInfo.m_nLevels + nLevel];
            glCompressedTexImage2DARB(eFace, GLint(nLevel), cInfo.m_nFormat, GLsizei(c.m_nWidth),
                                      GLsizei(c.m_nHeight), 0, GLsizei(c.m_nSize), pData + c.m_nOffset);
        }
    }
    const bool bMipmapped = cInfo.m_nLevels > 1;
    glTexParameteri(eTarget, GL_TEXTURE_MIN_FILTER, bMipmapped ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR);
    glTexParameteri(eTarget, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    // A chain that stops before 1 x 1 is still complete when the texture says where it ends.
    glTexParameteri(eTarget, GL_TEXTURE_MAX_LEVEL, GLint(cInfo.m_nLevels - 1));
    if (glGetError() != GL_NO_ERROR)
    {
        glDeleteTextures(1, &nName);
        return 0;
    }
    return nName;
}
