#include "qel/display/QelFocalPoint.h"

#include <GL/glew.h>

QelFocalPoint::QelFocalPoint()
{
    SetName("Focal Point");
    AddTransformProperties(true, false, false);
    // Hidden until a host wants to see where the camera turns.
    Hide(true);
}

void QelFocalPoint::Draw()
{
    const float s = m_fMarkerSize;
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT);
    glDisable(GL_LIGHTING);
    glColor3f(1.0f, 0.8f, 0.1f);
    glBegin(GL_LINES);
    glVertex3f(-s, 0, 0), glVertex3f(s, 0, 0);
    glVertex3f(0, -s, 0), glVertex3f(0, s, 0);
    glVertex3f(0, 0, -s), glVertex3f(0, 0, s);
    glEnd();
    glPopAttrib();
}
