#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// One level of one face of a DDS file: where its blocks lie and their size.
struct QelDDSLevel
{
    size_t m_nOffset = 0;
    size_t m_nSize = 0;
    unsigned int m_nWidth = 0;
    unsigned int m_nHeight = 0;
};

/// The layout of a block-compressed DDS file, checked against the bytes it came in.
struct QelDDSInfo
{
    unsigned int m_nWidth = 0;
    unsigned int m_nHeight = 0;
    unsigned int m_nLevels = 0;
    unsigned int m_nFaces = 0; ///< 1, or 6 for a cube map
    unsigned int m_nFormat = 0; ///< the GL compressed internal format
    /// Set when a refused file is sound but not one this reader takes (another pixel format, a
    /// volume, or a driver without compressed textures or cube maps): DevIL may still read it.
    /// A broken file (truncated, sizes that disagree, absurd sizes) leaves it clear.
    bool m_bOtherFormat = false;
    /// Faces one after another, each with all its levels (the order of the file).
    std::vector<QelDDSLevel> m_vLevels;
};

/// Reads the header of a DXT1, DXT3 or DXT5 file and places every level, refusing anything the
/// bytes do not hold whole. False, with the reason in strWhy, for any other file.
bool QelParseDDS(const unsigned char* pData, size_t nSize, unsigned int nMaxSide, QelDDSInfo& cInfo,
                 std::string& strWhy);

/// The own DDS reader: parses, then uploads every level compressed (six faces to the cube-map
/// target for a cube map). The new texture stays bound. Returns the texture name, or 0 (nothing
/// left behind) when the file is refused or the driver lacks compressed textures or, for a
/// cube map, cube maps.
unsigned int QelLoadDDS(const unsigned char* pData, size_t nSize, QelDDSInfo& cInfo);

/// True when the block starts like a DDS file.
bool QelIsDDS(const unsigned char* pData, size_t nSize);
