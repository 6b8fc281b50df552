#include "ViewerView.h"

#include "ViewerScene.h"

#include "qel/display/QelDisplayObject.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

namespace
{
// Virtual key codes (Windows numbering, as QelKeyState carries them).
const unsigned int kKeyHome = 36;
const unsigned int kKeyF = 'F';
const float kWheelNotch = 120.0f;
} // namespace

ViewerView::ViewerView(ViewerScene* pScene) : m_pScene(pScene)
{
    SetName("View");
    m_pBackground = CreateProperty("View:Background", eDataColor);
    m_pBackground->SetAsColor(0xFF2E2219); // a dark slate: red in the low byte
    m_pFieldOfView = CreateProperty("View:Field of view", eDataReal);
    m_pFieldOfView->SetClamp(5.0, 150.0);
    m_pFieldOfView->SetAsDouble(m_cCamera.GetFieldOfView());
    m_pScreenshotFolder = CreateProperty("View:Screenshot folder", eDataFolder);
    m_pZoomExtents = CreateProperty("View:Zoom extents", eDataBoolean, false);
}

QelVec4 ViewerView::GetClearColor()
{
    QelPackedColor n = m_pBackground->GetAsColor();
    return QelVec4(float(n & 0xFF) / 255.0f, float((n >> 8) & 0xFF) / 255.0f, float((n >> 16) & 0xFF) / 255.0f, 1.0f);
}

float ViewerView::Aspect()
{
    unsigned int nWidth = 0, nHeight = 0;
    GetWindowSize(nWidth, nHeight);
    return nWidth > 0 && nHeight > 0 ? float(nWidth) / float(nHeight) : 1.0f;
}

void ViewerView::WindowResized(unsigned int nWidth, unsigned int nHeight)
{
    QelDisplaySystem::WindowResized(nWidth, nHeight);
    Redraw();
}

void ViewerView::Draw()
{
    unsigned int nWidth = 0, nHeight = 0;
    GetWindowSize(nWidth, nHeight);
    if (nWidth == 0 || nHeight == 0)
        return; // minimised, or squeezed out by the panels
    m_cCamera.SetFieldOfView(float(m_pFieldOfView->GetAsDouble()));

    SetViewport(0, 0, int(nWidth), int(nHeight));
    glEnable(GL_SCISSOR_TEST);
    QelVec4 vClear = GetClearColor();
    glClearColor(vClear.x, vClear.y, vClear.z, vClear.w);
    glClear(GetClearBit());

    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(m_cCamera.GetProjectionMatrix(int(nWidth), int(nHeight)));
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixf(m_cCamera.GetViewMatrix());
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);

    for (QelDisplayObject* pObject : m_pScene->Objects())
        pObject->Render();
    DrawSelection();

    glDisable(GL_DEPTH_TEST);
    glDisable(GL_SCISSOR_TEST);
    ResetRedrawFlag();
}

void ViewerView::DrawSelection()
{
    // A wire box around each selected object, in its own coordinates.
    for (QelDisplayObject* pRoot : m_pScene->Objects())
    {
        if (!pRoot->IsSelected())
            continue;
        QelBox3 cBox = pRoot->GetExtents();
        if (!cBox.IsValid())
            continue;
        QelMatrix4 mWorld;
        pRoot->GetWorldTransform(mWorld);
        glPushMatrix();
        glMultMatrixf(mWorld);
        QelVec3 vCorners[8];
        for (int i = 0; i < 8; ++i)
            vCorners[i].Set(i & 1 ? cBox.m_vecMax.x : cBox.m_vecMin.x, i & 2 ? cBox.m_vecMax.y : cBox.m_vecMin.y,
                            i & 4 ? cBox.m_vecMax.z : cBox.m_vecMin.z);
        // Each edge joins two corners that differ in exactly one axis.
        glColor3f(1.0f, 0.85f, 0.1f);
        glBegin(GL_LINES);
        for (int a = 0; a < 8; ++a)
            for (int b = a + 1; b < 8; ++b)
            {
                QelVec3 d = vCorners[a] - vCorners[b];
                int nDiffer = (d.x != 0.0f) + (d.y != 0.0f) + (d.z != 0.0f);
                if (nDiffer == 1)
                {
                    glVertex3fv(vCorners[a]);
                    glVertex3fv(vCorners[b]);
                }
            }
        glEnd();
        glPopMatrix();
    }
}

void ViewerView::Zoom(EZoomTypes eZoom)
{
    switch (eZoom)
    {
    case eZoomIn:
        m_cCamera.Dolly(1.0f);
        break;
    case eZoomOut:
        m_cCamera.Dolly(-1.0f);
        break;
    case eZoomExtents:
        m_cCamera.Fit(m_pScene->GetExtents(false), Aspect());
        break;
    case eZoomSelectedExtents:
    {
        QelBox3 cBox = m_pScene->GetExtents(true);
        m_cCamera.Fit(cBox.IsValid() ? cBox : m_pScene->GetExtents(false), Aspect());
        break;
    }
    case eZoomReset:
        m_cCamera = ViewerCamera();
        m_cCamera.SetFieldOfView(float(m_pFieldOfView->GetAsDouble()));
        m_cCamera.Fit(m_pScene->GetExtents(false), Aspect());
        break;
    }
    Redraw();
}

std::vector<QelDisplayObject*>* ViewerView::GetDisplayObjects() { return &m_pScene->Objects(); }

void ViewerView::MouseButtonPress(const QelMouseState&) { m_bDragging = true; }

void ViewerView::MouseButtonRelease(const QelMouseState& mouse) { m_bDragging = mouse.m_nButtons != 0; }

bool ViewerView::MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled)
{
    if (!m_bDragging || mouse.m_nButtons == QelMouseState::eButtonNone)
        return false;
    unsigned int nWidth = 0, nHeight = 0;
    GetWindowSize(nWidth, nHeight);
    if (mouse.IsDown(QelMouseState::eButtonMiddle) ||
        (mouse.IsDown(QelMouseState::eButtonLeft) && mouse.m_bShift))
        m_cCamera.Pan(vecMotion.x, vecMotion.y, int(nHeight));
    else if (mouse.IsDown(QelMouseState::eButtonLeft))
        m_cCamera.Tumble(vecMotion.x, vecMotion.y);
    else if (mouse.IsDown(QelMouseState::eButtonRight))
        m_cCamera.Dolly(vecMotion.y * 0.05f);
    else
        return false;
    bHandled = true;
    Redraw();
    return true;
}

void ViewerView::MouseWheelMotion(const QelMouseState&, short nDelta)
{
    m_cCamera.Dolly(float(nDelta) / kWheelNotch);
    Redraw();
}

void ViewerView::KeyPressed(const QelKeyState& key)
{
    if (key.m_nKey == kKeyF)
        Zoom(eZoomSelectedExtents);
    else if (key.m_nKey == kKeyHome)
        Zoom(eZoomReset);
    else if (key.m_nKey >= '1' && key.m_nKey < '1' + unsigned(ViewerCamera::ePresetCount))
    {
        m_cCamera.SetPreset(ViewerCamera::EPreset(key.m_nKey - '1'));
        Redraw();
    }
}

void ViewerView::CharacterPressed(const QelKeyState& key)
{
    if (key.m_nCharacter == '+' || key.m_nCharacter == '=')
        Zoom(eZoomIn);
    else if (key.m_nCharacter == '-')
        Zoom(eZoomOut);
}

bool ViewerView::IsPropertyButton(QelProperty* pProperty) const
{
    return pProperty == m_pZoomExtents || QelDisplaySystem::IsPropertyButton(pProperty);
}

void ViewerView::ButtonPressed(QelProperty* pProperty)
{
    if (pProperty == m_pZoomExtents)
        Zoom(eZoomExtents);
    else
        QelDisplaySystem::ButtonPressed(pProperty);
}

std::string ViewerView::GetPropertyDescription(const QelProperty* pProperty)
{
    if (pProperty == m_pFieldOfView)
        return "Vertical field of view in degrees";
    if (pProperty == m_pScreenshotFolder)
        return "Where screenshots go when no path is given";
    return QelDisplaySystem::GetPropertyDescription(pProperty);
}

void ViewerView::Calculate()
{
    QelDisplaySystem::Calculate();
    if (!m_pFieldOfView)
        return; // a read while the constructor is still making the properties
    m_cCamera.SetFieldOfView(float(m_pFieldOfView->GetAsVariantWithoutPull()));
    Redraw();
}
