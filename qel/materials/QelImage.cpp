#include "qel/materials/QelImage.h"

#include "qel/materials/detail/QelDevILModes.h"
#include "qel/platform/QelBitmap.h"
#include "qel/platform/QelResources.h"
#include "qel/platform/QelString.h"
#include "qel/platform/detail/QelDevIL.h"

#include <GL/glew.h>
#define ILUT_USE_OPENGL
#include <IL/il.h>
#include <IL/ilu.h>
#include <IL/ilut.h>

#include <limits>

QelImage::QelImage() = default;

QelImage::QelImage(const QelImage& other)
{
    *this = other;
}

QelImage& QelImage::operator=(const QelImage& other)
{
    if (this == &other)
        return *this;
    if (!other.m_nImage)
    {
        if (m_nImage)
            ilDeleteImages(1, &m_nImage);
        m_nImage = 0;
        return *this;
    }
    Bind();
    ilCopyImage(other.m_nImage);
    return *this;
}

QelImage::~QelImage()
{
    if (m_nImage)
        ilDeleteImages(1, &m_nImage);
}

void QelImage::Bind() const
{
    QelDevILUseImageMode();
    if (!m_nImage)
        ilGenImages(1, &m_nImage);
    ilBindImage(m_nImage);
}

bool QelImage::BindExisting() const
{
    if (!m_nImage)
        return false;
    Bind();
    return true;
}

bool QelImage::LoadFromFile(const std::string& strFilename)
{
    Bind();
    ilEnable(IL_ORIGIN_SET);
    ilOriginFunc(IL_ORIGIN_UPPER_LEFT);
    return QelDevILLoadFile(QelHostPath(strFilename), strFilename);
}

bool QelImage::LoadFromMemory(const void*)
{
    return false;
}

bool QelImage::LoadFromMemory(const void* pData, unsigned int nSize)
{
    if (!pData || nSize == 0)
        return false;
    Bind();
    return QelDevILLoadChecked(static_cast<const unsigned char*>(pData), nSize, std::string());
}

bool QelImage::LoadFromResource(HINSTANCE hModule, unsigned int nId, const std::string& strType)
{
    if (strType == "Bitmap")
    {
        HBITMAP hBitmap = QelBitmap::LoadFromResource(hModule, nId);
        const bool bOk = hBitmap && LoadFromBitmap(hBitmap);
        QelBitmap::Delete(hBitmap);
        return bOk;
    }
    const void* pData = nullptr;
    size_t nSize = 0;
    if (!QelResources::Find(hModule, nId, strType, pData, nSize) || nSize > std::numeric_limits<unsigned int>::max())
        return false;
    return LoadFromMemory(pData, unsigned(nSize));
}

bool QelImage::LoadFromBitmap(HBITMAP hBitmap)
{
    const unsigned char* pPixels = QelBitmap::GetPixels(hBitmap);
    if (!pPixels)
        return false;
    Bind();
    if (ilTexImage(QelBitmap::GetWidth(hBitmap), QelBitmap::GetHeight(hBitmap), 1, 4, IL_RGBA, IL_UNSIGNED_BYTE,
                   const_cast<unsigned char*>(pPixels)) != IL_TRUE)
        return false;
    ilRegisterOrigin(IL_ORIGIN_UPPER_LEFT);
    return true;
}

bool QelImage::Blur(int nIterations)
{
    if (nIterations < 0 || !BindExisting())
        return false;
    return iluBlurAvg(ILuint(nIterations)) == IL_TRUE;
}

bool QelImage::Resize(unsigned int nWidth, unsigned int nHeight)
{
    if (nWidth == 0 || nHeight == 0 || nWidth > QelBitmap::kMaxSide || nHeight > QelBitmap::kMaxSide ||
        !BindExisting())
        return false;
    return iluScale(nWidth, nHeight, ILuint(ilGetInteger(IL_IMAGE_DEPTH))) == IL_TRUE;
}

unsigned int QelImage::GetWidth() const
{
    return BindExisting() ? unsigned(ilGetInteger(IL_IMAGE_WIDTH)) : 0;
}

unsigned int QelImage::GetHeight() const
{
    return BindExisting() ? unsigned(ilGetInteger(IL_IMAGE_HEIGHT)) : 0;
}

unsigned int QelImage::GetDepth() const
{
    return BindExisting() ? unsigned(ilGetInteger(IL_IMAGE_DEPTH)) : 0;
}

unsigned int QelImage::GetPaletteDepth() const
{
    return BindExisting() ? unsigned(ilGetInteger(IL_PALETTE_BPP)) : 0;
}

unsigned char* QelImage::GetPalette() const
{
    return BindExisting() ? ilGetPalette() : nullptr;
}

unsigned char* QelImage::GetRawData() const
{
    return BindExisting() ? ilGetData() : nullptr;
}

const char* QelImage::GetError() const
{
    QelDevILUseImageMode();
    return iluErrorString(ilGetError());
}

bool QelImage::TakeScreenshot(const std::string& strFilename)
{
    QelDevILUseImageMode();
    if (!QelDevILAttachOpenGL())
        return false;
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPushAttrib(GL_PIXEL_MODE_BIT);
    GLint aViewport[4] = {0, 0, 0, 0};
    glGetIntegerv(GL_VIEWPORT, aViewport);
    glPixelStorei(GL_PACK_ROW_LENGTH, aViewport[2]);
    glPixelStorei(GL_PACK_SKIP_ROWS, 0);
    glPixelStorei(GL_PACK_SKIP_PIXELS, 0);
    ILuint nImage = 0;
    ilGenImages(1, &nImage);
    ilBindImage(nImage);
    bool bOk = ilutGLScreen() == IL_TRUE;
    if (bOk)
    {
        ilEnable(IL_FILE_OVERWRITE);
        bOk = ilSaveImage(strFilename.c_str()) == IL_TRUE;
    }
    ilDeleteImages(1, &nImage);
    glPopAttrib();
    glPopClientAttrib();
    return bOk;
}
