#pragma once

#include <string>
#include <vector>

namespace qel::detail
{
/// Encodes 8-bit RGBA pixels, top row first, as a PNG file image. Empty when the size is not
/// positive, the pixels are too few for it or zlib fails.
std::vector<unsigned char> EncodePngRgba(const unsigned char* pPixels, int nWidth, int nHeight);

/// Writes bytes to a file; false when it cannot be opened or written whole.
bool WriteFileBytes(const std::string& strFilename, const std::vector<unsigned char>& vBytes);
} // namespace qel::detail
