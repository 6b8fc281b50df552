#include "qel/math/QelTriangle.h"

std::string QelTriangle::String() const
{
    return "{ A:" + m_vecA.String() + ",\n  B:" + m_vecB.String() + ",\n  C:" + m_vecC.String() + " }\n";
}
