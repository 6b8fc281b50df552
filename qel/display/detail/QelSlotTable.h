#pragma once

#include <string>
#include <vector>

class QelSwitchableObject;

/// A fixed number of numbered OpenGL slots (lights, clip planes) and the objects switched on in
/// them. One per kind and process: there is one OpenGL context and one thread.
class QelSlotTable
{
public:
    explicit QelSlotTable(int nSlots) : m_v(size_t(nSlots), nullptr) {}

    int GetSize() const { return int(m_v.size()); }
    int Find(const QelSwitchableObject* p) const;
    /// The slot of p, taking the first free one when p has none; -1 when all are taken.
    int Acquire(QelSwitchableObject* p);
    void Release(const QelSwitchableObject* p);
    QelSwitchableObject* At(int nSlot) const;
    /// The objects that are on, in slot order, as the kind the table is for.
    template <class T>
    std::vector<T*> GetObjects() const
    {
        std::vector<T*> v;
        for (QelSwitchableObject* p : m_v)
            if (p)
                v.push_back(static_cast<T*>(p));
        return v;
    }
    /// "[A], [B], ..." in slot order.
    std::string ListNames() const;

private:
    std::vector<QelSwitchableObject*> m_v;
};
