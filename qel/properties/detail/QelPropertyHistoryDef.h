#pragma once

#include "qel/properties/QelPropertyHistory.h"

#include <vector>

class QelProperty;

/// One derived value of a history.
struct QelDerivedHistoryValue
{
    QelVariant m_cValue;
};

/// Data of QelPropertyHistory.
class QelPropertyHistoryDef
{
public:
    virtual ~QelPropertyHistoryDef() = default;

    QelPropertyHistory::EType m_eType = QelPropertyHistory::eTypeEmpty;
    QelPropertyHistory::EState m_eState = QelPropertyHistory::eStateValid;
    QelProperty* m_pProperty = nullptr;
    std::vector<QelVariant> m_vecRaw;
    bool m_bAllowDerived = false;
    double m_dMin = 0.0;
    double m_dMax = 1.0;
    QelPropertyHistory::EOrdering m_eOrdering = QelPropertyHistory::eOrderingUnknown;
    std::vector<QelDerivedHistoryValue> m_vecDerived;
};
