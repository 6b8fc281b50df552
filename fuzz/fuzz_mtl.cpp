// Feeds arbitrary bytes to the MTL reader (from memory; textures are looked for in a folder that does
// not exist) and checks what it made.
#include "qel/models/CObjLoader.h"
#include "qel/models/QelModelData.h"
#include "tests/support/QelSilentApp.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    CObjLoader::LoadMaterialsFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.mtl", "/nonexistent/qel-fuzz", data);
    for (const QelModelMaterial& m : data.m_vMaterials)
        if (!(m.m_fOpacity >= 0.0f && m.m_fOpacity <= 1.0f) || !(m.m_fShininess >= 0.0f && m.m_fShininess <= 128.0f) ||
            !std::isfinite(m.m_vecDiffuse.x) || !m.m_vTextures.empty())
            std::abort();
    return 0;
}
