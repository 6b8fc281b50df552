#include "qel/display/QelClipPlane.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/display/detail/QelSlotTable.h"
#include "qel/math/QelMathConstants.h"
#include "qel/properties/QelProperty.h"

#include <GL/glew.h>

#include <algorithm>
#include <cmath>

using namespace QelDisplayDetail;

namespace
{
QelSlotTable& Planes()
{
    static QelSlotTable s_cPlanes(QelClipPlane::kMaxPlanes);
    return s_cPlanes;
}
} // namespace

QelClipPlane::QelClipPlane() : QelSwitchableObject(Planes(), "Clip plane:On", "clip planes")
{
    SetName("Clip Plane");
    AddTransformProperties(true, true, true);
    SetRotation(QelVec4(0.0f, 0.0f, 1.0f, 0.0f));
}

bool QelClipPlane::SetPlane(const QelVec3& vPoint, const QelVec3& vNormal)
{
    const bool bFinite = std::isfinite(vPoint.x) && std::isfinite(vPoint.y) && std::isfinite(vPoint.z) &&
                         std::isfinite(vNormal.x) && std::isfinite(vNormal.y) && std::isfinite(vNormal.z);
    if (!bFinite || !(vNormal.MagnitudeSquared() > 0.0f))
    {
        PrintWarning("Plane through %s with normal %s refused: it needs finite vectors and a non-zero normal",
                     vPoint.String().c_str(), vNormal.String().c_str());
        return false;
    }
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
    if (!CheckPlacement(vPoint, vNormal, "plane"))
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
        QelClipPlane* p = static_cast<QelClipPlane*>(Planes().At(i));
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
    return Planes().GetObjects<QelClipPlane>();
}

bool QelClipPlane::Save(QelXMLInterface* pXML)
{
    return QelDisplayObject::Save(pXML) && QelDisplayDetail::SaveProperties(*this, pXML, "ClipPlane");
}

bool QelClipPlane::Load(QelXMLInterface* pXML)
{
    return QelDisplayObject::Load(pXML) && QelDisplayDetail::LoadProperties(*this, pXML, "ClipPlane");
}
