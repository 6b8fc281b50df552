#include "qel/platform/detail/QelDevIL.h"

#include "qel/platform/QelBitmap.h"
#include "qel/platform/detail/QelImageCheck.h"

#include <GL/glew.h>
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

#include <cstdio>
#include <cstring>
#include <limits>

void QelDevILInit()
{
    static bool s_bDone = false;
    if (s_bDone)
        return;
    s_bDone = true;
    ilInit();
    iluInit();
    // ILUT sets up its OpenGL renderer here, which enables texturing and changes the pixel store
    // of a current context: the host's state is kept.
    const bool bContext = glGetString(GL_VERSION) != nullptr;
    if (bContext)
    {
        glPushAttrib(GL_ENABLE_BIT);
        glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    }
    ilutInit();
    if (bContext)
    {
        glPopClientAttrib();
        glPopAttrib();
    }
}

namespace
{
/// Reads at most nLimit bytes from the start of a file (the whole file for nLimit 0); bWhole
/// tells whether that was all of it.
bool ReadFileStart(const std::string& strPath, size_t nLimit, std::vector<unsigned char>& vBytes, bool& bWhole)
{
    constexpr long kMaxFileBytes = 1L << 30;
    FILE* pFile = std::fopen(strPath.c_str(), "rb");
    if (!pFile)
        return false;
    bool bOk = std::fseek(pFile, 0, SEEK_END) == 0;
    const long nSize = bOk ? std::ftell(pFile) : -1;
    bOk = bOk && nSize >= 0 && nSize <= kMaxFileBytes && std::fseek(pFile, 0, SEEK_SET) == 0;
    if (bOk)
    {
        const size_t nRead = nLimit && size_t(nSize) > nLimit ? nLimit : size_t(nSize);
        bWhole = nRead == size_t(nSize);
        vBytes.resize(nRead);
        bOk = std::fread(vBytes.data(), 1, vBytes.size(), pFile) == vBytes.size();
    }
    std::fclose(pFile);
    return bOk;
}
} // namespace

bool QelReadWholeFile(const std::string& strPath, std::vector<unsigned char>& vBytes)
{
    bool bWhole = false;
    return ReadFileStart(strPath, 0, vBytes, bWhole);
}

bool QelDevILLoadFile(const std::string& strHostPath, const std::string& strName)
{
    // Headers of the formats read from their files lie within the first bytes; a JPEG whose frame
    // header comes later (after large metadata) is read whole to find it.
    std::vector<unsigned char> vBytes;
    bool bWhole = false;
    if (!ReadFileStart(strHostPath, 256 * 1024, vBytes, bWhole) || vBytes.empty())
        return false;
    const EQelImageFormat eFormat = QelImageFormatOf(vBytes.data(), vBytes.size(), strName);
    const bool bLibraryDecoded = eFormat == eQelImagePng || eFormat == eQelImageJpeg || eFormat == eQelImageTiff;
    if (!bWhole && !(bLibraryDecoded && QelImageIsSound(eFormat, vBytes.data(), vBytes.size())) &&
        !QelReadWholeFile(strHostPath, vBytes))
        return false;
    return QelDevILLoadChecked(vBytes.data(), vBytes.size(), strName, strHostPath);
}

bool QelDevILLoadChecked(const unsigned char* pData, size_t nSize, const std::string& strName,
                         const std::string& strFileToOpen)
{
    if (!pData || nSize == 0 || nSize > std::numeric_limits<ILuint>::max())
        return false;
    static const ILenum kTypes[] = {IL_TYPE_UNKNOWN, IL_PNG, IL_JPG, IL_BMP, IL_TGA, IL_GIF, IL_TIF, IL_DDS};
    static_assert(sizeof(kTypes) / sizeof(kTypes[0]) == eQelImageDds + 1, "one DevIL type per format");
    const EQelImageFormat eFormat = QelImageFormatOf(pData, nSize, strName);
    if (eFormat == eQelImageUnknown || !QelImageIsSound(eFormat, pData, nSize))
        return false;
    // Formats decoded by their own libraries read their files through DevIL's file reader, which
    // feeds them faster than its memory reader; their decoders do not trust the bytes. DevIL's own
    // decoders get the bytes that were checked, never the file again.
    const bool bLibraryDecoded = eFormat == eQelImagePng || eFormat == eQelImageJpeg || eFormat == eQelImageTiff;
    if (bLibraryDecoded && !strFileToOpen.empty())
        return ilLoad(kTypes[eFormat], strFileToOpen.c_str()) == IL_TRUE;
    if (eFormat == eQelImageTiff)
        return false;
    return ilLoadL(kTypes[eFormat], pData, ILuint(nSize)) == IL_TRUE;
}

bool QelDevILDecodeRgba(const void* pData, size_t nSize, std::vector<unsigned char>& vRgba, unsigned int& nWidth,
                        unsigned int& nHeight)
{
    nWidth = nHeight = 0;
    QelDevILInit();
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    bool bOk = QelDevILLoadChecked(static_cast<const unsigned char*>(pData), nSize, std::string()) &&
               ilConvertImage(IL_RGBA, IL_UNSIGNED_BYTE) == IL_TRUE;
    if (bOk)
    {
        const ILint w = ilGetInteger(IL_IMAGE_WIDTH), h = ilGetInteger(IL_IMAGE_HEIGHT);
        bOk = w > 0 && h > 0 && unsigned(w) <= QelBitmap::kMaxSide && unsigned(h) <= QelBitmap::kMaxSide;
        if (bOk)
        {
            nWidth = unsigned(w);
            nHeight = unsigned(h);
            const size_t nRow = size_t(nWidth) * 4;
            vRgba.resize(nRow * nHeight);
            const ILubyte* pSrc = ilGetData();
            const bool bBottomUp = ilGetInteger(IL_IMAGE_ORIGIN) == IL_ORIGIN_LOWER_LEFT;
            for (unsigned int y = 0; y < nHeight; ++y)
                std::memcpy(&vRgba[nRow * y], pSrc + nRow * (bBottomUp ? nHeight - 1 - y : y), nRow);
        }
    }
    ilDeleteImages(1, &nImage);
    return bOk;
}
