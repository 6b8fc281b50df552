#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelHandles.h"

#include <vector>

#if !defined(_WIN32)
/// The bitmap behind an HBITMAP off Windows: 8-bit RGBA pixels, top row first.
struct HBITMAP__
{
    /// Size in pixels and the RGBA bytes (width * height * 4), top row first.
    ///@{
    unsigned int m_nWidth = 0;
    unsigned int m_nHeight = 0;
    std::vector<unsigned char> m_vPixels;
    ///@}
};
#endif

/// Portable stand-in for the GDI bitmap calls the library needs (LoadImageA of a bitmap resource,
/// DeleteObject, reading the pixels). A host makes bitmaps from pixels or from "Bitmap"
/// resources registered with QelResources; images and textures read them.
class QEL_EXPORT QelBitmap
{
public:
    /// Largest side accepted, as for textures.
    static constexpr unsigned int kMaxSide = 16384;

    /// A bitmap of the given size from RGBA bytes, top row first; null for a zero or oversized
    /// side or missing pixels.
    static HBITMAP Create(unsigned int nWidth, unsigned int nHeight, const unsigned char* pRgba);
    /// The "Bitmap" resource nId of the module, decoded as a device-independent bitmap (the block
    /// holds a .bmp file, or the bitmap without its file header as resource compilers store it).
    /// Null when it is missing or cannot be decoded.
    static HBITMAP LoadFromResource(HINSTANCE hModule, unsigned int nId);
    /// Frees a bitmap made by this class; null is ignored.
    static void Delete(HBITMAP hBitmap);

    /// Size in pixels; 0 for a null bitmap.
    ///@{
    static unsigned int GetWidth(HBITMAP hBitmap);
    static unsigned int GetHeight(HBITMAP hBitmap);
    ///@}
    /// RGBA bytes, top row first; null for a null bitmap.
    static const unsigned char* GetPixels(HBITMAP hBitmap);
};
