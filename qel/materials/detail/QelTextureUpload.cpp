#include "qel/materials/detail/QelTextureUpload.h"

#include "qel/materials/detail/QelDDSReader.h"
#include "qel/materials/detail/QelDevILModes.h"
#include "qel/materials/detail/QelTextureCache.h"
#include "qel/materials/detail/QelTextureDef.h"
#include "qel/platform/QelString.h"
#include "qel/platform/detail/QelDevIL.h"

#include <GL/glew.h>
#define ILUT_USE_OPENGL
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

#include <functional>

namespace
{
bool HasDDSExtension(const std::string& strPath)
{
    const size_t nDot = strPath.rfind('.');
    return nDot != std::string::npos && QelStricmp(strPath.c_str() + nDot + 1, "dds") == 0;
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

/// Uploads the six faces of the bound DevIL image to a new cube map, each as RGBA. (ILUT's own
/// cube-map upload sends the first face only.) Returns 0, leaving nothing behind, unless DevIL
/// holds six square faces of one size.
GLuint CubeMapFromBoundImage(ILint nWidth, ILint nHeight)
{
    const ILuint nImage = ilGetInteger(IL_CUR_IMAGE);
    if (nWidth != nHeight || ilGetInteger(IL_NUM_FACES) != 5)
        return 0;
    GLuint nName = 0;
    glGenTextures(1, &nName);
    glBindTexture(GL_TEXTURE_CUBE_MAP_ARB, nName);
    bool bOk = true;
    for (ILuint nFace = 0; nFace < 6 && bOk; ++nFace)
    {
        ilBindImage(nImage);
        bOk = ilActiveFace(nFace) == IL_TRUE && ilConvertImage(IL_RGBA, IL_UNSIGNED_BYTE) == IL_TRUE &&
              ilGetInteger(IL_IMAGE_WIDTH) == nWidth && ilGetInteger(IL_IMAGE_HEIGHT) == nHeight;
        if (bOk)
            glTexImage2D(GLenum(GL_TEXTURE_CUBE_MAP_POSITIVE_X_ARB + nFace), 0, GL_RGBA8, nWidth, nHeight, 0, GL_RGBA,
                         GL_UNSIGNED_BYTE, ilGetData());
    }
    ilBindImage(nImage);
    if (!bOk)
    {
        glDeleteTextures(1, &nName);
        return 0;
    }
    glTexParameteri(GL_TEXTURE_CUBE_MAP_ARB, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_CUBE_MAP_ARB, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    return nName;
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
    if (GLEW_ARB_texture_cube_map && ilGetInteger(IL_IMAGE_CUBEFLAGS) != 0 &&
        (nName = CubeMapFromBoundImage(nWidth, nHeight)) != 0)
        nFlags |= QelTextureDef::kFlagCubeMap;
    else
        nName = ilutGLBindMipmaps(); // a 2D texture of the first face when the faces do not make a cube
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
    const std::string strHostPath = QelHostPath(strPath);
    if (HasDDSExtension(strPath))
    {
        std::vector<unsigned char> vBytes;
        if (!QelReadWholeFile(strHostPath, vBytes) || vBytes.empty())
            return false;
        bool bOther = false;
        if (FromDDS(vBytes.data(), vBytes.size(), cEntry, bOther))
            return true;
        if (!bOther)
            return false;
        return ThroughDevIL([&] { return QelDevILLoadChecked(vBytes.data(), vBytes.size(), strPath); }, cEntry);
    }
    // DevIL is given checked bytes, or files of the formats whose decoders check for themselves.
    return ThroughDevIL([&] { return QelDevILLoadFile(strHostPath, strPath); }, cEntry);
}

bool QelTextureFromMemory(const unsigned char* pData, size_t nSize, QelTextureCacheEntry& cEntry)
{
    if (!pData || nSize == 0)
        return false;
    if (QelIsDDS(pData, nSize))
    {
        bool bOther = false;
        if (FromDDS(pData, nSize, cEntry, bOther))
            return true;
        if (!bOther)
            return false;
    }
    return ThroughDevIL([&] { return QelDevILLoadChecked(pData, nSize, std::string()); }, cEntry);
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
