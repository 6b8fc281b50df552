// Built with the scanner's portable path under another class name (see fuzz/CMakeLists.txt), so that
// one program holds both paths.
#include "fuzz/support/QelFuzzScanWalk.h"
#include "qel/util/QelTextScanner.h"

std::string QelFuzzScanPortable(const char* pData, size_t nSize, uint8_t nMode)
{
    QelTextScanner s; // the portable class, by the name the build gives it
    if (!s.OpenBuffer(pData, nSize))
        return std::string();
    return QelFuzzScanWalk(s, nMode);
}
