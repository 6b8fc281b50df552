#include "qel/display/QelManipulator.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/framework/QelSysApp.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>

namespace
{
const float kHitPixels = 6.0f;
const float kRingRadius = 0.8f; // of the handle length
const float kPlaneNear = 0.25f, kPlaneFar = 0.5f;
const int kRingSegments = 48;
const float kPi = 3.14159265f;
const char* const kTranslation[3] = {"Transform:Translation:X", "Transform:Translation:Y", "Transform:Translation:Z"};
const char* const kScale[3] = {"Transform:Scale:X", "Transform:Scale:Y", "Transform:Scale:Z"};

/// The two axes spanning a plane handle, and the one across it.
void PlaneAxes(QelManipulator::EHandle e, int& a, int& b, int& n)
{
    a = e == QelManipulator::eHandleYZ ? 1 : 0;
    b = e == QelManipulator::eHandleXY ? 1 : 2;
    n = 3 - a - b;
}

float SegmentDistance(const QelVec2& p, const QelVec2& a, const QelVec2& b)
{
    const QelVec2 ab(b.x - a.x, b.y - a.y), ap(p.x - a.x, p.y - a.y);
    const float fLength = ab.x * ab.x + ab.y * ab.y;
    const float t = fLength > 0.0f ? std::clamp((ap.x * ab.x + ap.y * ab.y) / fLength, 0.0f, 1.0f) : 0.0f;
    const float dx = ap.x - ab.x * t, dy = ap.y - ab.y * t;
    return std::sqrt(dx * dx + dy * dy);
}

/// Inside a convex quad, corners in order, either winding.
bool InQuad(const QelVec2& p, const QelVec2* pCorners)
{
    int nSign = 0;
    for (int i = 0; i < 4; ++i)
    {
        const QelVec2& a = pCorners[i];
        const QelVec2& b = pCorners[(i + 1) % 4];
        const float fCross = (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
        const int s = fCross > 0.0f ? 1 : (fCross < 0.0f ? -1 : 0);
        if (s != 0 && nSign != 0 && s != nSign)
            return false;
        nSign = s != 0 ? s : nSign;
    }
    return true;
}

QelMatrix4 Linear(const QelMatrix4& m)
{
    QelMatrix4 r(m);
    r.GetTranslation() = QelVec3(0.0f, 0.0f, 0.0f);
    return r;
}
} // namespace

QelManipulator::QelManipulator()
{
    SetName("Manipulator");
    m_pMode = QelDisplayDetail::AddEnum(*this, "Manipulator:Mode", eModeTranslate, {"Translate", "Rotate", "Scale"});
    m_pHandlePixels = QelDisplayDetail::AddFloat(*this, "Manipulator:Handle size", 80.0f, 10.0f, 1000.0f);
}

void QelManipulator::SetMode(EMode eMode)
{
    m_pMode->SetAsInt(eMode);
}

QelManipulator::EMode QelManipulator::GetMode()
{
    return EMode(std::clamp(m_pMode->GetAsInt(), 0, 2));
}

void QelManipulator::SetHandlePixels(float fPixels)
{
    m_pHandlePixels->SetAsFloat(std::isfinite(fPixels) ? fPixels : 80.0f);
}

bool QelManipulator::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && QelDisplayDetail::SaveProperties(*this, pXML, "Manipulator");
}

bool QelManipulator::Load(QelXMLInterface* pXML)
{
    return QelDisplayObject::Load(pXML) && QelDisplayDetail::LoadProperties(*this, pXML, "Manipulator");
}

QelManipulator::~QelManipulator()
{
    SetTarget(nullptr);
}

void QelManipulator::SetTarget(QelDisplayObject* pTarget)
{
    if (pTarget == m_pTarget)
        return;
    m_eGrabbed = eHandleNone;
    if (m_pTarget)
        ReleaseObject(m_pTarget);
    m_pTarget = pTarget && !pTarget->IsDeleted() ? pTarget : nullptr;
    if (m_pTarget)
        HoldObject(m_pTarget);
}

void QelManipulator::FollowSelection(QelDisplaySystem& view)
{
    SetTarget(view.GetSelection().empty() ? nullptr : view.GetSelection().front());
}

void QelManipulator::OnObjectDeletion(QelBase* pDeleted)
{
    if (pDeleted == m_pTarget)
        SetTarget(nullptr);
    QelDisplayObject::OnObjectDeletion(pDeleted);
}

bool QelManipulator::GetFrame(SFrame& cFrame)
{
    if (!m_pTarget || !m_pCamera)
        return false;
    // A drag keeps the mode it started with, whatever the property says meanwhile.
    if (m_eGrabbed == eHandleNone)
        m_eMode = GetMode();
    QelMatrix4 mWorld;
    m_pTarget->GetWorldTransform(mWorld);
    cFrame.m_vecOrigin = mWorld.GetTranslation();
    for (int i = 0; i < 3; ++i)
    {
        QelVec3 vAxis = m_eMode == eModeScale ? mWorld.GetColumn(i) : QelVec3(i == 0, i == 1, i == 2);
        if (!(vAxis.MagnitudeSquared() > 0.0f))
            vAxis = QelVec3(i == 0, i == 1, i == 2);
        cFrame.m_vecAxis[i] = vAxis.NormalizeWithReturn();
    }
    QelVec3 f, u, r;
    m_pCamera->GetFrame(f, u, r);
    const float fDepth = (cFrame.m_vecOrigin - m_pCamera->GetEye()).Dot(f);
    cFrame.m_fLength = QelDisplayDetail::ReadFinite(*this, m_pHandlePixels, 80.0f) * m_pCamera->GetUnitsPerPixel(fDepth);
    return std::isfinite(cFrame.m_fLength) && cFrame.m_fLength > 0.0f && std::isfinite(cFrame.m_vecOrigin.x) &&
           std::isfinite(cFrame.m_vecOrigin.y) && std::isfinite(cFrame.m_vecOrigin.z);
}

QelManipulator::EHandle QelManipulator::HitTest(int nMouseX, int nMouseY)
{
    SFrame c;
    if (!GetFrame(c) || !m_pCamera->IsInViewport(nMouseX, nMouseY))
        return eHandleNone;
    int v[4];
    m_pCamera->GetViewport(v);
    const QelVec2 vMouse(float(v[0] + nMouseX) + 0.5f, float(v[1] + v[3] - nMouseY) - 0.5f);
    bool bProjected = true;
    auto fnScreen = [&](const QelVec3& w) {
        QelVec3 s;
        bProjected = m_pCamera->Project(w, s) && bProjected;
        return QelVec2(s.x, s.y);
    };
    EHandle eBest = eHandleNone;
    float fBest = kHitPixels;
    for (int i = 0; i < 3; ++i)
    {
        float fDistance = kQelMaxFloat;
        if (m_eMode == eModeRotate)
        {
            // The ring about axis i, in the plane of the other two.
            const QelVec3& a = c.m_vecAxis[(i + 1) % 3];
            const QelVec3& b = c.m_vecAxis[(i + 2) % 3];
            const float fRadius = c.m_fLength * kRingRadius;
            QelVec2 vPrevious = fnScreen(c.m_vecOrigin + a * fRadius);
            for (int k = 1; k <= kRingSegments; ++k)
            {
                const float fAngle = 2.0f * kPi * float(k) / kRingSegments;
                const QelVec2 vNext =
                    fnScreen(c.m_vecOrigin + a * (fRadius * std::cos(fAngle)) + b * (fRadius * std::sin(fAngle)));
                fDistance = std::min(fDistance, SegmentDistance(vMouse, vPrevious, vNext));
                vPrevious = vNext;
            }
        }
        else
            fDistance = SegmentDistance(vMouse, fnScreen(c.m_vecOrigin),
                                        fnScreen(c.m_vecOrigin + c.m_vecAxis[i] * c.m_fLength));
        if (fDistance <= fBest)
        {
            fBest = fDistance;
            eBest = EHandle(eHandleX + i);
        }
    }
    if (m_eMode == eModeTranslate)
        for (EHandle e : {eHandleXY, eHandleYZ, eHandleXZ})
        {
            int a, b, n;
            PlaneAxes(e, a, b, n);
            const QelVec3 vA = c.m_vecAxis[a] * c.m_fLength, vB = c.m_vecAxis[b] * c.m_fLength;
            const QelVec2 vCorners[4] = {fnScreen(c.m_vecOrigin + vA * kPlaneNear + vB * kPlaneNear),
                                         fnScreen(c.m_vecOrigin + vA * kPlaneFar + vB * kPlaneNear),
                                         fnScreen(c.m_vecOrigin + vA * kPlaneFar + vB * kPlaneFar),
                                         fnScreen(c.m_vecOrigin + vA * kPlaneNear + vB * kPlaneFar)};
            if (InQuad(vMouse, vCorners) && eBest == eHandleNone)
                eBest = e;
        }
    return bProjected ? eBest : eHandleNone;
}

bool QelManipulator::AxisParameter(const QelVec3& vAxis, int nMouseX, int nMouseY, float& fS)
{
    const QelRay ray = m_pCamera->GetPickRay(nMouseX, nMouseY);
    const QelVec3 w = m_cStartFrame.m_vecOrigin - ray.m_vecStart;
    const float b = vAxis.Dot(ray.m_vecDirection);
    const float fDenominator = 1.0f - b * b;
    // Seen end on, an axis gives no usable parameter.
    if (!(fDenominator > 1e-6f))
        return false;
    fS = (b * ray.m_vecDirection.Dot(w) - vAxis.Dot(w)) / fDenominator;
    return std::isfinite(fS);
}

bool QelManipulator::PlanePoint(const QelVec3& vNormal, int nMouseX, int nMouseY, QelVec3& vPoint)
{
    const QelRay ray = m_pCamera->GetPickRay(nMouseX, nMouseY);
    const float fDenominator = ray.m_vecDirection.Dot(vNormal);
    if (std::fabs(fDenominator) < 1e-6f)
        return false;
    const float t = (m_cStartFrame.m_vecOrigin - ray.m_vecStart).Dot(vNormal) / fDenominator;
    vPoint = ray.m_vecStart + ray.m_vecDirection * t;
    return std::isfinite(vPoint.x) && std::isfinite(vPoint.y) && std::isfinite(vPoint.z);
}

bool QelManipulator::BeginDrag(int nMouseX, int nMouseY)
{
    const EHandle e = HitTest(nMouseX, nMouseY);
    if (e == eHandleNone || !GetFrame(m_cStartFrame))
        return false;
    if (m_eMode == eModeTranslate && !m_pTarget->AllowAnalogTranslation())
    {
        PrintWarning("[%s] cannot be moved by dragging: it does not allow analog translation",
                     m_pTarget->GetName().c_str());
        return false;
    }
    m_mParent.MakeIdentity();
    if (m_pTarget->GetParent())
        m_pTarget->GetParent()->GetWorldTransform(m_mParent);
    m_pTarget->GetTransform(m_mStartLocal);
    for (int i = 0; i < 3; ++i)
    {
        QelProperty* pT = m_pTarget->GetProperty(kTranslation[i]);
        QelProperty* pS = m_pTarget->GetProperty(kScale[i]);
        m_vecStartTranslation[i] = pT ? pT->GetAsFloat() : 0.0f;
        m_vecStartScale[i] = pS ? pS->GetAsFloat() : 1.0f;
    }
    bool bGrip = false;
    if (e >= eHandleXY)
    {
        int a, b, n;
        PlaneAxes(e, a, b, n);
        bGrip = PlanePoint(m_cStartFrame.m_vecAxis[n], nMouseX, nMouseY, m_vecStartPoint);
    }
    else if (m_eMode == eModeRotate)
        bGrip = PlanePoint(m_cStartFrame.m_vecAxis[e - eHandleX], nMouseX, nMouseY, m_vecStartPoint);
    else
        bGrip = AxisParameter(m_cStartFrame.m_vecAxis[e - eHandleX], nMouseX, nMouseY, m_fStartParameter) &&
                (m_eMode != eModeScale || std::fabs(m_fStartParameter) > 1e-3f * m_cStartFrame.m_fLength);
    if (!bGrip)
        return false;
    static const char* const kUndo[3] = {"Move", "Rotate", "Scale"};
    QelSysApp::App().AddToUndoBuffer(m_pTarget, kUndo[m_eMode], false);
    m_eGrabbed = e;
    return true;
}

bool QelManipulator::Drag(int nMouseX, int nMouseY)
{
    if (m_eGrabbed == eHandleNone || !m_pTarget)
        return false;
    switch (m_eMode)
    {
    case eModeTranslate: DragTranslate(nMouseX, nMouseY); break;
    case eModeRotate: DragRotate(nMouseX, nMouseY); break;
    case eModeScale: DragScale(nMouseX, nMouseY); break;
    }
    m_pTarget->ObjectTransformed(true);
    return true;
}

void QelManipulator::EndDrag()
{
    if (m_eGrabbed != eHandleNone && m_pTarget)
        m_pTarget->ObjectTransformed(true);
    m_eGrabbed = eHandleNone;
}

void QelManipulator::WriteProperty(const char* pName, float fValue)
{
    if (QelProperty* p = m_pTarget->GetProperty(pName))
        if (std::isfinite(fValue))
            p->SetAsFloat(fValue);
}

void QelManipulator::DragTranslate(int nMouseX, int nMouseY)
{
    const QelVec3& o = m_cStartFrame.m_vecOrigin;
    QelVec3 vWorld = o;
    if (m_eGrabbed >= eHandleXY)
    {
        int a, b, n;
        PlaneAxes(m_eGrabbed, a, b, n);
        QelVec3 p;
        if (!PlanePoint(m_cStartFrame.m_vecAxis[n], nMouseX, nMouseY, p))
            return;
        vWorld = o + (p - m_vecStartPoint);
        if (m_pGrid)
        {
            const QelVec3 vSnapped = m_pGrid->SnapPosition(vWorld);
            const QelVec3& vNormal = m_cStartFrame.m_vecAxis[n];
            vWorld = vSnapped - vNormal * (vSnapped - o).Dot(vNormal);
        }
    }
    else
    {
        const QelVec3& vAxis = m_cStartFrame.m_vecAxis[m_eGrabbed - eHandleX];
        float s = 0.0f;
        if (!AxisParameter(vAxis, nMouseX, nMouseY, s))
            return;
        vWorld = o + vAxis * (s - m_fStartParameter);
        if (m_pGrid)
            vWorld = o + vAxis * (m_pGrid->SnapPosition(vWorld) - o).Dot(vAxis);
    }
    // The translation lives in the parent's coordinates.
    QelMatrix4 mInverse(m_mParent);
    if (!mInverse.Invert())
        return;
    const QelVec3 t = mInverse * vWorld;
    for (int i = 0; i < 3; ++i)
        WriteProperty(kTranslation[i], t[i]);
}

void QelManipulator::DragRotate(int nMouseX, int nMouseY)
{
    const QelVec3& vAxis = m_cStartFrame.m_vecAxis[m_eGrabbed - eHandleX];
    QelVec3 p;
    if (!PlanePoint(vAxis, nMouseX, nMouseY, p))
        return;
    const QelVec3 v0 = m_vecStartPoint - m_cStartFrame.m_vecOrigin, v1 = p - m_cStartFrame.m_vecOrigin;
    float fDegrees = std::atan2(v0.Cross(v1).Dot(vAxis), v0.Dot(v1)) * kQelRadToDeg;
    if (m_pGrid)
        fDegrees = m_pGrid->SnapAngle(fDegrees);
    // The turn about the world axis, seen from the parent: P^-1 R P, applied before the start's
    // own rotation (the object turns about its own origin, so the translation stays).
    QelMatrix4 mParentInverse = Linear(m_mParent);
    if (!mParentInverse.Invert())
        return;
    QelMatrix4 mTurn(true);
    mTurn.Rotate(vAxis, fDegrees);
    QelMatrix4 mStartRotation = Linear(m_mStartLocal);
    mStartRotation.OrthoNormalize();
    QelMatrix4 mRotation = mParentInverse * mTurn * Linear(m_mParent) * mStartRotation;
    mRotation.OrthoNormalize();
    const QelVec4 vAxisAngle = mRotation.ConvertToAxisAngle();
    if (!std::isfinite(vAxisAngle.x + vAxisAngle.y + vAxisAngle.z + vAxisAngle.w))
        return;
    WriteProperty("Transform:Rotation:Axis X", vAxisAngle.x);
    WriteProperty("Transform:Rotation:Axis Y", vAxisAngle.y);
    WriteProperty("Transform:Rotation:Axis Z", vAxisAngle.z);
    WriteProperty("Transform:Rotation:Angle", vAxisAngle.w);
}

void QelManipulator::DragScale(int nMouseX, int nMouseY)
{
    const int i = m_eGrabbed - eHandleX;
    float s = 0.0f;
    if (!AxisParameter(m_cStartFrame.m_vecAxis[i], nMouseX, nMouseY, s))
        return;
    float fScale = m_vecStartScale[i] * (s / m_fStartParameter);
    // Never through zero: a flat object could not be grabbed again.
    const float fSmallest = 1e-4f * std::max(1.0f, std::fabs(m_vecStartScale[i]));
    if (std::fabs(fScale) < fSmallest || (fScale > 0.0f) != (m_vecStartScale[i] > 0.0f))
        fScale = m_vecStartScale[i] > 0.0f ? fSmallest : -fSmallest;
    WriteProperty(kScale[i], fScale);
}

bool QelManipulator::MouseButtonPress(const QelMouseState& mouse)
{
    return mouse.m_eButton == QelMouseState::eButtonLeft && BeginDrag(mouse.m_nX, mouse.m_nY);
}

bool QelManipulator::MouseMotion(const QelMouseState& mouse, QelVec2, bool& bHandled)
{
    if (!Drag(mouse.m_nX, mouse.m_nY))
        return false;
    bHandled = true;
    return true;
}

bool QelManipulator::MouseButtonRelease(const QelMouseState&)
{
    const bool bWasDragging = IsDragging();
    EndDrag();
    return bWasDragging;
}

void QelManipulator::Draw()
{
    SFrame c;
    if (!GetFrame(c))
        return;
    static const float kColors[3][3] = {{0.9f, 0.15f, 0.15f}, {0.15f, 0.85f, 0.15f}, {0.2f, 0.35f, 1.0f}};
    auto fnColor = [&](EHandle e, int nAxis) {
        if (e == m_eGrabbed)
            glColor3f(1.0f, 0.9f, 0.1f);
        else
            glColor3fv(kColors[nAxis]);
    };
    glPushAttrib(GL_ENABLE_BIT | GL_CURRENT_BIT | GL_LINE_BIT | GL_POINT_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_TEXTURE_2D);
    glLineWidth(2.0f);
    glPointSize(7.0f);
    const QelVec3& o = c.m_vecOrigin;
    for (int i = 0; i < 3; ++i)
    {
        const EHandle e = EHandle(eHandleX + i);
        fnColor(e, i);
        if (m_eMode == eModeRotate)
        {
            const QelVec3& a = c.m_vecAxis[(i + 1) % 3];
            const QelVec3& b = c.m_vecAxis[(i + 2) % 3];
            const float r = c.m_fLength * kRingRadius;
            glBegin(GL_LINE_LOOP);
            for (int k = 0; k < kRingSegments; ++k)
            {
                const float fAngle = 2.0f * kPi * float(k) / kRingSegments;
                const QelVec3 p = o + a * (r * std::cos(fAngle)) + b * (r * std::sin(fAngle));
                glVertex3fv(&p.x);
            }
            glEnd();
            continue;
        }
        const QelVec3 vEnd = o + c.m_vecAxis[i] * c.m_fLength;
        glBegin(GL_LINES);
        glVertex3fv(&o.x);
        glVertex3fv(&vEnd.x);
        glEnd();
        if (m_eMode == eModeScale)
        {
            glBegin(GL_POINTS);
            glVertex3fv(&vEnd.x);
            glEnd();
        }
    }
    if (m_eMode == eModeTranslate)
        for (EHandle e : {eHandleXY, eHandleYZ, eHandleXZ})
        {
            int a, b, n;
            PlaneAxes(e, a, b, n);
            fnColor(e, n);
            const QelVec3 vA = c.m_vecAxis[a] * c.m_fLength, vB = c.m_vecAxis[b] * c.m_fLength;
            const QelVec3 p[4] = {o + vA * kPlaneNear + vB * kPlaneNear, o + vA * kPlaneFar + vB * kPlaneNear,
                                  o + vA * kPlaneFar + vB * kPlaneFar, o + vA * kPlaneNear + vB * kPlaneFar};
            glBegin(GL_LINE_LOOP);
            for (const QelVec3& v : p)
                glVertex3fv(&v.x);
            glEnd();
        }
    glPopAttrib();
}
