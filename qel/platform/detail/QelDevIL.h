#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// DevIL's own initialisation (ilInit, iluInit, ilutInit), once per process.
void QelDevILInit();

/// Reads a whole file (up to 1 GiB); false when it cannot be read.
bool QelReadWholeFile(const std::string& strPath, std::vector<unsigned char>& vBytes);

/// Loads an image file held in memory into the bound DevIL image, after QelImageIsSound accepted
/// it. The name (may be empty) gives the format of blocks without a signature. strFileToOpen is
/// the file the bytes came from, if any: PNG, JPEG and TIFF are then read from it. DevIL's memory
/// reader does not bound the seeks TIFF files make, so a TIFF without its file is refused.
bool QelDevILLoadChecked(const unsigned char* pData, size_t nSize, const std::string& strName,
                         const std::string& strFileToOpen = std::string());

/// Loads an image file into the bound DevIL image. PNG, JPEG and TIFF files are checked by their
/// first bytes and read by DevIL from the file; the others are read whole and checked first.
/// strName gives the format of files without a signature.
bool QelDevILLoadFile(const std::string& strHostPath, const std::string& strName);

/// Decodes an image file held in memory into RGBA bytes, top row first. False when the block is
/// refused or the size is absurd.
bool QelDevILDecodeRgba(const void* pData, size_t nSize, std::vector<unsigned char>& vRgba, unsigned int& nWidth,
                        unsigned int& nHeight);
