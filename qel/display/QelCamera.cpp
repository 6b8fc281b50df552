#include "qel/display/QelCamera.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/display/detail/QelSceneWalk.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>

using namespace QelDisplayDetail;

namespace
{
const float kMinDistance = 1e-5f;
const float kMaxDistance = 1e12f;
const float kDegreesPerPixel = 0.4f;
const float kZoomStep = 1.25f;
/// Near never comes closer than far times this: about 14 of the 24 depth bits stay for the scene.
const float kNearFarRatio = 1e-4f;

struct SPreset
{
    float m_fAzimuth;
    float m_fElevation;
};
const SPreset kPresets[] = {{-90.0f, 90.0f}, {-90.0f, -90.0f}, {-90.0f, 0.0f}, {90.0f, 0.0f},
                            {180.0f, 0.0f},  {0.0f, 0.0f},     {-60.0f, 30.0f}};
static_assert(sizeof(kPresets) / sizeof(kPresets[0]) == QelCamera::eViewPresetCount, "one entry per preset");

bool AllFinite(std::initializer_list<float> values)
{
    for (float f : values)
        if (!std::isfinite(f))
            return false;
    return true;
}

void ToDoubles(const QelMatrix4& m, double* pd)
{
    for (int i = 0; i < 16; ++i)
        pd[i] = double(m.m_fM[i]);
}
} // namespace

QelCamera::QelCamera()
{
    SetName("Camera");
    m_pProjection = AddEnum(*this, "Camera:Projection", eProjectionPerspective, {"Perspective", "Orthographic"});
    m_pFieldOfView = AddFloat(*this, "Camera:Field of view", 45.0f, 1.0f, 170.0f);
    m_pNearClip = AddFloat(*this, "Camera:Near clip", 0.1f, 0.0f, kQelMaxFloat);
    m_pFarClip = AddFloat(*this, "Camera:Far clip", 1000.0f, 0.0f, kQelMaxFloat);
    m_pAutoClip = AddBool(*this, "Camera:Automatic clipping", false);
    m_pAzimuth = AddFloat(*this, "Camera:Azimuth", m_fHome[0], -1e6f, 1e6f);
    m_pElevation = AddFloat(*this, "Camera:Elevation", m_fHome[1], -90.0f, 90.0f);
    m_pDistance = AddFloat(*this, "Camera:Distance", m_fHome[2], kMinDistance, kMaxDistance);
}

QelCamera::~QelCamera() = default;

QelCamera::EProjection QelCamera::GetProjection()
{
    return m_pProjection->GetAsInt() == eProjectionOrthographic ? eProjectionOrthographic : eProjectionPerspective;
}

void QelCamera::SetProjection(EProjection eProjection)
{
    m_pProjection->SetAsInt(eProjection);
}

float QelCamera::GetFieldOfView()
{
    return ReadFinite(*this, m_pFieldOfView, 45.0f);
}

bool QelCamera::SetFieldOfView(float fDegrees)
{
    if (!std::isfinite(fDegrees))
    {
        PrintWarning("Field of view %g refused: not a finite number", double(fDegrees));
        return false;
    }
    if (fDegrees < 1.0f || fDegrees > 170.0f)
        PrintWarning("Field of view %g clamped to [1, 170] degrees", double(fDegrees));
    m_pFieldOfView->SetAsFloat(fDegrees);
    return true;
}

float QelCamera::GetNearClip()
{
    return ReadFinite(*this, m_pNearClip, 0.1f);
}

float QelCamera::GetFarClip()
{
    return ReadFinite(*this, m_pFarClip, 1000.0f);
}

bool QelCamera::SetClipDistances(float fNear, float fFar)
{
    if (!AllFinite({fNear, fFar}) || fNear <= 0.0f || fNear >= fFar)
    {
        PrintWarning("Clip distances near %g and far %g refused: they need 0 < near < far", double(fNear),
                     double(fFar));
        return false;
    }
    m_pNearClip->SetAsFloat(fNear);
    m_pFarClip->SetAsFloat(fFar);
    return true;
}

bool QelCamera::IsAutoClipping() { return m_pAutoClip->GetAsBool(); }
void QelCamera::SetAutoClipping(bool bAuto) { m_pAutoClip->SetAsBool(bAuto); }
float QelCamera::GetAzimuth() { return ReadFinite(*this, m_pAzimuth, m_fHome[0]); }
float QelCamera::GetElevation() { return ReadFinite(*this, m_pElevation, m_fHome[1]); }
float QelCamera::GetDistance() { return ReadFinite(*this, m_pDistance, m_fHome[2]); }

bool QelCamera::SetOrbit(float fAzimuth, float fElevation, float fDistance)
{
    if (!AllFinite({fAzimuth, fElevation, fDistance}))
    {
        PrintWarning("Orbit azimuth %g, elevation %g, distance %g refused: not finite", double(fAzimuth),
                     double(fElevation), double(fDistance));
        return false;
    }
    // Keep the azimuth small so that float steps stay fine after many turns.
    m_pAzimuth->SetAsFloat(std::remainder(fAzimuth, 360.0f));
    m_pElevation->SetAsFloat(std::clamp(fElevation, -90.0f, 90.0f));
    SetDistanceChecked(fDistance);
    return true;
}

void QelCamera::SetDistanceChecked(float fDistance)
{
    if (!(fDistance >= kMinDistance))
    {
        PrintWarning("Distance %g to the focal point raised to %g: the eye cannot sit on the focal point",
                     double(fDistance), double(kMinDistance));
        fDistance = kMinDistance;
    }
    m_pDistance->SetAsFloat(std::min(fDistance, kMaxDistance));
}

bool QelCamera::LookAt(const QelVec3& vEye, const QelVec3& vTarget)
{
    const QelVec3 d = vEye - vTarget;
    const float fDistance = d.Magnitude();
    if (!AllFinite({vEye.x, vEye.y, vEye.z, vTarget.x, vTarget.y, vTarget.z}) || fDistance < kMinDistance)
    {
        PrintWarning("Look-at refused: eye %s and target %s must be finite and apart", vEye.String().c_str(),
                     vTarget.String().c_str());
        return false;
    }
    m_cFocalPoint.SetPosition(vTarget);
    const float fElevation = std::asin(std::clamp(d.z / fDistance, -1.0f, 1.0f)) * kQelRadToDeg;
    // Straight above or below the azimuth is free: keep the current one.
    const bool bPole = std::fabs(d.x) + std::fabs(d.y) <= fDistance * 1e-6f;
    const float fAzimuth = bPole ? GetAzimuth() : std::atan2(d.y, d.x) * kQelRadToDeg;
    return SetOrbit(fAzimuth, fElevation, fDistance);
}

void QelCamera::GetFrame(QelVec3& vForward, QelVec3& vUp, QelVec3& vRight)
{
    const float fAz = GetAzimuth() * kQelDegToRad, fEl = GetElevation() * kQelDegToRad;
    const float ca = std::cos(fAz), sa = std::sin(fAz), ce = std::cos(fEl), se = std::sin(fEl);
    vForward.Set(-ce * ca, -ce * sa, -se);
    vUp.Set(-se * ca, -se * sa, ce);
    vRight = vForward.Cross(vUp);
}

QelVec3 QelCamera::GetFocus()
{
    const QelVec3 v = m_cFocalPoint.GetPosition();
    if (AllFinite({v.x, v.y, v.z}))
        return v;
    PrintWarning("Focal point %s is not finite; it was moved to the origin", v.String().c_str());
    m_cFocalPoint.SetPosition(QelVec3(0.0f, 0.0f, 0.0f));
    return QelVec3(0.0f, 0.0f, 0.0f);
}

QelVec3 QelCamera::GetEye()
{
    QelVec3 f, u, r;
    GetFrame(f, u, r);
    return GetFocus() - f * GetDistance();
}

void QelCamera::SetView(EViewPreset ePreset)
{
    if (unsigned(ePreset) >= unsigned(eViewPresetCount))
    {
        PrintWarning("Unknown view preset %d ignored", int(ePreset));
        return;
    }
    SetOrbit(kPresets[ePreset].m_fAzimuth, kPresets[ePreset].m_fElevation, GetDistance());
}

void QelCamera::SetHome()
{
    m_vecHomeFocus = GetFocus();
    m_fHome[0] = GetAzimuth();
    m_fHome[1] = GetElevation();
    m_fHome[2] = GetDistance();
}

void QelCamera::SetViewport(int x, int y, int nWidth, int nHeight)
{
    if (nWidth < 1 || nHeight < 1)
    {
        PrintWarning("Viewport %d x %d is empty; 1 x 1 is used instead", nWidth, nHeight);
        nWidth = std::max(nWidth, 1);
        nHeight = std::max(nHeight, 1);
    }
    m_nViewport[0] = x;
    m_nViewport[1] = y;
    m_nViewport[2] = nWidth;
    m_nViewport[3] = nHeight;
}

void QelCamera::GetViewport(int pnViewport[4]) const
{
    std::copy(m_nViewport, m_nViewport + 4, pnViewport);
}

float QelCamera::Aspect() const
{
    return float(m_nViewport[2]) / float(m_nViewport[3]);
}

QelMatrix4 QelCamera::GetProjectionMatrix()
{
    float fNear = GetNearClip(), fFar = GetFarClip();
    if (!(fNear > 0.0f && fNear < fFar))
    {
        PrintWarning("Near clip %g is not between 0 and far clip %g; %g is used", double(fNear), double(fFar),
                     double(fFar * kNearFarRatio));
        fNear = fFar > 0.0f ? fFar * kNearFarRatio : 0.1f;
        fFar = fFar > 0.0f ? fFar : 1000.0f;
    }
    const float fTan = std::tan(GetFieldOfView() * 0.5f * kQelDegToRad);
    QelMatrix4 m(false);
    m.SetMathematicallySound(true);
    float* p = m.m_fM;
    if (GetProjection() == eProjectionPerspective)
    {
        p[0] = 1.0f / (fTan * Aspect());
        p[5] = 1.0f / fTan;
        p[10] = (fFar + fNear) / (fNear - fFar);
        p[11] = -1.0f;
        p[14] = 2.0f * fFar * fNear / (fNear - fFar);
    }
    else
    {
        const float fHalfHeight = GetDistance() * fTan;
        p[0] = 1.0f / (fHalfHeight * Aspect());
        p[5] = 1.0f / fHalfHeight;
        p[10] = -2.0f / (fFar - fNear);
        p[14] = -(fFar + fNear) / (fFar - fNear);
        p[15] = 1.0f;
    }
    return m;
}

QelMatrix4 QelCamera::GetViewMatrix()
{
    QelVec3 f, u, r;
    GetFrame(f, u, r);
    const QelVec3 e = GetEye();
    QelMatrix4 m(true);
    float* p = m.m_fM;
    p[0] = r.x, p[4] = r.y, p[8] = r.z, p[12] = -r.Dot(e);
    p[1] = u.x, p[5] = u.y, p[9] = u.z, p[13] = -u.Dot(e);
    p[2] = -f.x, p[6] = -f.y, p[10] = -f.z, p[14] = f.Dot(e);
    return m;
}

void QelCamera::Apply()
{
    if (IsAutoClipping() && m_pView && m_pView->GetDisplayObjects())
    {
        const QelBox3 cBox = GetSceneExtents(*m_pView->GetDisplayObjects());
        if (cBox.IsValid())
            FitClipToBox(cBox);
    }
    const QelMatrix4 mProjection = GetProjectionMatrix();
    const QelMatrix4 mView = GetViewMatrix();
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixf(mProjection.m_fM);
    glMatrixMode(GL_MODELVIEW);
    glLoadMatrixf(mView.m_fM);
}

bool QelCamera::ThroughGlu(GluMapping fnMap, const QelVec3& vIn, QelVec3& vOut)
{
    double dModel[16], dProjection[16], dX = 0, dY = 0, dZ = 0;
    ToDoubles(GetViewMatrix(), dModel);
    ToDoubles(GetProjectionMatrix(), dProjection);
    if (fnMap(vIn.x, vIn.y, vIn.z, dModel, dProjection, m_nViewport, &dX, &dY, &dZ) != GL_TRUE)
        return false;
    vOut.Set(float(dX), float(dY), float(dZ));
    return AllFinite({vOut.x, vOut.y, vOut.z});
}

bool QelCamera::Project(const QelVec3& vWorld, QelVec3& vWindow)
{
    return ThroughGlu(gluProject, vWorld, vWindow);
}

bool QelCamera::Unproject(const QelVec3& vWindow, QelVec3& vWorld)
{
    return ThroughGlu(gluUnProject, vWindow, vWorld);
}

bool QelCamera::IsInViewport(int nMouseX, int nMouseY) const
{
    return nMouseX >= 0 && nMouseY >= 0 && nMouseX < m_nViewport[2] && nMouseY < m_nViewport[3];
}

QelRay QelCamera::GetPickRay(int nMouseX, int nMouseY)
{
    // The centre of the pixel, in window coordinates with y up.
    const float fX = float(m_nViewport[0]) + float(nMouseX) + 0.5f;
    const float fY = float(m_nViewport[1]) + float(m_nViewport[3] - nMouseY) - 0.5f;
    QelVec3 vNear, vFar;
    if (Unproject(QelVec3(fX, fY, 0.0f), vNear) && Unproject(QelVec3(fX, fY, 1.0f), vFar))
    {
        QelVec3 vDirection = vFar - vNear;
        if (vDirection.MagnitudeSquared() > 0.0f)
            return QelRay(vNear, vDirection.NormalizeWithReturn());
    }
    QelVec3 f, u, r;
    GetFrame(f, u, r);
    return QelRay(GetEye(), f);
}

float QelCamera::GetUnitsPerPixel(float fDepth)
{
    if (GetProjection() == eProjectionOrthographic)
        fDepth = GetDistance();
    return 2.0f * fDepth * std::tan(GetFieldOfView() * 0.5f * kQelDegToRad) / float(m_nViewport[3]);
}

void QelCamera::Tumble(float fDx, float fDy)
{
    SetOrbit(GetAzimuth() - fDx * kDegreesPerPixel, GetElevation() + fDy * kDegreesPerPixel, GetDistance());
}

void QelCamera::Pan(float fDx, float fDy)
{
    QelVec3 f, u, r;
    GetFrame(f, u, r);
    const float fUnits = GetUnitsPerPixel(GetDistance());
    const QelVec3 vMove = r * (-fDx * fUnits) + u * (fDy * fUnits);
    if (AllFinite({vMove.x, vMove.y, vMove.z}))
        m_cFocalPoint.SetPosition(GetFocus() + vMove);
}

void QelCamera::Dolly(float fDy)
{
    QelVec3 f, u, r;
    GetFrame(f, u, r);
    const QelVec3 vMove = f * (-fDy * GetUnitsPerPixel(GetDistance()));
    if (AllFinite({vMove.x, vMove.y, vMove.z}))
        m_cFocalPoint.SetPosition(GetFocus() + vMove);
}

void QelCamera::ZoomBy(float fFactor)
{
    if (!(fFactor > 0.0f) || !std::isfinite(fFactor))
    {
        PrintWarning("Zoom factor %g refused: it must be a positive number", double(fFactor));
        return;
    }
    SetDistanceChecked(GetDistance() * fFactor);
}

bool QelCamera::MouseButtonPress(const QelMouseState& mouse)
{
    const bool bLeft = mouse.m_eButton == QelMouseState::eButtonLeft;
    if (mouse.m_eButton == QelMouseState::eButtonMiddle || (bLeft && mouse.m_bShift))
        m_eDrag = eDragPan;
    else if (mouse.m_eButton == QelMouseState::eButtonRight || (bLeft && mouse.m_bControl))
        m_eDrag = eDragDolly;
    else if (bLeft)
        m_eDrag = eDragTumble;
    else
        m_eDrag = eDragNone;
    return m_eDrag != eDragNone;
}

bool QelCamera::MouseButtonRelease(const QelMouseState&)
{
    const bool bWasDragging = m_eDrag != eDragNone;
    m_eDrag = eDragNone;
    return bWasDragging;
}

bool QelCamera::MouseMotion(const QelMouseState& mouse, QelVec2 vecMotion, bool& bHandled)
{
    if (m_eDrag == eDragNone || mouse.m_nButtons == QelMouseState::eButtonNone)
        return false;
    switch (m_eDrag)
    {
    case eDragTumble: Tumble(vecMotion.x, vecMotion.y); break;
    case eDragPan: Pan(vecMotion.x, vecMotion.y); break;
    case eDragDolly: Dolly(vecMotion.y); break;
    case eDragNone: break;
    }
    bHandled = true;
    if (m_pView)
        m_pView->Redraw();
    return true;
}

void QelCamera::MouseWheelMotion(const QelMouseState&, short nDelta)
{
    ZoomBy(std::pow(kZoomStep, -float(nDelta) / 120.0f));
    if (m_pView)
        m_pView->Redraw();
}

void QelCamera::Zoom(EZoomTypes eZoom)
{
    std::vector<QelDisplayObject*>* pRoots = m_pView ? m_pView->GetDisplayObjects() : nullptr;
    switch (eZoom)
    {
    case eZoomIn: ZoomBy(1.0f / kZoomStep); break;
    case eZoomOut: ZoomBy(kZoomStep); break;
    case eZoomExtents:
    case eZoomSelectedExtents:
    {
        const bool bSelected = eZoom == eZoomSelectedExtents;
        const QelBox3 cBox = pRoots ? GetSceneExtents(*pRoots, bSelected) : QelBox3();
        if (!ZoomToBox(cBox))
            PrintWarning("Nothing to zoom to: no %s object has extents", bSelected ? "selected" : "visible");
        break;
    }
    case eZoomReset:
        m_cFocalPoint.SetPosition(m_vecHomeFocus);
        SetOrbit(m_fHome[0], m_fHome[1], m_fHome[2]);
        break;
    default: PrintWarning("Unknown zoom type %d ignored", int(eZoom)); return;
    }
    if (m_pView)
        m_pView->Redraw();
}

bool QelCamera::ZoomToBox(const QelBox3& cBox)
{
    if (!cBox.IsValid())
        return false;
    const QelVec3 c = cBox.Center();
    float fRadius = cBox.Dimensions().Magnitude() * 0.5f;
    if (!(fRadius > 0.0f))
        fRadius = std::max(1e-3f, c.Magnitude() * 1e-3f);
    const float fHalfY = GetFieldOfView() * 0.5f * kQelDegToRad;
    const float fHalfX = std::atan(std::tan(fHalfY) * Aspect());
    m_cFocalPoint.SetPosition(c);
    SetDistanceChecked(fRadius / std::sin(std::min(fHalfX, fHalfY)));
    if (IsAutoClipping())
        FitClipToBox(cBox);
    return true;
}

void QelCamera::FitClipToBox(const QelBox3& cBox)
{
    if (!cBox.IsValid())
        return;
    const float fRadius = cBox.Dimensions().Magnitude() * 0.5f;
    const float fCenter = GetEye().DistanceTo(cBox.Center());
    const float fFar = std::max((fCenter + fRadius) * 1.01f, kMinDistance * 2.0f);
    const float fNear = std::max((fCenter - fRadius) * 0.99f, fFar * kNearFarRatio);
    m_pNearClip->SetAsFloat(fNear);
    m_pFarClip->SetAsFloat(fFar);
}

QelBox3 QelCamera::GetSceneExtents(const std::vector<QelDisplayObject*>& vecRoots, bool bSelectedOnly)
{
    QelBox3 cBox;
    QelWalkDrawn(vecRoots, [&](QelDisplayObject& object, const QelMatrix4& mWorld) {
        const QelBox3 cLocal = object.GetExtents();
        if (cLocal.IsValid() && object.ContributesToSceneExtents() && (!bSelectedOnly || object.IsSelected()))
            cBox += cLocal * mWorld;
    });
    return cBox;
}

bool QelCamera::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && QelDisplayDetail::SaveProperties(*this, pXML, "Camera") &&
           QelDisplayDetail::SaveProperties(m_cFocalPoint, pXML, "FocalPoint");
}

bool QelCamera::Load(QelXMLInterface* pXML)
{
    const bool bOk = QelDisplayObject::Load(pXML) && QelDisplayDetail::LoadProperties(*this, pXML, "Camera");
    QelDisplayDetail::LoadProperties(m_cFocalPoint, pXML, "FocalPoint");
    return bOk;
}
