#include "qel/text/QelTextureText.h"

#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

QelTextureText::QelTextureText() : QelTextObject(eKindTexture)
{
    AddTextProperty(eTextSceneHeight);
}

QelTextureText::QelTextureText(const std::string& strUtf8) : QelTextureText()
{
    SetText(strUtf8);
}

void QelTextureText::DrawGlyphs()
{
    // The font enables texturing and blending itself; the rest is restored here.
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_COLOR_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    const QelVec4& v = GetDrawColor();
    glColor4f(v.x, v.y, v.z, v.w);
    DrawLines();
    glPopAttrib();
}
