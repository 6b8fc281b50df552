#pragma once

/// The data of a QelTexture: the OpenGL name and what the cache knows about it.
class QelTextureDef
{
public:
    static constexpr unsigned char kFlagAlpha = 0x20;
    static constexpr unsigned char kFlagCompressed = 0x40;
    static constexpr unsigned char kFlagCubeMap = 0x80;
    /// The low bits belong to the cache: cleared when an entry is made; an entry with any of
    /// them set outlives a flush of unused textures.
    static constexpr unsigned char kCacheBits = 0x1F;

    virtual ~QelTextureDef() = default;

    void Clear() { *this = QelTextureDef(); }

    unsigned int m_nName = 0;
    /// Holders sharing this texture through StaticLoadFromResource.
    unsigned int m_nShareCount = 0;
    unsigned short m_nWidth = 0;
    unsigned short m_nHeight = 0;
    unsigned char m_nFlags = 0;
    /// Which cache entry the name belongs to: OpenGL reuses deleted names, and a texture that
    /// outlived a flush must not count down the entry that took its name over.
    unsigned int m_nSerial = 0;
};
