// Feeds arbitrary bytes to the own-format reader as document text. What loads must be consistent
// (every index names a vertex) and must survive being written and read again.
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    if (!CZmfLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "/nonexistent/fuzz.zmf", data))
        return 0;
    for (const QelModelMesh& m : data.m_vMeshes)
    {
        for (const std::vector<uint32_t>* v : {&m.m_vTriangles, &m.m_vLines, &m.m_vPoints})
            for (uint32_t i : *v)
                if (i >= m.NumVertices())
                    std::abort();
        if (m.m_nMaterial >= int(data.m_vMaterials.size()))
            std::abort();
    }
    data.ComputeBounds();
    QelMasterXMLInterface xml;
    QelModelData back;
    if (!CZmfLoader::WriteDocument(xml, data, "/nonexistent/fuzz.zmf") || !CZmfLoader::ReadDocument(xml, back, "/nonexistent/fuzz.zmf") ||
        back.NumVertices() != data.NumVertices() || back.NumTriangles() != data.NumTriangles())
        std::abort();
    return 0;
}
