#pragma once

#include "qel/platform/QelExport.h"
#include "qel/properties/QelVariant.h"

#include <vector>

class QelProperty;
class QelPropertyHistoryDef;

/// The series of past values of one property, with its numeric range and ordering. Changes that
/// complete tell the property's container (dirty bit 2); the fast bulk calls defer all of that.
class QEL_EXPORT QelPropertyHistory
{
public:
    /// What the series is; only the empty and raw states are produced by this class.
    enum EType
    {
        eTypeRaw = 0,
        eTypeDerived = 1,
        eTypeManual = 2,
        eTypeEmpty = 3
    };
    /// Whether the series is current; this class only produces eStateValid.
    enum EState
    {
        eStateValid = 0,
        eStateStale = 1
    };
    /// The cached answer of CheckOrdering; unknown after every change.
    enum EOrdering
    {
        eOrderingUnknown = 0,
        eOrderingOrdered = 1,
        eOrderingUnordered = 2
    };

    QelPropertyHistory();
    /// Copies the values and bookkeeping, not the owning property.
    QelPropertyHistory(const QelPropertyHistory& other);
    ~QelPropertyHistory();
    /// Copies the values and bookkeeping; the owning property stays.
    QelPropertyHistory& operator=(const QelPropertyHistory& other);

    /// The owner whose type the checks use and whose container is told of changes; set by QelProperty.
    void SetProperty(QelProperty* pProperty);
    /// Appends without a type check and tells the container. Always true.
    bool Append(const QelVariant& cValue);
    /// Replaces the series when every value has the property's type; false with a warning otherwise.
    bool Set(const std::vector<QelVariant>& vecValues);
    /// Empties the series (keeping its capacity), resets range and ordering, and tells the container.
    void Clear();
    /// The values in the order they came; never null while the history exists.
    const std::vector<QelVariant>* GetRaw() const;
    /// Always null: readers take the series from GetRaw.
    const std::vector<QelVariant>* Get(bool bDerived) const;
    /// Cached until the next change: ordered when no value is less than the one before.
    EOrdering CheckOrdering();
    /// Deliberately reports 0..1 whatever the series holds; hosts scale sliders by it.
    bool GetRange(double& dMin, double& dMax) const;
    /// Deliberately always eTypeEmpty, whatever the stored type.
    EType GetType(bool bDerived) const;
    /// Stores the type tag; GetType does not report it (see there).
    void SetType(EType eType);
    /// The stored state tag; the flag does not change the answer.
    EState GetState(bool bDerived) const;
    /// Stores the state tag.
    void SetState(EState eState);
    /// A flag kept for hosts that derive series of their own; nothing in the library reads it.
    ///@{
    void SetAllowDerived(bool bAllow);
    bool AllowDerived() const;
    ///@}

    // Bulk fill: no checks, no bookkeeping, no notification until FastComplete.
    /// Reserve room, resize (new values Uninitialized) or append without any check; call FastComplete
    /// when the series is filled.
    ///@{
    void FastReserve(unsigned int nCount);
    void FastResize(unsigned int nCount);
    void FastAppend(const QelVariant& cValue);
    ///@}
    /// An index outside the series is refused with a warning.
    void FastSetAt(const QelVariant& cValue, int nIndex);
    /// Type-checks the series, recomputes range, resets ordering, tells the container.
    bool FastComplete();

    /// The range as kept up to date by the changes (what GetRange deliberately does not report).
    void GetStoredRange(double& dMin, double& dMax) const;

private:
    bool CheckTypes(const std::vector<QelVariant>& vecValues, const char* pFormat) const;
    void RecomputeRange();
    void NotifyContainer();

    QelPropertyHistoryDef* m_pDef;
};
