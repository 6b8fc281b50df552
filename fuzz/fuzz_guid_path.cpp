// GUID text and path canonicalisation: a GUID that parses prints and parses to itself; a path
// canonicalised twice is its own canonical form; neither reads past the text.
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelString.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    const std::string strText(reinterpret_cast<const char*>(pData), nSize);
    GUID guid = kZeroGUID;
    if (QelGuidFromString(strText, guid))
    {
        GUID again = kZeroGUID;
        if (!QelGuidFromString(QelGuidToString(guid), again) || again != guid)
            std::abort();
    }
    else if (guid != kZeroGUID)
        std::abort(); // bad text leaves the GUID alone
    const std::string strCanonical = QelCanonicalizePath(strText);
    if (QelCanonicalizePath(strCanonical) != strCanonical)
        std::abort();
    volatile int n = QelStricmp(strText.c_str(), strCanonical.c_str()) +
                     QelStrnicmp(strText.c_str(), strCanonical.c_str(), nSize);
    (void)n;
    return 0;
}
