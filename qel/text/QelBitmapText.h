#pragma once

#include "qel/platform/QelExport.h"
#include "qel/text/QelTextObject.h"

/// A label: text drawn in screen pixels at the raster position of the object's origin, so it stays
/// upright and keeps its size whatever the camera does. Lighting and texturing are off while it
/// draws; with "Text:Always on top" (the default) it is not hidden by the depth buffer either.
///
/// The raster position is OpenGL's: a label whose anchor leaves the view is not drawn at all, even
/// where some of its glyphs would still be on screen.
class QEL_EXPORT QelBitmapText : public QelTextObject
{
public:
    QelBitmapText();
    /// A label showing strUtf8 in the default font; bad UTF-8 is reported when the text is laid out.
    explicit QelBitmapText(const std::string& strUtf8);

    /// Labels are sized in pixels, not scene units: they do not widen the scene's extents.
    bool ContributesToSceneExtents() override;

protected:
    void DrawGlyphs() override;
};
