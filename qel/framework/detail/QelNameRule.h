#pragma once

#include <string>

/// The character rule of object and property names: every byte outside printable ASCII (32 to 126)
/// becomes '_'. True when anything was replaced.
inline bool QelSanitizeName(std::string& strName)
{
    bool bChanged = false;
    for (char& c : strName)
    {
        const signed char sc = static_cast<signed char>(c);
        if (sc < 32 || sc > 126)
        {
            c = '_';
            bChanged = true;
        }
    }
    return bChanged;
}
