// Feeds arbitrary bytes to the DXF reader (from memory). What loads must index only its own
// vertices and come back bit for bit through the own format.
#include "fuzz/QelFuzzModelCheck.h"
#include "qel/models/CDxfLoader.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    // Nested blocks multiply; a small limit keeps each input quick.
    CDxfLoader::SetInsertLimit(100000);
    QelModelData data;
    if (CDxfLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.dxf", data))
        QelFuzzModelCheck::Check(data);
    return 0;
}
