#include "ViewerView.h"

#include "ViewerScene.h"

#include "qel/display/QelClipPlane.h"
#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelGrid.h"
#include "qel/display/QelLight.h"
#include "qel/display/QelPicker.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <cmath>

namespace
{
// Virtual key codes (Windows numbering, as QelKeyState carries them).
const unsigned int kKeyHome = 36;
const unsigned int kKeyDelete = 46;
/// A press that moves less than this many pixels is a click.
const float kClickSlop = 3.0f;

struct SPreset
{
    const char* m_pName;
    QelCamera::EViewPreset m_ePreset;
};
const SPreset kPresets[] = {{"front", QelCamera::eViewFront}, {"back", QelCamera::eViewBack},
                            {"left", QelCamera::eViewLeft},   {"right", QelCamera::eViewRight},
                            {"top", QelCamera::eViewTop},     {"bottom", QelCamera::eViewBottom},
                            {"iso", QelCamera::eViewThreeQuarter}};
static_assert(sizeof(kPresets) / sizeof(kPresets[0]) == ViewerView::kPresetCount, "one name per preset");
} // namespace

const char* ViewerView::PresetName(int n) { return n >= 0 && n < kPresetCount ? kPresets[n].m_pName : ""; }

bool ViewerView::PresetFromName(const std::string& strName, QelCamera::EViewPreset& ePreset)
{
    for (const SPreset& cPreset : kPresets)
        if (strName == cPreset.m_pName)
        {
            ePreset = cPreset.m_ePreset;
            return true;
        }
    return false;
}

ViewerView::ViewerView(ViewerScene* pScene) : m_pScene(pScene)
{
    SetName("View");
    m_pBackground = CreateProperty("View:Background", eDataColor);
    m_pBackground->SetAsColor(0xFF2E2219); // a dark slate: red in the low byte
    m_pFieldOfView = CreateProperty("View:Field of view", eDataReal);
    m_pFieldOfView->SetClamp(5.0, 150.0);
    m_pFieldOfView->SetAsDouble(40.0);
    m_pScreenshotFolder = CreateProperty("View:Screenshot folder", eDataFolder);
    m_pZoomExtents = CreateProperty("View:Zoom extents", eDataBoolean, false);

    m_cCamera.SetDisplaySystem(this);
    m_cCamera.SetFieldOfView(40.0f);
    // Models come in every size; near and far follow the scene so that none is cut off.
    m_cCamera.SetAutoClipping(true);
    m_cManipulator.SetCamera(&m_cCamera);
    m_pScene->SetSelectionView(this);
}

ViewerView::~ViewerView()
{
    m_cManipulator.SetTarget(nullptr);
    m_pScene->SetSelectionView(nullptr);
}

void ViewerView::SetPreset(QelCamera::EViewPreset ePreset)
{
    m_cCamera.SetView(ePreset);
    Redraw();
}

QelVec4 ViewerView::GetClearColor()
{
    QelPackedColor n = m_pBackground->GetAsColor();
    return QelVec4(float(n & 0xFF) / 255.0f, float((n >> 8) & 0xFF) / 255.0f, float((n >> 16) & 0xFF) / 255.0f, 1.0f);
}

void ViewerView::WindowResized(unsigned int nWidth, unsigned int nHeight)
{
    QelDisplaySystem::WindowResized(nWidth, nHeight);
    PlaceCamera();
    Redraw();
}

void ViewerView::PlaceCamera()
{
    // Picking and the handles' hit tests use the camera's viewport before the next frame does.
    unsigned int nWidth = 0, nHeight = 0;
    GetWindowSize(nWidth, nHeight);
    if (nWidth == 0 || nHeight == 0)
        return;
    int x = 0, y = 0, nRecordWidth = 0, nRecordHeight = 0;
    GetCurrentViewportInfo(x, y, nRecordWidth, nRecordHeight);
    m_cCamera.SetViewport(x, y, int(nWidth), int(nHeight));
}

void ViewerView::Draw()
{
    unsigned int nWidth = 0, nHeight = 0;
    GetWindowSize(nWidth, nHeight);
    if (nWidth == 0 || nHeight == 0)
        return; // minimised, or squeezed out by the panels
    PlaceCamera();

    SetViewport(0, 0, int(nWidth), int(nHeight));
    glEnable(GL_SCISSOR_TEST);
    QelVec4 vClear = GetClearColor();
    glClearColor(vClear.x, vClear.y, vClear.z, vClear.w);
    glClear(GetClearBit());

    m_cCamera.Apply();
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_BLEND);
    glDisable(GL_CULL_FACE);
    // Objects that give colors rather than materials stay colored under the lights.
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    QelMatrix4 mView = m_cCamera.GetViewMatrix();
    QelLight::ApplyAll(mView);
    QelClipPlane::ApplyAll(mView);

    for (QelDisplayObject* pObject : m_pScene->Objects())
        pObject->Render();

    // Selection boxes and handles are neither lit nor clipped.
    glDisable(GL_LIGHTING);
    for (int i = 0; i < QelClipPlane::kMaxPlanes; ++i)
        glDisable(GLenum(GL_CLIP_PLANE0 + i));
    DrawSelection();
    glClear(GL_DEPTH_BUFFER_BIT); // handles show through what is in front of them
    m_cManipulator.Render();
    DrawRubberBand(int(nWidth), int(nHeight));

    glDisable(GL_COLOR_MATERIAL);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_SCISSOR_TEST);
    ResetRedrawFlag();
}

void ViewerView::DrawSelection()
{
    // A wire box around each selected object, in its own coordinates.
    for (QelDisplayObject* pRoot : GetSelection())
    {
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
        // Each edge joins two corners whose indices differ in one bit (one axis).
        glColor3f(1.0f, 0.85f, 0.1f);
        glBegin(GL_LINES);
        for (int a = 0; a < 8; ++a)
            for (int nBit = 1; nBit < 8; nBit <<= 1)
                if (!(a & nBit))
                {
                    glVertex3fv(vCorners[a]);
                    glVertex3fv(vCorners[a | nBit]);
                }
        glEnd();
        glPopMatrix();
    }
}

void ViewerView::DrawRubberBand(int nWidth, int nHeight)
{
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;
    if (!GetRubberBand(x0, y0, x1, y1))
        return;
    glMatrixMode(GL_PROJECTION);
    glPushMatrix();
    glLoadIdentity();
    glOrtho(0.0, nWidth, nHeight, 0.0, -1.0, 1.0); // mouse pixels, origin top left
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glDisable(GL_DEPTH_TEST);
    glColor3f(1.0f, 1.0f, 1.0f);
    glBegin(GL_LINE_LOOP);
    glVertex2f(float(x0) + 0.5f, float(y0) + 0.5f);
    glVertex2f(float(x1) + 0.5f, float(y0) + 0.5f);
    glVertex2f(float(x1) + 0.5f, float(y1) + 0.5f);
    glVertex2f(float(x0) + 0.5f, float(y1) + 0.5f);
    glEnd();
    glPopMatrix();
    glMatrixMode(GL_PROJECTION);
    glPopMatrix();
    glMatrixMode(GL_MODELVIEW);
}

bool ViewerView::GetRubberBand(int& nX0, int& nY0, int& nX1, int& nY1) const
{
    if (m_eGesture != eGestureRubberBand)
        return false;
    nX0 = m_cPress.m_nX, nY0 = m_cPress.m_nY, nX1 = m_nMouseX, nY1 = m_nMouseY;
    return true;
}

void ViewerView::Zoom(EZoomTypes eZoom)
{
    if (eZoom == eZoomSelectedExtents && GetSelection().empty())
        eZoom = eZoomExtents;
    if (eZoom == eZoomExtents && !QelCamera::GetSceneExtents(m_pScene->Objects()).IsValid())
        return; // nothing to frame: the camera stays where it is
    m_cCamera.Zoom(eZoom);
    Redraw();
}

std::vector<QelDisplayObject*>* ViewerView::GetDisplayObjects() { return &m_pScene->Objects(); }

QelGrid* ViewerView::FindGrid() const
{
    for (QelDisplayObject* pObject : m_pScene->Objects())
        if (auto* pGrid = dynamic_cast<QelGrid*>(pObject))
            return pGrid;
    return nullptr;
}

void ViewerView::HandleChangeOfSelection()
{
    m_cManipulator.FollowSelection(*this);
    Redraw();
}

void ViewerView::MouseButtonPress(const QelMouseState& mouse)
{
    m_nMouseX = mouse.m_nX, m_nMouseY = mouse.m_nY;
    if (m_eGesture != eGestureNone)
        return; // a second button during a drag changes nothing
    m_cPress = mouse;
    m_cManipulator.SetGrid(FindGrid());
    if (m_cManipulator.MouseButtonPress(mouse))
        m_eGesture = eGestureManipulator;
    else if (mouse.m_eButton == QelMouseState::eButtonLeft && mouse.m_bAlt)
        m_eGesture = eGestureRubberBand;
    else
    {
        m_cCamera.MouseButtonPress(mouse);
        m_eGesture = eGesturePending;
        m_vecPending = QelVec2(0.0f, 0.0f);
    }
}

void ViewerView::MouseButtonRelease(const QelMouseState& mouse)
{
    m_nMouseX = mouse.m_nX, m_nMouseY = mouse.m_nY;
    EGesture eGesture = m_eGesture;
    if (mouse.m_nButtons != 0 && eGesture != eGestureNone)
        return; // the drag goes on until the last button is up
    m_eGesture = eGestureNone;
    switch (eGesture)
    {
    case eGestureManipulator:
        m_cManipulator.MouseButtonRelease(mouse);
        break;
    case eGestureRubberBand:
        QelPicker::RubberBandSelect(*this, m_cCamera, m_cPress.m_nX, m_cPress.m_nY, mouse.m_nX, mouse.m_nY,
                                    m_cPress.m_bShift);
        break;
    case eGesturePending:
        m_cCamera.MouseButtonRelease(mouse);
        if (m_cPress.m_eButton == QelMouseState::eButtonLeft)
            QelPicker::ClickSelect(*this, m_cCamera, mouse.m_nX, mouse.m_nY, m_cPress.m_bControl);
        else if (m_cPress.m_eButton == QelMouseState::eButtonRight)
        {
            QelPickHit cHit = QelPicker::Pick(m_pScene->Objects(), m_cCamera, mouse.m_nX, mouse.m_nY);
            if (cHit.m_pObject)
                m_cPopup = QelPopupMenu::Build(*cHit.m_pObject);
        }
        break;
    default:
        m_cCamera.MouseButtonRelease(mouse);
        break;
    }
    Redraw();
}

bool ViewerView::MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled)
{
    m_nMouseX = mouse.m_nX, m_nMouseY = mouse.m_nY;
    if (mouse.m_nButtons == QelMouseState::eButtonNone)
        return false;
    switch (m_eGesture)
    {
    case eGestureManipulator:
        if (!m_cManipulator.MouseMotion(mouse, vecMotion, bHandled))
            return false;
        break;
    case eGestureRubberBand:
        bHandled = true;
        break;
    case eGesturePending:
        m_vecPending = m_vecPending + vecMotion;
        if (std::fabs(m_vecPending.x) + std::fabs(m_vecPending.y) < kClickSlop)
            return false;
        m_eGesture = eGestureCamera;
        // The motion since the press moves the camera at once, so nothing of the drag is lost.
        return MouseMotion(mouse, m_vecPending, bHandled);
    case eGestureCamera:
        if (!m_cCamera.MouseMotion(mouse, vecMotion, bHandled))
            return false;
        break;
    default:
        return false;
    }
    Redraw();
    return true;
}

void ViewerView::MouseWheelMotion(const QelMouseState& mouse, short nDelta)
{
    m_cCamera.MouseWheelMotion(mouse, nDelta);
    Redraw();
}

void ViewerView::KeyPressed(const QelKeyState& key)
{
    static const struct
    {
        unsigned int m_nKey;
        QelManipulator::EMode m_eMode;
    } kModes[] = {{'W', QelManipulator::eModeTranslate}, {'E', QelManipulator::eModeRotate},
                  {'R', QelManipulator::eModeScale}};
    if (key.m_nKey == 'F')
        Zoom(eZoomSelectedExtents);
    else if (key.m_nKey == kKeyHome)
        Zoom(eZoomReset);
    else if (key.m_nKey >= '1' && key.m_nKey < '1' + unsigned(kPresetCount))
        SetPreset(kPresets[key.m_nKey - '1'].m_ePreset);
    else if (key.m_nKey == kKeyDelete)
    {
        std::vector<QelDisplayObject*> vSelected = GetSelection();
        for (QelDisplayObject* pObject : vSelected)
            m_pScene->Remove(pObject);
        Redraw();
    }
    else
        for (const auto& cMode : kModes)
            if (key.m_nKey == cMode.m_nKey)
            {
                m_cManipulator.SetMode(cMode.m_eMode);
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

QelPopupMenu ViewerView::TakePopupMenu()
{
    QelPopupMenu cMenu = m_cPopup;
    m_cPopup = QelPopupMenu();
    return cMenu;
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
    m_cCamera.SetFieldOfView(float(double(m_pFieldOfView->GetAsVariantWithoutPull())));
    Redraw();
}
