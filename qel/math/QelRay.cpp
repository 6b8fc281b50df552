#include "qel/math/QelRay.h"

std::string QelRay::String() const
{
    return "{ Start    :" + m_vecStart.String() + ",\n  Direction:" + m_vecDirection.String() + " }\n";
}
