#include "qel/materials/detail/QelTextureUpload.h"

#include "qel/materials/detail/QelDDSReader.h"
#include "qel/materials/detail/QelDevILModes.h"
#include "qel/materials/detail/QelTextureCache.h"
#include "qel/materials/detail/QelTextureDef.h"
#include "qel/platform/QelString.h"

#include <GL/glew.h>
#define ILUT_USE_OPENGL
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>

namespace
{
/// Files larger than this are not read into memory (no texture is that large).
constexpr long kMaxFileBytes = 1L << 30;

/// Paths are Windows paths; off Windows a backslash still separates folders.
std::string HostPath(std::string strPath)
{
#if !defined(_WIN32)
    for (char& c : strPath)
        if (c == '\\')
            c = '/';
#endif
    return strPath;
}

bool ReadWholeFile(const std::string& strPath, std::vector<unsigned char>& vBytes)
{
    FILE* pFile = std::fopen(strPath.c_str(), "rb");
    if (!pFile)
        return false;
    bool bOk = std::fseek(pFile, 0, SEEK_END) == 0;
    const long nSize = bOk ? std::ftell(pFile) : -1;
    bOk = bOk && nSize >= 0 && nSize <= kMaxFileBytes && std::fseek(pFile, 0, SEEK_SET) == 0;
    if (bOk)
    {
        vBytes.resize(size_t(nSize));
        bOk = std::fread(vBytes.data(), 1, vBytes.size(), pFile) == vBytes.size();
    }
    std::fclose(pFile);
    return bOk;
}

bool HasDDSExtension(const std::string& strPath)
{
    const size_t nDot = strPath.rfind('.');
    return nDot != std::string::npos && QelStricmp(strPath.c_str() + nDot + 1, "dds") == 0;
}

/// The DevIL type of a memory block, among the formats textures offer; DevIL's guess would also
/// try every other reader it has on arbitrary bytes. Targa has no signature and is the rest.
ILenum SniffType(const unsigned char* p, size_t n)
{
    auto starts = [&](const char* pMagic, size_t nLen) {
        return n >= nLen && std::equal(pMagic, pMagic + nLen, reinterpret_cast<const char*>(p));
    };
    if (starts("\x89PNG", 4))
        return IL_PNG;
    if (starts("\xFF\xD8\xFF", 3))
        return IL_JPG;
    if (starts("BM", 2))
        return IL_BMP;
    if (starts("GIF8", 4))
        return IL_GIF;
    if (starts("II*\0", 4) || starts("MM\0*", 4))
        return IL_TIF;
    if (starts("DDS ", 4))
        return IL_DDS;
    return IL_TGA;
}

/// Runs a DevIL load into a fresh image and makes the texture from it.
bool ThroughDevIL(const std::function<bool()>& fnLoad, QelTextureCacheEntry& cEntry)
{
    if (!QelGLContextIsCurrent())
        return false;
    // ILUT enables texturing and changes the pixel store as it sets itself up and uploads; the
    // caller's state stays.
    glPushAttrib(GL_ENABLE_BIT);
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    QelDevILUseTextureMode();
    QelDevILAttachOpenGL();
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    const bool bOk = fnLoad() && QelTextureFromBoundImage(cEntry);
    ilDeleteImages(1, &nImage);
    glPopClientAttrib();
    glPopAttrib();
    return bOk;
}

/// The own reader; bOther tells whether DevIL may still take a refused file.
bool FromDDS(const unsigned char* p, size_t n, QelTextureCacheEntry& cEntry, bool& bOther)
{
    QelDDSInfo cInfo;
    const unsigned int nName = QelLoadDDS(p, n, cInfo);
    bOther = cInfo.m_bOtherFormat;
    if (!nName)
        return false;
    cEntry = QelTextureCacheEntry();
    cEntry.m_nName = nName;
    cEntry.m_nWidth = static_cast<unsigned short>(cInfo.m_nWidth);
    cEntry.m_nHeight = static_cast<unsigned short>(cInfo.m_nHeight);
    cEntry.m_nFlags = QelTextureDef::kFlagAlpha | QelTextureDef::kFlagCompressed;
    if (cInfo.m_nFaces == 6)
        cEntry.m_nFlags |= QelTextureDef::kFlagCubeMap;
    return true;
}
} // namespace

bool QelTextureFromBoundImage(QelTextureCacheEntry& cEntry)
{
    cEntry = QelTextureCacheEntry();
    const ILint nWidth = ilGetInteger(IL_IMAGE_WIDTH), nHeight = ilGetInteger(IL_IMAGE_HEIGHT);
    if (nWidth <= 0 || nHeight <= 0 || nWidth > 65535 || nHeight > 65535)
        return false;
    const ILint eDxtc = ilGetInteger(IL_DXTC_DATA_FORMAT);
    unsigned char nFlags = 0;
    if (eDxtc != IL_DXT_NO_COMP)
        nFlags |= QelTextureDef::kFlagCompressed;
    if (ilGetInteger(IL_IMAGE_BYTES_PER_PIXEL) == 4 && eDxtc != IL_DXT1)
        nFlags |= QelTextureDef::kFlagAlpha;
    GLuint nName = 0;
    if (GLEW_ARB_texture_cube_map && ilGetInteger(IL_IMAGE_CUBEFLAGS) != 0)
    {
        // ILUT picks the cube-map target only while it detects targets.
        ilutEnable(ILUT_GL_AUTODETECT_TEXTURE_TARGET);
        nName = ilutGLBindTexImage();
        ilutDisable(ILUT_GL_AUTODETECT_TEXTURE_TARGET);
        if (nName)
        {
            nFlags |= QelTextureDef::kFlagCubeMap;
            glTexParameteri(GL_TEXTURE_CUBE_MAP_ARB, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
            glTexParameteri(GL_TEXTURE_CUBE_MAP_ARB, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
        }
    }
    else
        nName = ilutGLBindMipmaps();
    if (!nName)
        return false;
    cEntry.m_nName = nName;
    cEntry.m_nWidth = static_cast<unsigned short>(nWidth);
    cEntry.m_nHeight = static_cast<unsigned short>(nHeight);
    cEntry.m_nFlags = nFlags;
    return true;
}

bool QelTextureFromFile(const std::string& strPath, QelTextureCacheEntry& cEntry)
{
    const std::string strHostPath = HostPath(strPath);
    if (HasDDSExtension(strPath))
    {
        std::vector<unsigned char> vBytes;
        if (!ReadWholeFile(strHostPath, vBytes))
            return false;
        bool bOther = false;
        if (FromDDS(vBytes.data(), vBytes.size(), cEntry, bOther))
            return true;
        if (!bOther)
            return false;
    }
    return ThroughDevIL([&] { return ilLoadImage(strHostPath.c_str()) == IL_TRUE; }, cEntry);
}

bool QelTextureFromMemory(const unsigned char* pData, size_t nSize, QelTextureCacheEntry& cEntry)
{
    if (!pData || nSize == 0 || nSize > std::numeric_limits<ILuint>::max())
        return false;
    if (QelIsDDS(pData, nSize))
    {
        bool bOther = false;
        if (FromDDS(pData, nSize, cEntry, bOther))
            return true;
        if (!bOther)
            return false;
    }
    const ILenum eType = SniffType(pData, nSize);
    return ThroughDevIL([&] { return ilLoadL(eType, pData, ILuint(nSize)) == IL_TRUE; }, cEntry);
}

bool QelTextureFromPixels(const unsigned char* pRgba, unsigned int nWidth, unsigned int nHeight,
                          QelTextureCacheEntry& cEntry)
{
    if (!pRgba)
        return false;
    return ThroughDevIL(
        [&] {
            if (ilTexImage(nWidth, nHeight, 1, 4, IL_RGBA, IL_UNSIGNED_BYTE, const_cast<unsigned char*>(pRgba)) !=
                IL_TRUE)
                return false;
            ilRegisterOrigin(IL_ORIGIN_UPPER_LEFT);
            return true;
        },
        cEntry);
}
