#include "qel/text/QelPolygonText.h"

#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

QelPolygonText::QelPolygonText() : QelTextObject(eKindPolygon)
{
    AddTextProperty(eTextSceneHeight);
    AddTextProperty(eTextDepth);
}

QelPolygonText::QelPolygonText(const std::string& strUtf8) : QelPolygonText()
{
    SetText(strUtf8);
}

void QelPolygonText::SetDepth(float fDepth)
{
    GetTextProperty(eTextDepth)->SetAsFloat(fDepth);
}

float QelPolygonText::GetDepth()
{
    return GetTextProperty(eTextDepth)->GetAsFloat();
}

void QelPolygonText::DrawGlyphs()
{
    glPushAttrib(GL_ENABLE_BIT | GL_LIGHTING_BIT);
    // The glyphs are scaled from font pixels, so their normals need renormalising for the lights.
    glEnable(GL_NORMALIZE);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    const QelVec4& v = GetDrawColor();
    glColor4f(v.x, v.y, v.z, v.w);
    glNormal3f(0.0f, 0.0f, 1.0f);
    DrawLines();
    glPopAttrib();
}
