#include "qel/properties/QelPropertyHistory.h"

#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/detail/QelPropertyHistoryDef.h"

#include <new>

namespace
{
float NumericValue(const QelVariant& cValue)
{
    return cValue.GetDataType() == eDataReal ? float(cValue) : cValue.ConvertToFloat();
}

bool IsNumericType(QelDataType eType)
{
    return eType == eDataInteger || eType == eDataReal;
}
} // namespace

QelPropertyHistory::QelPropertyHistory() : m_pDef(new (std::nothrow) QelPropertyHistoryDef) {}

QelPropertyHistory::QelPropertyHistory(const QelPropertyHistory& other) : m_pDef(new (std::nothrow) QelPropertyHistoryDef)
{
    *this = other;
}

QelPropertyHistory::~QelPropertyHistory()
{
    delete m_pDef;
}

QelPropertyHistory& QelPropertyHistory::operator=(const QelPropertyHistory& other)
{
    if (this == &other || !m_pDef || !other.m_pDef)
        return *this;
    QelProperty* pOwner = m_pDef->m_pProperty;
    *m_pDef = *other.m_pDef;
    m_pDef->m_pProperty = pOwner;
    return *this;
}

void QelPropertyHistory::SetProperty(QelProperty* pProperty)
{
    if (m_pDef)
        m_pDef->m_pProperty = pProperty;
}

void QelPropertyHistory::NotifyContainer()
{
    QelProperty* pProperty = m_pDef->m_pProperty;
    if (pProperty)
        if (QelPropertyContainer* pContainer = pProperty->GetContainer())
            pContainer->PropagateDirtyBit(QelPropertyContainer::kDirtyHistory, pProperty);
}

bool QelPropertyHistory::Append(const QelVariant& cValue)
{
    if (!m_pDef)
        return true;
    QelPropertyHistoryDef& d = *m_pDef;
    d.m_vecRaw.push_back(cValue);
    if (d.m_pProperty && IsNumericType(d.m_pProperty->GetDataType()))
    {
        double dValue = NumericValue(cValue);
        if (d.m_vecRaw.size() == 1)
            d.m_dMin = d.m_dMax = dValue;
        else
        {
            if (dValue < d.m_dMin)
                d.m_dMin = dValue;
            if (dValue > d.m_dMax)
                d.m_dMax = dValue;
        }
    }
    d.m_eOrdering = eOrderingUnknown;
    NotifyContainer();
    d.m_eType = eTypeRaw;
    d.m_eState = eStateValid;
    return true;
}

bool QelPropertyHistory::CheckTypes(const std::vector<QelVariant>& vecValues, const char* pFormat) const
{
    QelProperty* pProperty = m_pDef->m_pProperty;
    if (!pProperty)
        return true;
    const QelDataType eType = pProperty->GetDataType();
    for (const QelVariant& cValue : vecValues)
    {
        if (cValue.GetDataType() != eType)
        {
            QelSysApp::App().PrintToConsole(pFormat, pProperty->GetFullName().c_str(),
                                            QelVariant::GetDataTypeName(eType),
                                            QelVariant::GetDataTypeName(cValue.GetDataType()));
            return false;
        }
    }
    return true;
}

void QelPropertyHistory::RecomputeRange()
{
    QelPropertyHistoryDef& d = *m_pDef;
    if (!d.m_pProperty || !IsNumericType(d.m_pProperty->GetDataType()) || d.m_vecRaw.empty())
    {
        d.m_dMin = 0.0;
        d.m_dMax = 1.0;
        return;
    }
    float fMin = NumericValue(d.m_vecRaw[0]);
    float fMax = fMin;
    for (size_t i = 1; i < d.m_vecRaw.size(); ++i)
    {
        float f = NumericValue(d.m_vecRaw[i]);
        if (f < fMin)
            fMin = f;
        if (f > fMax)
            fMax = f;
    }
    d.m_dMin = fMin;
    d.m_dMax = fMax;
}

#if defined(__GNUC__)
#  pragma GCC diagnostic push
#  pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif

bool QelPropertyHistory::Set(const std::vector<QelVariant>& vecValues)
{
    if (!m_pDef)
        return false;
    if (!CheckTypes(vecValues,
                    "<warning> Property %s is of type %s, but an attempt was made to set history of type %s\n"))
        return false;
    m_pDef->m_vecRaw = vecValues;
    RecomputeRange();
    m_pDef->m_eType = eTypeRaw;
    m_pDef->m_eOrdering = eOrderingUnknown;
    m_pDef->m_eState = eStateValid;
    NotifyContainer();
    return true;
}

bool QelPropertyHistory::FastComplete()
{
    if (!m_pDef)
        return false;
    if (!CheckTypes(m_pDef->m_vecRaw, "<warning> AppendFastComplete: property %s is of type %s, but an attempt was "
                                      "made to set history of type %s\n"))
        return false;
    RecomputeRange();
    // Reset as Set does: the bulk fill replaced the series, so a cached ordering would be stale.
    m_pDef->m_eType = eTypeRaw;
    m_pDef->m_eOrdering = eOrderingUnknown;
    m_pDef->m_eState = eStateValid;
    NotifyContainer();
    return true;
}

#if defined(__GNUC__)
#  pragma GCC diagnostic pop
#endif

void QelPropertyHistory::Clear()
{
    if (!m_pDef)
        return;
    QelPropertyHistoryDef& d = *m_pDef;
    d.m_vecRaw.clear();
    d.m_dMax = 1.0;
    d.m_eState = eStateValid;
    d.m_eType = eTypeEmpty;
    d.m_eOrdering = eOrderingUnknown;
    d.m_dMin = 0.0;
    NotifyContainer();
}

const std::vector<QelVariant>* QelPropertyHistory::GetRaw() const
{
    return m_pDef ? &m_pDef->m_vecRaw : nullptr;
}

const std::vector<QelVariant>* QelPropertyHistory::Get(bool) const
{
    return nullptr;
}

QelPropertyHistory::EOrdering QelPropertyHistory::CheckOrdering()
{
    if (!m_pDef)
        return eOrderingUnknown;
    QelPropertyHistoryDef& d = *m_pDef;
    if (d.m_eOrdering != eOrderingUnknown)
        return d.m_eOrdering;
    d.m_eOrdering = eOrderingOrdered;
    for (size_t i = 1; i < d.m_vecRaw.size(); ++i)
    {
        if (d.m_vecRaw[i] < d.m_vecRaw[i - 1])
        {
            d.m_eOrdering = eOrderingUnordered;
            break;
        }
    }
    return d.m_eOrdering;
}

bool QelPropertyHistory::GetRange(double& dMin, double& dMax) const
{
    dMin = 0.0;
    dMax = 1.0;
    return true;
}

void QelPropertyHistory::GetStoredRange(double& dMin, double& dMax) const
{
    dMin = m_pDef ? m_pDef->m_dMin : 0.0;
    dMax = m_pDef ? m_pDef->m_dMax : 1.0;
}

QelPropertyHistory::EType QelPropertyHistory::GetType(bool) const
{
    return eTypeEmpty;
}

void QelPropertyHistory::SetType(EType eType)
{
    if (m_pDef)
        m_pDef->m_eType = eType;
}

QelPropertyHistory::EState QelPropertyHistory::GetState(bool) const
{
    return m_pDef ? m_pDef->m_eState : eStateValid;
}

void QelPropertyHistory::SetState(EState eState)
{
    if (m_pDef)
        m_pDef->m_eState = eState;
}

void QelPropertyHistory::SetAllowDerived(bool bAllow)
{
    if (m_pDef)
        m_pDef->m_bAllowDerived = bAllow;
}

bool QelPropertyHistory::AllowDerived() const
{
    return m_pDef && m_pDef->m_bAllowDerived;
}

void QelPropertyHistory::FastReserve(unsigned int nCount)
{
    if (m_pDef)
        m_pDef->m_vecRaw.reserve(nCount);
}

void QelPropertyHistory::FastResize(unsigned int nCount)
{
    if (m_pDef)
        m_pDef->m_vecRaw.resize(nCount);
}

void QelPropertyHistory::FastAppend(const QelVariant& cValue)
{
    if (m_pDef)
        m_pDef->m_vecRaw.push_back(cValue);
}

void QelPropertyHistory::FastSetAt(const QelVariant& cValue, int nIndex)
{
    if (!m_pDef || nIndex < 0 || size_t(nIndex) >= m_pDef->m_vecRaw.size())
    {
        QelSysApp::App().PrintToConsole(
            "<warning> History index [%d] is out of range [0, %d) in QelPropertyHistory::FastSetAt()\n", nIndex,
            m_pDef ? int(m_pDef->m_vecRaw.size()) : 0);
        return;
    }
    m_pDef->m_vecRaw[size_t(nIndex)] = cValue;
}
