#include "qel/platform/detail/QelDevIL.h"

#include "qel/platform/QelBitmap.h"

#include <GL/glew.h>
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

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

bool QelDevILDecodeRgba(unsigned int nType, const void* pData, size_t nSize, std::vector<unsigned char>& vRgba,
                        unsigned int& nWidth, unsigned int& nHeight)
{
    nWidth = nHeight = 0;
    if (!pData || nSize == 0 || nSize > std::numeric_limits<ILuint>::max())
        return false;
    QelDevILInit();
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    bool bOk = ilLoadL(nType, pData, ILuint(nSize)) == IL_TRUE && ilConvertImage(IL_RGBA, IL_UNSIGNED_BYTE) == IL_TRUE;
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
