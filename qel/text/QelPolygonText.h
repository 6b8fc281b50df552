#pragma once

#include "qel/platform/QelExport.h"
#include "qel/text/QelTextObject.h"

/// Text as filled glyph outlines in the object's XY plane, baseline along +X, an em "Text:Height"
/// scene units tall. With a "Text:Depth" above 0 the glyphs are extruded that far along -Z, with
/// side walls. It is lit by the scene's lights, its color serving as ambient and diffuse material.
class QEL_EXPORT QelPolygonText : public QelTextObject
{
public:
    QelPolygonText();
    /// A text showing strUtf8 in the default font; bad UTF-8 is reported when the text is laid out.
    explicit QelPolygonText(const std::string& strUtf8);

    /// Extrusion depth in scene units; 0 for flat text.
    void SetDepth(float fDepth);
    /// The extrusion depth as stored in "Text:Depth".
    float GetDepth();

protected:
    void DrawGlyphs() override;
};
