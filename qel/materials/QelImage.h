#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelHandles.h"

#include <string>

/// An image in memory, held by DevIL: loads from files, memory blocks, program resources and
/// bitmaps, scales, blurs, and saves screenshots of the OpenGL view.
class QEL_EXPORT QelImage
{
public:
    QelImage();
    /// A deep copy: a new DevIL image with the source's pixels (empty when the source is).
    QelImage(const QelImage& other);
    /// A deep copy as for the copy constructor; assigning an empty image frees this one's pixels.
    QelImage& operator=(const QelImage& other);
    virtual ~QelImage();

    /// Any format DevIL reads; the first row in memory is the top of the picture.
    bool LoadFromFile(const std::string& strFilename);
    /// A whole image file held in memory. Without its size the block cannot be read safely, so
    /// this form always refuses; use the sized form.
    bool LoadFromMemory(const void* pData);
    /// A whole image file of nSize bytes in any format DevIL reads; false for null or zero bytes and
    /// for data DevIL cannot read.
    bool LoadFromMemory(const void* pData, unsigned int nSize);
    /// A resource registered with QelResources; the type "Bitmap" is decoded as a bitmap.
    bool LoadFromResource(HINSTANCE hModule, unsigned int nId, const std::string& strType);
    /// Copies a bitmap's pixels as RGBA; false for a bitmap without pixels.
    bool LoadFromBitmap(HBITMAP hBitmap);

    /// Averaging blur, repeated; false without an image or for a negative count.
    bool Blur(int nIterations);
    /// Scales to the given size, keeping the depth; false without an image or for a zero or
    /// oversized side.
    bool Resize(unsigned int nWidth, unsigned int nHeight);

    /// Size in pixels, and depth in slices (1 for a flat picture); all 0 without an image.
    ///@{
    unsigned int GetWidth() const;
    unsigned int GetHeight() const;
    unsigned int GetDepth() const;
    ///@}
    /// Bytes per palette entry; 0 when the image has no palette.
    unsigned int GetPaletteDepth() const;
    /// The palette entries, or null without an image or palette; owned by the image and valid until
    /// it changes.
    unsigned char* GetPalette() const;
    /// The pixels in the format the file had, rows from the top; owned by the image and valid until
    /// it changes; null without an image.
    unsigned char* GetRawData() const;
    /// Text of DevIL's last error code (which reading clears).
    const char* GetError() const;

    /// Saves the current viewport of the OpenGL view to a file; the format follows the extension
    /// (any DevIL writes). An existing file is overwritten.
    static bool TakeScreenshot(const std::string& strFilename);

private:
    /// Makes the DevIL image on demand and binds it.
    void Bind() const;
    /// Binds the image when there is one.
    bool BindExisting() const;

    mutable unsigned int m_nImage = 0;
};
