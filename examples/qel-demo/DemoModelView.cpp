#include "QelDemo.h"

#include "qel/display/QelCamera.h"
#include "qel/display/QelLight.h"
#include "qel/models/QelModel.h"

#include <GL/glew.h>

void QelDemoDrawModel(QelModel& model, int nX, int nY, int nWidth, int nHeight)
{
    QelCamera camera;
    camera.SetViewport(nX, nY, nWidth, nHeight);
    camera.SetView(QelCamera::eViewThreeQuarter);
    camera.SetAutoClipping(false);
    camera.ZoomToBox(model.GetModelData().m_cBounds);
    camera.FitClipToBox(model.GetModelData().m_cBounds);
    QelLight light;
    light.SetHeadLight(true);
    light.TurnOn(true);
    glViewport(nX, nY, nWidth, nHeight);
    camera.Apply();
    QelLight::ApplyAll(camera.GetViewMatrix());
    model.Render();
    light.TurnOn(false);
    glDisable(GL_LIGHTING);
}
