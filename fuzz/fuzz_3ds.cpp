// Feeds arbitrary bytes to the 3DS reader from memory (textures are looked for in a folder that does
// not exist). The file reader underneath trusts what it reads, so this also covers the checks that
// stand in front of it. What loads must round-trip through the own format.
#include "fuzz/QelFuzzModel.h"
#include "qel/models/C3dsLoader.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>

// The file reader frees nothing of what it made when it stops in a damaged file. Those objects are
// its own and as large as the damaged part; the library's own leaks are still reported.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:lib3ds_\n";
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    if (C3dsLoader::LoadFromMemory(pData, nSize, "fuzz.3ds", "/nonexistent/qel-fuzz", data))
        QelFuzzModel::Check(data);
    return 0;
}
