#include "qel/display/QelSwitchableObject.h"

#include "qel/display/detail/QelPropertyHelpers.h"
#include "qel/display/detail/QelSlotTable.h"
#include "qel/properties/QelProperty.h"

#include <cmath>

QelSwitchableObject::QelSwitchableObject(QelSlotTable& cTable, const char* pOnProperty, const char* pKind)
    : m_cTable(cTable), m_pOn(QelDisplayDetail::AddBool(*this, pOnProperty, false)), m_pKind(pKind)
{
}

QelSwitchableObject::~QelSwitchableObject()
{
    m_cTable.Release(this);
}

int QelSwitchableObject::GetSlot() const
{
    return m_cTable.Find(this);
}

bool QelSwitchableObject::TurnOn(bool bOn)
{
    bool bDone = true;
    if (!bOn)
        m_cTable.Release(this);
    else if (m_cTable.Acquire(this) < 0)
    {
        PrintWarning("Not turned on: at most %d %s can be on at once, and these are on: %s", m_cTable.GetSize(),
                     m_pKind, m_cTable.ListNames().c_str());
        bDone = false;
    }
    // Raised while the property is written, so that the edit hook does not switch again.
    m_bSyncing = true;
    m_pOn->SetAsBool(IsOn());
    m_bSyncing = false;
    return bDone;
}

void QelSwitchableObject::PropagateDirtyBitToNodes(unsigned short nBits, QelProperty* pProperty)
{
    QelDisplayObject::PropagateDirtyBitToNodes(nBits, pProperty);
    if (pProperty == m_pOn && !m_bSyncing && (nBits & 1))
        TurnOn(bool(pProperty->GetAsVariantWithoutPull()));
}

bool QelSwitchableObject::CheckPlacement(const QelVec3& vPoint, const QelVec3& vAxis, const char* pWhat)
{
    const bool bValid = std::isfinite(vPoint.x) && std::isfinite(vPoint.y) && std::isfinite(vPoint.z) &&
                        std::isfinite(vAxis.x) && std::isfinite(vAxis.y) && std::isfinite(vAxis.z) &&
                        vAxis.MagnitudeSquared() > 0.0f;
    if (!bValid && !m_bWarned)
        PrintWarning("Its transform gives no usable %s (position %s, axis %s); it is left out", pWhat,
                     vPoint.String().c_str(), vAxis.String().c_str());
    m_bWarned = !bValid;
    return bValid;
}
