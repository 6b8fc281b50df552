#include "qel/display/detail/QelSlotTable.h"

#include "qel/display/QelSwitchableObject.h"

#include <algorithm>

int QelSlotTable::Find(const QelSwitchableObject* p) const
{
    auto it = std::find(m_v.begin(), m_v.end(), p);
    return it == m_v.end() ? -1 : int(it - m_v.begin());
}

int QelSlotTable::Acquire(QelSwitchableObject* p)
{
    const int nSlot = Find(p);
    if (nSlot >= 0)
        return nSlot;
    const int nFree = Find(nullptr);
    if (nFree >= 0)
        m_v[size_t(nFree)] = p;
    return nFree;
}

void QelSlotTable::Release(const QelSwitchableObject* p)
{
    const int nSlot = Find(p);
    if (nSlot >= 0)
        m_v[size_t(nSlot)] = nullptr;
}

QelSwitchableObject* QelSlotTable::At(int nSlot) const
{
    return nSlot >= 0 && nSlot < GetSize() ? m_v[size_t(nSlot)] : nullptr;
}

std::string QelSlotTable::ListNames() const
{
    std::string str;
    for (QelSwitchableObject* p : m_v)
        if (p)
            str += (str.empty() ? "[" : ", [") + p->GetName() + "]";
    return str;
}
