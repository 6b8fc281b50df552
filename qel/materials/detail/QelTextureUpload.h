#pragma once

#include <cstddef>
#include <string>
#include <vector>

struct QelTextureCacheEntry;

/// Makes a texture from the bound DevIL image: RGBA with a full mipmap chain, or a cube map when
/// the image has faces and OpenGL takes cube maps. False (entry cleared) when nothing was made.
bool QelTextureFromBoundImage(QelTextureCacheEntry& cEntry);

/// A file on disk: DDS through the own reader (and DevIL for the DDS kinds it does not take),
/// anything else through DevIL.
bool QelTextureFromFile(const std::string& strPath, QelTextureCacheEntry& cEntry);

/// A whole file held in memory, as QelTextureFromFile.
bool QelTextureFromMemory(const unsigned char* pData, size_t nSize, QelTextureCacheEntry& cEntry);

/// RGBA pixels, top row first.
bool QelTextureFromPixels(const unsigned char* pRgba, unsigned int nWidth, unsigned int nHeight,
                          QelTextureCacheEntry& cEntry);
