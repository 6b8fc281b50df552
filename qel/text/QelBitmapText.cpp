#include "qel/text/QelBitmapText.h"

#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

QelBitmapText::QelBitmapText() : QelTextObject(eKindBitmap)
{
    AddTextProperty(eTextAlwaysOnTop);
}

QelBitmapText::QelBitmapText(const std::string& strUtf8) : QelBitmapText()
{
    SetText(strUtf8);
}

bool QelBitmapText::ContributesToSceneExtents()
{
    return false;
}

void QelBitmapText::DrawGlyphs()
{
    // Switches are flipped only when they are on, and back afterwards, instead of saving the
    // attribute groups: a thousand labels then change no state between one another, which keeps the
    // driver from flushing its batch at every label.
    const bool bLighting = glIsEnabled(GL_LIGHTING);
    const bool bTexture = glIsEnabled(GL_TEXTURE_2D);
    const bool bDepth = glIsEnabled(GL_DEPTH_TEST) && GetTextProperty(eTextAlwaysOnTop)->GetAsBool();
    if (bLighting)
        glDisable(GL_LIGHTING);
    if (bTexture)
        glDisable(GL_TEXTURE_2D);
    if (bDepth)
        glDisable(GL_DEPTH_TEST);
    const QelVec4& v = GetDrawColor();
    // The raster color is taken from the current color when the position is set.
    glColor4f(v.x, v.y, v.z, v.w);
    glRasterPos3f(0.0f, 0.0f, 0.0f);
    DrawLines();
    if (bLighting)
        glEnable(GL_LIGHTING);
    if (bTexture)
        glEnable(GL_TEXTURE_2D);
    if (bDepth)
        glEnable(GL_DEPTH_TEST);
}
