#pragma once

#include "qel/platform/QelExport.h"
#include "qel/text/QelTextObject.h"

/// Text drawn as quads textured with its glyphs, in the object's XY plane, baseline along +X, an em
/// "Text:Height" scene units tall: it scales and turns with the scene. The glyph textures hold
/// coverage at the font's pixel height and are blended over what lies behind; lighting is off
/// while it draws, so the color is the one asked for.
class QEL_EXPORT QelTextureText : public QelTextObject
{
public:
    QelTextureText();
    /// A text showing strUtf8 in the default font; bad UTF-8 is reported when the text is laid out.
    explicit QelTextureText(const std::string& strUtf8);


protected:
    void DrawGlyphs() override;
};
