// Feeds arbitrary bytes to the OBJ reader (from memory; material libraries are looked for in a
// folder that does not exist). What loads is written in the own format and read back, and must come
// back bit for bit.
#include "fuzz/QelFuzzModel.h"
#include "qel/models/CObjLoader.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    if (!CObjLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.obj", "/nonexistent/qel-fuzz", data))
        return 0;
    QelFuzzModel::Check(data);
    return 0;
}
