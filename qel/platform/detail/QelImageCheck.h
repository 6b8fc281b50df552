#pragma once

#include <cstddef>
#include <string>

/// Image formats DevIL is given; anything else is refused before DevIL sees it.
enum EQelImageFormat
{
    eQelImageUnknown,
    eQelImagePng,
    eQelImageJpeg,
    eQelImageBmp,
    eQelImageTga,
    eQelImageGif,
    eQelImageTiff,
    eQelImageDds
};

/// The format of a block by its signature; a file name's extension decides when the block has
/// none (Targa files carry no signature).
EQelImageFormat QelImageFormatOf(const unsigned char* pData, size_t nSize, const std::string& strName);

/// DevIL's own readers of the simpler formats trust their headers and write past their buffers
/// when a file lies. Before DevIL sees a block, its header (and for run-length data its packets)
/// must agree with the bytes there are. Formats read by their own libraries pass through.
bool QelImageIsSound(EQelImageFormat eFormat, const unsigned char* pData, size_t nSize);
