#include "qel/properties/QelInterpColorProperty.h"

#include "qel/properties/QelPropertyContainer.h"

#include <algorithm>
#include <cmath>

/// Data of QelInterpColorProperty: the owner and its three children (not owned).
class QelInterpColorPropertyDef
{
public:
    explicit QelInterpColorPropertyDef(QelInterpColorProperty* pOwner) : m_pOwner(pOwner) {}
    virtual ~QelInterpColorPropertyDef() = default;

    QelInterpColorProperty* m_pOwner;
    QelProperty* m_pHighColor = nullptr;
    QelProperty* m_pLowColor = nullptr;
    QelProperty* m_pValue = nullptr;
};

namespace
{
constexpr QelPackedColor kOpaqueWhite = 0xFFFFFFFFu;
constexpr QelPackedColor kOpaqueBlack = 0xFF000000u;

/// Sets a value without announcing it (children are set up quietly).
template <typename F> void Quietly(QelProperty* p, F fn)
{
    const bool bWas = p->IsPropagationEnabled();
    p->SetPropagation(false);
    fn(p);
    p->SetPropagation(bWas);
}

QelPackedColor ColorOf(QelProperty* p, QelPackedColor nDefault)
{
    if (!p)
        return nDefault;
    const QelVariant& v = p->GetAsVariant();
    QelDataType e = v.GetDataType();
    return (e == eDataColor || e == eDataInteger) ? QelPackedColor((unsigned int)v) : QelPackedColor(v.ConvertToInt());
}
} // namespace

QelInterpColorProperty::QelInterpColorProperty(const std::string& strName, QelPropertyContainer* pContainer,
                                               bool bAutoSave)
    : QelProperty(strName, pContainer, eDataInterpColor, bAutoSave), m_pDef(new QelInterpColorPropertyDef(this))
{
    SetIsInterpColorProperty(true);
    MakeChildren(pContainer, bAutoSave);
    Quietly(this, [](QelProperty* p) { p->SetAsVariant(QelVariant(kOpaqueWhite)); });
    Recompute();
}

QelInterpColorProperty::QelInterpColorProperty(const QelInterpColorProperty& other)
    : QelProperty(other), m_pDef(new QelInterpColorPropertyDef(this))
{
    SetIsInterpColorProperty(true);
    QelProperty* pSourceLow = other.GetLowColorProperty();
    MakeChildren(pSourceLow ? pSourceLow->GetContainer() : nullptr, other.WillAutoSave());
    if (m_pDef->m_pLowColor)
        Quietly(m_pDef->m_pLowColor, [&](QelProperty* p) { p->SetAsColor(other.GetLowColor()); });
    if (m_pDef->m_pHighColor)
        Quietly(m_pDef->m_pHighColor, [&](QelProperty* p) { p->SetAsColor(other.GetHighColor()); });
    if (m_pDef->m_pValue)
        Quietly(m_pDef->m_pValue, [&](QelProperty* p) { p->SetAsDouble(other.GetValue()); });
    const QelVariant cResult = other.GetAsVariantWithoutPull();
    Quietly(this, [&](QelProperty* p) { p->SetAsVariant(cResult); });
}

QelInterpColorProperty::~QelInterpColorProperty()
{
    // Let go of the children still linked, so that none keeps this object as a holder.
    for (QelProperty* p : {m_pDef->m_pHighColor, m_pDef->m_pLowColor, m_pDef->m_pValue})
        if (p)
            ReleaseObject(p);
    delete m_pDef;
}

void QelInterpColorProperty::MakeChildren(QelPropertyContainer* pContainer, bool bAutoSave)
{
    if (!pContainer)
        return;
    const std::string strName = GetName();
    QelProperty* pHigh = pContainer->CreateProperty(strName + ":High color", eDataColor, bAutoSave);
    QelProperty* pLow = pContainer->CreateProperty(strName + ":Low color", eDataColor, bAutoSave);
    QelProperty* pValue = pContainer->CreateProperty(strName + ":Interpolation", eDataReal, bAutoSave);
    ReplaceChild(m_pDef->m_pHighColor, pHigh);
    ReplaceChild(m_pDef->m_pLowColor, pLow);
    ReplaceChild(m_pDef->m_pValue, pValue);
    if (pHigh)
        Quietly(pHigh, [](QelProperty* p) { p->SetAsColor(kOpaqueWhite); });
    if (pLow)
        Quietly(pLow, [](QelProperty* p) { p->SetAsColor(kOpaqueBlack); });
    if (pValue)
        Quietly(pValue, [](QelProperty* p) { p->SetAsDouble(1.0); });
    for (QelProperty* p : {pHigh, pLow, pValue})
        if (p)
            p->SetChangedFlag(false);
}

void QelInterpColorProperty::ReplaceChild(QelProperty*& pSlot, QelProperty* pProperty)
{
    if (pSlot == pProperty)
        return;
    QelProperty* pOld = pSlot;
    pSlot = pProperty;
    // Another slot may still use the old child; keep the hold while it does.
    if (pOld && pOld != m_pDef->m_pHighColor && pOld != m_pDef->m_pLowColor && pOld != m_pDef->m_pValue)
        ReleaseObject(pOld);
    if (pProperty)
        HoldObject(pProperty);
}

QelProperty* QelInterpColorProperty::GetLowColorProperty() const
{
    return m_pDef->m_pLowColor;
}

QelProperty* QelInterpColorProperty::GetHighColorProperty() const
{
    return m_pDef->m_pHighColor;
}

QelProperty* QelInterpColorProperty::GetValueProperty() const
{
    return m_pDef->m_pValue;
}

QelPackedColor QelInterpColorProperty::GetLowColor() const
{
    return ColorOf(m_pDef->m_pLowColor, kOpaqueBlack);
}

QelPackedColor QelInterpColorProperty::GetHighColor() const
{
    return ColorOf(m_pDef->m_pHighColor, kOpaqueWhite);
}

double QelInterpColorProperty::GetValue() const
{
    QelProperty* p = m_pDef->m_pValue;
    if (!p)
        return 1.0;
    double dValue = p->GetAsVariant().ConvertToFloat();
    double dMin, dMax;
    p->GetClamp(dMin, dMax);
    return std::max(std::min(dValue, dMax), dMin);
}

void QelInterpColorProperty::SetLowColor(const QelPackedColor& nColor)
{
    if (m_pDef->m_pLowColor)
        m_pDef->m_pLowColor->SetAsColor(nColor);
}

void QelInterpColorProperty::SetHighColor(const QelPackedColor& nColor)
{
    if (m_pDef->m_pHighColor)
        m_pDef->m_pHighColor->SetAsColor(nColor);
}

void QelInterpColorProperty::SetValue(float fValue)
{
    if (m_pDef->m_pValue)
        m_pDef->m_pValue->SetAsFloat(fValue);
}

void QelInterpColorProperty::SetLowColor(QelProperty* pProperty)
{
    ReplaceChild(m_pDef->m_pLowColor, pProperty);
}

void QelInterpColorProperty::SetHighColor(QelProperty* pProperty)
{
    ReplaceChild(m_pDef->m_pHighColor, pProperty);
}

void QelInterpColorProperty::SetValue(QelProperty* pProperty)
{
    ReplaceChild(m_pDef->m_pValue, pProperty);
}

QelPackedColor QelInterpColorProperty::GetAsColor()
{
    PullData();
    return (unsigned int)GetAsVariantWithoutPull();
}

double QelInterpColorProperty::GetAsDouble()
{
    PullData();
    return GetValue();
}

bool QelInterpColorProperty::SetAsColor(QelPackedColor nColor)
{
    return QelProperty::SetAsColor(nColor);
}

bool QelInterpColorProperty::SetAsColor(float fRed, float fGreen, float fBlue, float fAlpha)
{
    return QelProperty::SetAsColor(fRed, fGreen, fBlue, fAlpha);
}

bool QelInterpColorProperty::HaveChildrenChanged() const
{
    for (QelProperty* p : {m_pDef->m_pHighColor, m_pDef->m_pLowColor, m_pDef->m_pValue})
        if (p && p->HasChanged())
            return true;
    return false;
}

bool QelInterpColorProperty::HasChanged() const
{
    return QelProperty::HasChanged() || HaveChildrenChanged();
}

void QelInterpColorProperty::ClampValueProperty()
{
    QelProperty* p = m_pDef->m_pValue;
    if (!p)
        return;
    double dValue = p->GetAsVariantWithoutPull().ConvertToFloat();
    double dClamped = GetValue();
    // Written only when outside, and without spreading: a write here would dirty the container
    // again from inside its own calculation.
    if (dClamped != dValue)
        Quietly(p, [&](QelProperty* q) { q->SetAsDouble(dClamped); });
}

void QelInterpColorProperty::Recompute()
{
    const bool bWasPropagating = IsPropagationEnabled();
    SetPropagation(false);
    ClampValueProperty();
    const QelPackedColor nLow = GetLowColor();
    const QelPackedColor nHigh = GetHighColor();
    float t = float(GetValue());
    t = std::min(t, 1.0f);
    t = std::max(t, 0.0f);
    if (std::isnan(t))
        t = 0.0f;
    QelPackedColor nResult = 0;
    for (int nShift = 0; nShift < 32; nShift += 8)
    {
        float fLow = float((nLow >> nShift) & 0xFF);
        float fHigh = float((nHigh >> nShift) & 0xFF);
        float c = fLow + (fHigh - fLow) * t;
        nResult |= (QelPackedColor(c) & 0xFF) << nShift;
    }
    QelProperty::SetAsColor(nResult);
    // Switched back on: a later write by the host must still reach the container; only the
    // recomputation itself is kept from starting another calculation.
    SetPropagation(bWasPropagating);
}

bool QelInterpColorProperty::SetName(const std::string& strName)
{
    const std::string strOldPrefix = GetName() + ":";
    if (!QelProperty::SetName(strName))
        return false;
    const std::string strNewPrefix = GetName() + ":";
    for (QelProperty* p : {m_pDef->m_pHighColor, m_pDef->m_pLowColor, m_pDef->m_pValue})
    {
        if (!p)
            continue;
        const std::string strChild = p->GetName();
        if (strChild.compare(0, strOldPrefix.size(), strOldPrefix) == 0)
            p->SetName(strNewPrefix + strChild.substr(strOldPrefix.size()));
    }
    return true;
}

void QelInterpColorProperty::DeleteChildrenProperties()
{
    QelPropertyContainer* pContainer = GetContainer();
    QelProperty* vecChildren[3] = {m_pDef->m_pHighColor, m_pDef->m_pLowColor, m_pDef->m_pValue};
    ReplaceChild(m_pDef->m_pHighColor, nullptr);
    ReplaceChild(m_pDef->m_pLowColor, nullptr);
    ReplaceChild(m_pDef->m_pValue, nullptr);
    for (int i = 0; i < 3; ++i)
    {
        QelProperty* p = vecChildren[i];
        if (!p || (i > 0 && p == vecChildren[0]) || (i > 1 && p == vecChildren[1]))
            continue;
        // A child that was replaced by a property of another container is only let go of.
        if (pContainer && pContainer->GetProperty(p->GetName()) == p)
            pContainer->DeleteProperty(p);
    }
}

void QelInterpColorProperty::OnDelete()
{
    ReplaceChild(m_pDef->m_pHighColor, nullptr);
    ReplaceChild(m_pDef->m_pLowColor, nullptr);
    ReplaceChild(m_pDef->m_pValue, nullptr);
    QelProperty::OnDelete();
}

void QelInterpColorProperty::OnObjectDeletion(QelBase* pDeleted)
{
    for (QelProperty** pp : {&m_pDef->m_pHighColor, &m_pDef->m_pLowColor, &m_pDef->m_pValue})
        if (*pp == pDeleted)
            *pp = nullptr;
    ReleaseObject(pDeleted);
}
