#pragma once

#include "qel/platform/QelExport.h"
#include "qel/platform/QelHandles.h"

#include <cstddef>
#include <string>

/// Program resources: byte blocks embedded in a module, found by module handle, numeric id and
/// type name. On Windows the host's resource script provides them; elsewhere the host registers
/// its blocks here (for example arrays made with `xxd -i` or an assembler `.incbin`) before the
/// library asks for them. Type names compare without case, as resource types do on Windows.
class QEL_EXPORT QelResources
{
public:
    /// Adds or replaces a block. The bytes are not copied: embedded data lives as long as the
    /// program, and a host that registers anything else keeps it alive until Unregister.
    static void Register(HINSTANCE hModule, unsigned int nId, const std::string& strType, const void* pData,
                         size_t nSize);
    /// Removes a block; false when there was none.
    static bool Unregister(HINSTANCE hModule, unsigned int nId, const std::string& strType);
    /// The block and its size, as FindResource/LoadResource/LockResource/SizeofResource give them;
    /// false (and null, 0) when no such resource exists.
    static bool Find(HINSTANCE hModule, unsigned int nId, const std::string& strType, const void*& pData,
                     size_t& nSize);
    /// Forgets every registration.
    static void Clear();
};
