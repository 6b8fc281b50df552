#pragma once

#include <cstddef>
#include <vector>

/// DevIL's own initialisation (ilInit, iluInit, ilutInit), once per process.
void QelDevILInit();

/// Decodes an image file held in memory into RGBA bytes, top row first. The type is a DevIL type
/// (IL_TYPE_UNKNOWN to let DevIL guess). False when DevIL refuses the bytes or the size is absurd.
bool QelDevILDecodeRgba(unsigned int nType, const void* pData, size_t nSize, std::vector<unsigned char>& vRgba,
                        unsigned int& nWidth, unsigned int& nHeight);
