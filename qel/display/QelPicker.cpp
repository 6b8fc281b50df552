#include "qel/display/QelPicker.h"

#include "qel/display/QelPickMesh.h"
#include "qel/display/detail/QelSceneWalk.h"
#include "qel/framework/QelSysApp.h"

#include <algorithm>
#include <cmath>

namespace
{
/// A ray made ready for many box tests: the reciprocals of its direction are taken once.
struct SBoxRay
{
    explicit SBoxRay(const QelRay& ray) : m_vecStart(ray.m_vecStart)
    {
        for (int a = 0; a < 3; ++a)
        {
            const float d = ray.m_vecDirection[a];
            m_bFlat[a] = d == 0.0f;
            m_fInverse[a] = m_bFlat[a] ? 0.0f : 1.0f / d;
        }
    }
    /// Where the ray enters the box (0 when it starts inside); false when it misses.
    bool Hit(const QelBox3& cBox, float& fEnter) const
    {
        float t0 = 0.0f, t1 = 3.4028235e38f;
        for (int a = 0; a < 3; ++a)
        {
            const float s = m_vecStart[a];
            if (m_bFlat[a])
            {
                if (s < cBox.m_vecMin[a] || s > cBox.m_vecMax[a])
                    return false;
                continue;
            }
            float fNear = (cBox.m_vecMin[a] - s) * m_fInverse[a], fFar = (cBox.m_vecMax[a] - s) * m_fInverse[a];
            if (fNear > fFar)
                std::swap(fNear, fFar);
            t0 = std::max(t0, fNear);
            t1 = std::min(t1, fFar);
            if (!(t0 <= t1))
                return false;
        }
        fEnter = t0;
        return true;
    }
    QelVec3 m_vecStart;
    float m_fInverse[3];
    bool m_bFlat[3];
};

/// The world bounds of a local box: the centre moved, the half sizes through the absolute matrix.
QelBox3 WorldBounds(const QelBox3& cLocal, const QelMatrix4& m)
{
    const QelVec3 c = m * cLocal.Center(), h = cLocal.Dimensions() * 0.5f;
    const float* p = m.m_fM;
    const QelVec3 e(std::fabs(p[0]) * h.x + std::fabs(p[4]) * h.y + std::fabs(p[8]) * h.z,
                    std::fabs(p[1]) * h.x + std::fabs(p[5]) * h.y + std::fabs(p[9]) * h.z,
                    std::fabs(p[2]) * h.x + std::fabs(p[6]) * h.y + std::fabs(p[10]) * h.z);
    return QelBox3(c - e, c + e);
}

bool Pickable(QelDisplayObject& object)
{
    return object.GetCullRadius() > 0.0f && object.GetExtents().IsValid() &&
           object.GetCategory() != QelSandboxIcon::eCategoryManipulatorObject;
}

/// The pickable objects Render draws, with their world matrices.
template <class Fn>
void ForEachDrawn(const std::vector<QelDisplayObject*>& vecRoots, Fn&& fn)
{
    QelWalkDrawn(vecRoots, [&](QelDisplayObject& object, const QelMatrix4& mWorld) {
        if (Pickable(object))
            fn(object, mWorld);
    });
}
} // namespace

std::vector<QelPickHit> QelPicker::PickAll(const std::vector<QelDisplayObject*>& vecRoots, const QelRay& ray)
{
    std::vector<QelPickHit> vHits;
    const SBoxRay cWorldRay(ray);
    ForEachDrawn(vecRoots, [&](QelDisplayObject& object, const QelMatrix4& mWorld) {
        float t = 0.0f;
        if (!cWorldRay.Hit(WorldBounds(object.GetExtents(), mWorld), t))
            return;
        // In the object's own coordinates the box is exact; t keeps its meaning, as the local
        // direction is the world one through the same (inverse) matrix.
        QelMatrix4 mInverse(mWorld);
        if (!mInverse.Invert())
            return;
        QelMatrix4 mLinear(mInverse);
        mLinear.GetTranslation() = QelVec3(0, 0, 0);
        const QelRay cLocal(mInverse * ray.m_vecStart, mLinear * ray.m_vecDirection);
        if (!SBoxRay(cLocal).Hit(object.GetExtents(), t))
            return;
        if (QelPickMesh* pMesh = object.GetPickMesh())
            if (!pMesh->IntersectRay(cLocal, t))
                return;
        vHits.push_back(QelPickHit{&object, t, ray.m_vecStart + ray.m_vecDirection * t});
    });
    std::stable_sort(vHits.begin(), vHits.end(),
                     [](const QelPickHit& a, const QelPickHit& b) { return a.m_fDistance < b.m_fDistance; });
    return vHits;
}

QelPickHit QelPicker::Pick(const std::vector<QelDisplayObject*>& vecRoots, const QelRay& ray)
{
    std::vector<QelPickHit> vHits = PickAll(vecRoots, ray);
    return vHits.empty() ? QelPickHit() : vHits.front();
}

QelPickHit QelPicker::Pick(const std::vector<QelDisplayObject*>& vecRoots, QelCamera& camera, int nMouseX, int nMouseY)
{
    if (!camera.IsInViewport(nMouseX, nMouseY))
    {
        int v[4];
        camera.GetViewport(v);
        QelSysApp::App().PrintToConsole("<warning> Pick at (%d, %d) is outside the %d x %d viewport: nothing picked\n",
                                        nMouseX, nMouseY, v[2], v[3]);
        return QelPickHit();
    }
    return Pick(vecRoots, camera.GetPickRay(nMouseX, nMouseY));
}

std::vector<QelDisplayObject*> QelPicker::PickRectangle(const std::vector<QelDisplayObject*>& vecRoots,
                                                       QelCamera& camera, int nX0, int nY0, int nX1, int nY1)
{
    int v[4];
    camera.GetViewport(v);
    // Window coordinates (y up) of the rectangle, clamped to the viewport.
    const float fLeft = float(v[0] + std::clamp(std::min(nX0, nX1), 0, v[2]));
    const float fRight = float(v[0] + std::clamp(std::max(nX0, nX1) + 1, 0, v[2]));
    const float fBottom = float(v[1] + v[3] - std::clamp(std::max(nY0, nY1) + 1, 0, v[3]));
    const float fTop = float(v[1] + v[3] - std::clamp(std::min(nY0, nY1), 0, v[3]));
    const QelMatrix4 mView = camera.GetViewMatrix();
    QelMatrix4 mViewProjection = camera.GetProjectionMatrix() * mView;
    std::vector<QelDisplayObject*> vInside;
    ForEachDrawn(vecRoots, [&](QelDisplayObject& object, const QelMatrix4& mWorld) {
        const QelBox3 e = object.GetExtents();
        for (int i = 0; i < 8; ++i)
        {
            const QelVec3 c(i & 1 ? e.m_vecMax.x : e.m_vecMin.x, i & 2 ? e.m_vecMax.y : e.m_vecMin.y,
                            i & 4 ? e.m_vecMax.z : e.m_vecMin.z);
            const QelVec3 w = mWorld * c;
            const QelVec4 clip = mViewProjection * QelVec4(w.x, w.y, w.z, 1.0f);
            if (!(clip.w > 0.0f))
                return; // behind the eye
            const float x = float(v[0]) + (clip.x / clip.w + 1.0f) * 0.5f * float(v[2]);
            const float y = float(v[1]) + (clip.y / clip.w + 1.0f) * 0.5f * float(v[3]);
            const float z = clip.z / clip.w;
            if (!(x >= fLeft && x <= fRight && y >= fBottom && y <= fTop && z >= -1.0f && z <= 1.0f))
                return;
        }
        vInside.push_back(&object);
    });
    return vInside;
}

QelDisplayObject* QelPicker::ClickSelect(QelDisplaySystem& view, QelCamera& camera, int nMouseX, int nMouseY,
                                         bool bToggle)
{
    std::vector<QelDisplayObject*>* pRoots = view.GetDisplayObjects();
    QelDisplayObject* pHit = pRoots ? Pick(*pRoots, camera, nMouseX, nMouseY).m_pObject : nullptr;
    if (!bToggle)
        view.SetSelection(pHit ? std::vector<QelDisplayObject*>{pHit} : std::vector<QelDisplayObject*>{});
    else if (pHit && view.IsInSelection(pHit))
        view.RemoveFromSelection(pHit);
    else if (pHit)
        view.AddToSelection(pHit);
    return pHit;
}

void QelPicker::RubberBandSelect(QelDisplaySystem& view, QelCamera& camera, int nX0, int nY0, int nX1, int nY1,
                                 bool bAdd)
{
    std::vector<QelDisplayObject*>* pRoots = view.GetDisplayObjects();
    std::vector<QelDisplayObject*> vNew;
    if (bAdd)
        vNew = view.GetSelection();
    if (pRoots)
        for (QelDisplayObject* p : PickRectangle(*pRoots, camera, nX0, nY0, nX1, nY1))
            vNew.push_back(p);
    view.SetSelection(vNew);
}
