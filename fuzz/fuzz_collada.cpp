// Feeds arbitrary bytes to the COLLADA reader (from memory; images are looked for in a folder that
// does not exist). What loads must index only its own vertices and come back bit for bit through
// the own format.
#include "fuzz/QelFuzzModelCheck.h"
#include "qel/models/CColladaLoader.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    if (CColladaLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.dae", "/nonexistent/qel-fuzz", data))
        QelFuzzModelCheck::Check(data);
    return 0;
}
