#include "qel/display/QelClipPlane.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/display/detail/QelSlotRegistry.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>

using namespace QelDisplayDetail;

namespace
{
QelSlotRegistry<QelClipPlane, QelClipPlane::kMaxPlanes>& Planes()
{
    static QelSlotRegistry<QelClipPlane, QelClipPlane::kMaxPlanes> s_cPlanes;
    return s_cPlanes;
}
} // namespace

QelClipPlane::QelClipPlane()
{
    SetName("Clip Plane");
    AddTransformProperties(true, true, true);
    m_pOn = AddBool(*this, "Clip plane:On", false);
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));
}

QelClipPlane::~QelClipPlane()
{
    Planes().Release(this);
}

bool QelClipPlane::TurnOn(bool bOn)
{
    return QelSwitchSlot(Planes(), *this, m_pOn, m_bSyncing, bOn, "clip planes");
}

int QelClipPlane::GetSlot() const
{
    return Planes().Find(this);
}

void QelClipPlane::PropagateDirtyBitToNodes(unsigned short nBits, QelProperty* pProperty)
{
    QelDisplayObject::PropagateDirtyBitToNodes(nBits, pProperty);
    if (pProperty == m_pOn && !m_bSyncing && (nBits & 1))
        TurnOn(bool(pProperty->GetAsVariantWithoutPull()));
}

bool QelClipPlane::SetPlane(const QelVec3& vPoint, const QelVec3& vNormal)
{
    bool bWarned = false;
    if (!QelCheckPlacement(*this, vPoint, vNormal, bWarned, "plane"))
        return false;
    // The turn that takes local +Z onto the normal; the opposite normal turns half way about X.
    QelVec3 n = vNormal;
    n.Normalize();
    QelVec3 vAxis = QelVec3::kUnitZ.Cross(n);
    const float fAngle = std::acos(std::clamp(n.z, -1.0f, 1.0f)) * kQelRadToDeg;
    if (vAxis.MagnitudeSquared() < 1e-12f)
        vAxis = QelVec3::kUnitX;
    SetTransform(vPoint, QelVec4(vAxis.x, vAxis.y, vAxis.z, fAngle), QelVec3(1.0f, 1.0f, 1.0f));
    return true;
}

bool QelClipPlane::GetWorldPlane(QelPlane& cPlane)
{
    QelMatrix4 mWorld;
    GetWorldTransform(mWorld);
    // The normal of the placed plane is across its placed X and Y axes, which stays right under
    // a scale that differs between the axes.
    const QelVec3 vPoint = mWorld.GetTranslation();
    const QelVec3 vNormal = mWorld.GetXAxis().Cross(mWorld.GetYAxis());
    if (!QelCheckPlacement(*this, vPoint, vNormal, m_bWarned, "plane"))
        return false;
    cPlane.Set(vNormal, vPoint);
    return true;
}

void QelClipPlane::ApplyAll(const QelMatrix4& mView)
{
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadMatrixf(mView.m_fM);
    for (int i = 0; i < kMaxPlanes; ++i)
    {
        const GLenum ePlane = GLenum(GL_CLIP_PLANE0 + i);
        QelClipPlane* p = Planes().At(i);
        QelPlane cPlane;
        if (!p || !p->GetWorldPlane(cPlane))
        {
            glDisable(ePlane);
            continue;
        }
        const GLdouble dEquation[4] = {cPlane.m_fA, cPlane.m_fB, cPlane.m_fC, cPlane.m_fD};
        glClipPlane(ePlane, dEquation);
        glEnable(ePlane);
    }
    glPopMatrix();
}

std::vector<QelClipPlane*> QelClipPlane::GetPlanesOn()
{
    std::vector<QelClipPlane*> v;
    for (int i = 0; i < kMaxPlanes; ++i)
        if (QelClipPlane* p = Planes().At(i))
            v.push_back(p);
    return v;
}

bool QelClipPlane::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && SaveProperties(*this, pXML, "ClipPlane");
}

bool QelClipPlane::Load(QelXMLInterface* pXML)
{
    return QelDisplayObject::Load(pXML) && LoadProperties(*this, pXML, "ClipPlane");
}
