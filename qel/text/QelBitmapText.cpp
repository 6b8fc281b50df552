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
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    if (GetTextProperty(eTextAlwaysOnTop)->GetAsBool())
        glDisable(GL_DEPTH_TEST);
    const QelVec4& v = GetDrawColor();
    // The raster color is taken from the current color when the position is set.
    glColor4f(v.x, v.y, v.z, v.w);
    glRasterPos3f(0.0f, 0.0f, 0.0f);
    DrawLines();
    glPopAttrib();
}
