#pragma once

#include "qel/display/QelDisplayObject.h"
#include "qel/math/QelBox2.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec4.h"
#include "qel/platform/QelExport.h"
#include "qel/platform/QelLogicalFont.h"

#include <cstddef>
#include <string>

class QelProperty;
class QelTextObjectDef;

/// The common part of the three kinds of text: a UTF-8 string, a font, a color and an alignment,
/// kept as properties, laid out in lines and measured before anything is drawn.
///
/// Bad input never draws garbage: invalid UTF-8, text longer than kMaxTextBytes, a non-positive font
/// height, a font that cannot be found or loaded each give one warning when the text or font changes
/// and leave the object drawing nothing. A character the font lacks draws as the font's missing-glyph
/// box. "\n", "\r\n" and "\r" break lines; each line is aligned on its own.
class QEL_EXPORT QelTextObject : public QelDisplayObject
{
public:
    /// Which derived class the object is, fixed at construction.
    enum EKind
    {
        eKindBitmap = 0,
        eKindPolygon,
        eKindTexture
    };

    /// Where the anchor lies on the text horizontally: at the start, middle or end of each line.
    enum EHorizontalAlignment
    {
        eAlignLeft = 0,
        eAlignCenter,
        eAlignRight
    };

    /// Where the anchor lies on the block of lines vertically: its top, middle or bottom (the
    /// descent of the last line included).
    enum EVerticalAlignment
    {
        eAlignTop = 0,
        eAlignMiddle,
        eAlignBottom
    };

    /// Positions in the property table. The last three belong to some kinds only (null otherwise).
    enum ETextProperty
    {
        eTextString = 0,
        eTextFontFamily,
        eTextFontHeight,
        eTextFontWeight,
        eTextFontItalic,
        eTextFontFile,
        eTextColor,
        eTextHorizontalAlignment,
        eTextVerticalAlignment,
        eTextSceneHeight,
        eTextDepth,
        eTextAlwaysOnTop,
        eTextPropertyCount
    };

    /// Longest text, in bytes, that is laid out; longer text is refused with a warning.
    static constexpr size_t kMaxTextBytes = 65536;

    /// Copies the properties (and so the text, font and alignment); the layout is made anew.
    QelTextObject(const QelTextObject& other);
    /// Copies the properties and takes the other's kind; the layout is made anew at the next draw.
    QelTextObject& operator=(const QelTextObject& other);
    ~QelTextObject() override;

    /// Bitmap, polygon or texture text, for hosts that hold the base class.
    EKind GetKind() const;

    /// The text as UTF-8, kept in "Text:String"; it is checked and laid out at the next draw or
    /// measurement, not here.
    ///@{
    void SetText(const std::string& strUtf8);
    std::string GetText();
    ///@}
    /// Family, pixel height, weight and italic, kept in four properties; the font is looked up when
    /// the text is next laid out.
    ///@{
    void SetFont(const QelLogicalFont& cFont);
    QelLogicalFont GetFont();
    ///@}
    /// A font file used instead of the family when not empty; the height of the font still applies.
    void SetFontFile(const std::string& strFile);
    /// The font file set, or empty when the family is used.
    std::string GetFontFile();
    /// Red, green, blue, alpha in 0..1.
    void SetColor(const QelVec4& vColor);
    /// The color as stored (packed, so each component in steps of 1/255).
    QelVec4 GetColor();
    /// Em height in scene units of polygonal and texture-mapped text; bitmap text has none (0).
    void SetSceneHeight(float fHeight);
    /// The em height in scene units; 0 for bitmap text.
    float GetSceneHeight();
    /// Where the object's origin lies on the text; each line is aligned on its own horizontally.
    void SetAlignment(EHorizontalAlignment eHorizontal, EVerticalAlignment eVertical);
    /// The alignment as stored; a value out of range reads as the nearest one.
    ///@{
    EHorizontalAlignment GetHorizontalAlignment();
    EVerticalAlignment GetVerticalAlignment();
    ///@}

    /// What a Windows host asks of GetTextExtentPoint32: the advance of the widest line of strUtf8
    /// and the height of its block of lines, in this object's font and units (pixels for bitmap text,
    /// scene units for the others). False, with a warning, when there is no font or the text is bad.
    bool MeasureString(const std::string& strUtf8, QelVec2& vSize);
    /// MeasureString of the object's own text.
    bool GetTextSize(QelVec2& vSize);
    /// What the glyphs of the own text cover, relative to the anchor after alignment, in the object's
    /// units (y up). False when nothing would be inked.
    bool GetInkBox(QelBox2& cBox);
    /// Scene units per font pixel: 1 for bitmap text, the scene height over the pixel height otherwise.
    float GetUnitsPerPixel();

    /// The property at a position of the table; null for one this kind does not have.
    QelProperty* GetTextProperty(ETextProperty eProperty) const;

    /// Runs the transform's change detection and notes changes of the text's properties.
    void Calculate() override;
    /// Lays the text out again if it changed, then draws it (see DrawGlyphs).
    void Draw() override;
    std::string GetPropertyDescription(const QelProperty* pProperty) override;

protected:
    /// Makes the properties every kind has.
    explicit QelTextObject(EKind eKind);
    /// Makes one of the kind-specific properties with its default.
    void AddTextProperty(ETextProperty eProperty);
    /// Sets the OpenGL state of the kind and calls DrawLines; switches come back as they were, while
    /// the current color (and normal and texture coordinate) is left as the glyphs set it, as any
    /// fixed-function drawing leaves it. Only called when there is text to draw.
    virtual void DrawGlyphs() = 0;
    /// Renders every line at its place: at the current raster position in pixels for bitmap text,
    /// in scene units (the modelview scaled by GetUnitsPerPixel) for the others.
    void DrawLines();
    /// The color as laid out (red, green, blue, alpha).
    const QelVec4& GetDrawColor() const;

private:
    /// Brings the layout up to date with the properties and the font cache.
    void Update();
    void Rebuild();
    void BindTable();
    bool DecodeText(const std::string& strUtf8, std::wstring& strOut) const;

    QelTextObjectDef* m_pDef;
};
