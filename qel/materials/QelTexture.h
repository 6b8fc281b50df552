#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelHandles.h"

#include <string>

class QelTextureDef;

/// An OpenGL texture made from an image file, a memory block or a program resource. Textures of
/// one file share one OpenGL texture through a process-wide cache keyed by the canonical path;
/// resource textures share through a second cache. Cached textures stay in OpenGL until
/// FlushCache, even when nobody uses them any more.
class QEL_EXPORT QelTexture
{
public:
    QelTexture();
    /// The copy uses the same OpenGL texture and counts as one more user of it.
    QelTexture(const QelTexture& other);
    /// Releases this texture, then shares the other's as the copy constructor does.
    QelTexture& operator=(const QelTexture& other);
    /// Counts one user less (see Release).
    virtual ~QelTexture();

    /// Loads through the cache. ".dds" files (DXT1, DXT3, DXT5, cube maps included) are read by
    /// the library itself and stay compressed; everything else goes through DevIL as RGBA with a
    /// full mipmap chain. On failure the texture is invalid, with a warning when bReportFailure.
    bool LoadFromFile(const std::string& strFilename, bool bReportFailure);
    /// A whole image file held in memory. Without its size the block cannot be read safely, so
    /// this form always fails; use the sized form.
    bool LoadFromMemory(const void* pData, bool bReportFailure);
    /// A whole image or DDS file of nSize bytes; not cached (every call makes a new texture).
    bool LoadFromMemory(const void* pData, unsigned int nSize, bool bReportFailure);
    /// A resource registered with QelResources, through the resource cache; the type "Bitmap" is
    /// decoded as a bitmap.
    bool LoadFromResource(HINSTANCE hModule, unsigned int nId, const char* pType, bool bReportFailure);
    /// Gives the texture back to the cache and makes this object invalid.
    void Release();

    /// For a texture object shared by several holders: the first call loads, later calls only
    /// count one more sharer.
    bool StaticLoadFromResource(HINSTANCE hModule, unsigned int nId, const char* pType);
    /// One sharer less; the last one releases the texture.
    void StaticRelease();

    /// Binds to the cube-map target for a cube map, else to GL_TEXTURE_2D; false when invalid.
    bool Bind() const;
    /// Binds no texture to the 2D and the cube-map targets.
    static void Unbind();

    /// True while the object names an OpenGL texture (after a successful load, before Release).
    bool IsValid() const;
    /// Size of the top mipmap level in pixels; 0 when invalid.
    ///@{
    unsigned short GetWidth() const;
    unsigned short GetHeight() const;
    ///@}
    /// What the loaded image turned out to be: with an alpha channel, block-compressed (DDS), or a
    /// cube map (bound to the cube-map target, used by the cube coordinate modes).
    ///@{
    bool HasAlpha() const;
    bool IsCompressed() const;
    bool IsCubeMap() const;
    ///@}
    /// The OpenGL texture name; 0 when invalid.
    unsigned int GetName() const;

    /// Entries of the file cache and of the resource cache.
    static void GetCacheUsage(unsigned int& nFileTextures, unsigned int& nResourceTextures);
    /// Deletes cached textures nobody uses, or with bAll every cached texture (even those in use).
    static void FlushCache(bool bAll);
    /// The filter of a file dialog that offers the formats textures load.
    static std::string GetFilenameFilters();

    /// Compare the OpenGL texture names, so two loads of one cached file are equal and textures can
    /// key ordered containers.
    ///@{
    bool operator==(const QelTexture& other) const;
    bool operator!=(const QelTexture& other) const;
    bool operator<(const QelTexture& other) const;
    bool operator>(const QelTexture& other) const;
    ///@}

private:
    QelTextureDef* m_pDef;
};
