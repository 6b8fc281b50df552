#include "qel/materials/QelTexture.h"

#include "qel/framework/QelSysApp.h"
#include "qel/materials/detail/QelTextureCache.h"
#include "qel/materials/detail/QelTextureDef.h"
#include "qel/materials/detail/QelTextureUpload.h"
#include "qel/platform/QelBitmap.h"
#include "qel/platform/QelResources.h"
#include "qel/platform/QelString.h"

#include <GL/glew.h>

namespace
{
void CopyEntry(QelTextureDef& cDef, const QelTextureCacheEntry& cEntry)
{
    cDef.m_nName = cEntry.m_nName;
    cDef.m_nWidth = cEntry.m_nWidth;
    cDef.m_nHeight = cEntry.m_nHeight;
    cDef.m_nFlags = cEntry.m_nFlags;
    cDef.m_nSerial = cEntry.m_nSerial;
}

bool ResourceToEntry(HINSTANCE hModule, unsigned int nId, const char* pType, QelTextureCacheEntry& cEntry)
{
    if (QelStricmp(pType, "Bitmap") == 0)
    {
        HBITMAP hBitmap = QelBitmap::LoadFromResource(hModule, nId);
        const bool bOk = hBitmap && QelTextureFromPixels(QelBitmap::GetPixels(hBitmap), QelBitmap::GetWidth(hBitmap),
                                                         QelBitmap::GetHeight(hBitmap), cEntry);
        QelBitmap::Delete(hBitmap);
        return bOk;
    }
    const void* pData = nullptr;
    size_t nSize = 0;
    return QelResources::Find(hModule, nId, pType, pData, nSize) &&
           QelTextureFromMemory(static_cast<const unsigned char*>(pData), nSize, cEntry);
}
} // namespace

QelTexture::QelTexture() : m_pDef(new QelTextureDef) {}

QelTexture::QelTexture(const QelTexture& other) : m_pDef(new QelTextureDef)
{
    *this = other;
}

QelTexture& QelTexture::operator=(const QelTexture& other)
{
    if (this == &other)
        return *this;
    Release();
    *m_pDef = *other.m_pDef;
    m_pDef->m_nShareCount = 0;
    if (m_pDef->m_nName)
        QelTextureCache::AddUser(m_pDef->m_nName, m_pDef->m_nSerial);
    return *this;
}

QelTexture::~QelTexture()
{
    Release();
    delete m_pDef;
}

bool QelTexture::LoadFromFile(const std::string& strFilename, bool bReportFailure)
{
    Release();
    if (!strFilename.empty())
    {
        const std::string strKey = QelTextureCache::FileKey(strFilename);
        QelTextureCacheEntry cEntry;
        if (QelTextureCacheEntry* pHit = QelTextureCache::FindFile(strKey))
        {
            ++pHit->m_nUsers;
            CopyEntry(*m_pDef, *pHit);
        }
        else if (QelTextureFromFile(strFilename, cEntry))
            CopyEntry(*m_pDef, QelTextureCache::AddFile(strKey, cEntry));
    }
    if (!m_pDef->m_nName && bReportFailure)
        QelSysApp::App().PrintToConsole("<warning> Texture [%s] failed to load\n", strFilename.c_str());
    return m_pDef->m_nName != 0;
}

bool QelTexture::LoadFromMemory(const void*, bool bReportFailure)
{
    Release();
    if (bReportFailure)
        QelSysApp::App().PrintToConsole("<error> Texture from memory failed\n");
    return false;
}

bool QelTexture::LoadFromMemory(const void* pData, unsigned int nSize, bool bReportFailure)
{
    Release();
    QelTextureCacheEntry cEntry;
    if (QelTextureFromMemory(static_cast<const unsigned char*>(pData), nSize, cEntry))
        CopyEntry(*m_pDef, QelTextureCache::AddUncached(cEntry));
    else if (bReportFailure)
        QelSysApp::App().PrintToConsole("<error> Texture from memory failed\n");
    return m_pDef->m_nName != 0;
}

bool QelTexture::LoadFromResource(HINSTANCE hModule, unsigned int nId, const char* pType, bool bReportFailure)
{
    Release();
    const std::string strType = pType ? pType : "";
    QelTextureCacheEntry cEntry;
    if (QelTextureCacheEntry* pHit = QelTextureCache::FindResource(hModule, nId, strType))
    {
        ++pHit->m_nUsers;
        CopyEntry(*m_pDef, *pHit);
    }
    else if (pType && ResourceToEntry(hModule, nId, pType, cEntry))
        CopyEntry(*m_pDef, QelTextureCache::AddResource(hModule, nId, strType, cEntry));
    if (!m_pDef->m_nName && bReportFailure)
        QelSysApp::App().PrintToConsole("<error> Texture from resource failed\n");
    return m_pDef->m_nName != 0;
}

void QelTexture::Release()
{
    if (m_pDef->m_nName)
        QelTextureCache::Release(m_pDef->m_nName, m_pDef->m_nSerial);
    m_pDef->Clear();
}

bool QelTexture::StaticLoadFromResource(HINSTANCE hModule, unsigned int nId, const char* pType)
{
    if (m_pDef->m_nName)
    {
        ++m_pDef->m_nShareCount;
        return true;
    }
    if (!LoadFromResource(hModule, nId, pType, true))
        return false;
    m_pDef->m_nShareCount = 1;
    return true;
}

void QelTexture::StaticRelease()
{
    if (m_pDef->m_nShareCount > 1)
    {
        --m_pDef->m_nShareCount;
        return;
    }
    Release();
}

bool QelTexture::Bind() const
{
    glBindTexture(IsCubeMap() ? GL_TEXTURE_CUBE_MAP_ARB : GL_TEXTURE_2D, m_pDef->m_nName);
    return m_pDef->m_nName != 0;
}

void QelTexture::Unbind()
{
    glBindTexture(GL_TEXTURE_2D, 0);
    if (GLEW_ARB_texture_cube_map)
        glBindTexture(GL_TEXTURE_CUBE_MAP_ARB, 0);
}

bool QelTexture::IsValid() const
{
    return m_pDef->m_nName != 0;
}

unsigned short QelTexture::GetWidth() const
{
    return m_pDef->m_nWidth;
}

unsigned short QelTexture::GetHeight() const
{
    return m_pDef->m_nHeight;
}

bool QelTexture::HasAlpha() const
{
    return (m_pDef->m_nFlags & QelTextureDef::kFlagAlpha) != 0;
}

bool QelTexture::IsCompressed() const
{
    return (m_pDef->m_nFlags & QelTextureDef::kFlagCompressed) != 0;
}

bool QelTexture::IsCubeMap() const
{
    return (m_pDef->m_nFlags & QelTextureDef::kFlagCubeMap) != 0;
}

unsigned int QelTexture::GetName() const
{
    return m_pDef->m_nName;
}

void QelTexture::GetCacheUsage(unsigned int& nFileTextures, unsigned int& nResourceTextures)
{
    QelTextureCache::Usage(nFileTextures, nResourceTextures);
}

void QelTexture::FlushCache(bool bAll)
{
    QelTextureCache::Flush(bAll);
}

std::string QelTexture::GetFilenameFilters()
{
    return "Supported Image Formats|*.bmp;*.dds;*.gif;*.jpg;*.jpeg;*.png;*.tga|Bitmap (*.bmp)|*.bmp|Direct Draw "
           "Surface (*.dds)|*.dds|Compuserve GIF (*.gif)|*.gif|JPEG (*.jpg,*.jpeg)|*.jpg;*.jpeg|PNG "
           "(*.png)|*.png|Targa (*.tga)|*.tga|TIFF (*.tif,*.tiff)|*.tif;*.tiff|All (*.*)|*.*||";
}

bool QelTexture::operator==(const QelTexture& other) const
{
    return m_pDef->m_nName == other.m_pDef->m_nName;
}

bool QelTexture::operator!=(const QelTexture& other) const
{
    return m_pDef->m_nName != other.m_pDef->m_nName;
}

bool QelTexture::operator<(const QelTexture& other) const
{
    return m_pDef->m_nName < other.m_pDef->m_nName;
}

bool QelTexture::operator>(const QelTexture& other) const
{
    return m_pDef->m_nName > other.m_pDef->m_nName;
}
