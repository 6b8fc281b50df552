// Feeds arbitrary bytes to the shapefile reader from memory. The input holds the three files: two
// 32-bit little-endian sizes (the .shp and the .shx), those two files, and the .dbf as the rest
// (none when the rest is empty). What loads must round-trip through the own format.
#include "fuzz/QelFuzzModel.h"
#include "qel/models/CShpLoader.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>

namespace
{
uint32_t Size(const uint8_t* p)
{
    return uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16 | uint32_t(p[3]) << 24;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize < 8)
        return 0;
    size_t nShp = Size(pData), nShx = Size(pData + 4);
    if (nShp > nSize - 8 || nShx > nSize - 8 - nShp)
        return 0;
    const uint8_t* pShp = pData + 8;
    const uint8_t* pShx = pShp + nShp;
    const uint8_t* pDbf = pShx + nShx;
    size_t nDbf = nSize - 8 - nShp - nShx;
    QelModelData data;
    if (CShpLoader::LoadFromMemory({pShp, nShp}, {pShx, nShx}, {nDbf ? pDbf : nullptr, nDbf}, "fuzz.shp", data))
        QelFuzzModel::Check(data);
    return 0;
}
