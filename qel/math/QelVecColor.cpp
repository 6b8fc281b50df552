#include "qel/math/QelVecColor.h"

#include <sstream>

std::string QelVecColor::String() const
{
    std::ostringstream os;
    os << "(R:" << unsigned(r) << ", G:" << unsigned(g) << ", B:" << unsigned(b) << ", A:" << unsigned(a) << ")";
    return os.str();
}
