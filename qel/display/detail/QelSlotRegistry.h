#pragma once

#include "qel/properties/QelProperty.h"

#include <cmath>
#include <string>

/// A fixed number of numbered OpenGL slots (lights, clip planes) and the objects switched on in
/// them. One per kind and process: there is one OpenGL context and one thread.
template <class T, int N>
class QelSlotRegistry
{
public:
    int Find(const T* p) const
    {
        for (int i = 0; i < N; ++i)
            if (m_p[i] == p)
                return i;
        return -1;
    }
    /// The slot of p, taking the first free one when p has none; -1 when all are taken.
    int Acquire(T* p)
    {
        const int nSlot = Find(p);
        if (nSlot >= 0)
            return nSlot;
        const int nFree = Find(nullptr);
        if (nFree >= 0)
            m_p[nFree] = p;
        return nFree;
    }
    void Release(const T* p)
    {
        const int nSlot = Find(p);
        if (nSlot >= 0)
            m_p[nSlot] = nullptr;
    }
    T* At(int nSlot) const { return nSlot >= 0 && nSlot < N ? m_p[nSlot] : nullptr; }
    /// "[A], [B], ..." in slot order.
    std::string ListNames() const
    {
        std::string str;
        for (T* p : m_p)
            if (p)
                str += (str.empty() ? "[" : ", [") + p->GetName() + "]";
        return str;
    }

private:
    T* m_p[N] = {};
};

/// Turns obj on (taking a slot) or off and makes its "On" property say which happened. Refused
/// with a warning naming the objects that hold every slot. bSyncing is raised while the property
/// is written, so that the object's edit hook does not switch it again.
template <class T, int N>
bool QelSwitchSlot(QelSlotRegistry<T, N>& cRegistry, T& obj, QelProperty* pOn, bool& bSyncing, bool bOn,
                   const char* pKind)
{
    bool bDone = true;
    if (!bOn)
        cRegistry.Release(&obj);
    else if (cRegistry.Acquire(&obj) < 0)
    {
        obj.PrintWarning("Not turned on: at most %d %s can be on at once, and these are on: %s", N, pKind,
                         cRegistry.ListNames().c_str());
        bDone = false;
    }
    bSyncing = true;
    pOn->SetAsBool(cRegistry.Find(&obj) >= 0);
    bSyncing = false;
    return bDone;
}

/// Checks a placement worked out from a transform; warns once (bWarned) until it is valid again.
template <class T>
bool QelCheckPlacement(const T& obj, const QelVec3& vPoint, const QelVec3& vAxis, bool& bWarned, const char* pWhat)
{
    const bool bValid = std::isfinite(vPoint.x) && std::isfinite(vPoint.y) && std::isfinite(vPoint.z) &&
                        std::isfinite(vAxis.x) && std::isfinite(vAxis.y) && std::isfinite(vAxis.z) &&
                        vAxis.MagnitudeSquared() > 0.0f;
    if (!bValid && !bWarned)
        obj.PrintWarning("Its transform gives no usable %s (position %s, axis %s); it is left out", pWhat,
                         vPoint.String().c_str(), vAxis.String().c_str());
    bWarned = !bValid;
    return bValid;
}
