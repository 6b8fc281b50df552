#pragma once

#include "qel/platform/QelExport.h"

#include <string>

class MTVariableI;

/// Makes the variables the compiler meets in an expression text but finds nowhere else.
class QEL_EXPORT MTVariableFactoryI
{
public:
    virtual ~MTVariableFactoryI() {}
    /// The variable of that name, kept by the factory; null refuses the name.
    virtual MTVariableI* Create(const std::string& strName) = 0;
};
