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
    // The font saves and sets texturing and blending itself. Lighting is switched off only when it
    // is on, so that a run of texts changes no state between one another.
    const bool bLighting = glIsEnabled(GL_LIGHTING);
    if (bLighting)
        glDisable(GL_LIGHTING);
    const QelVec4& v = GetDrawColor();
    glColor4f(v.x, v.y, v.z, v.w);
    DrawLines();
    if (bLighting)
        glEnable(GL_LIGHTING);
}
