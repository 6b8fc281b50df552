// Feeds arbitrary bytes to the DXF reader (from memory). What loads must index only its own
// vertices and come back bit for bit through the own format.
#include "qel/models/CDxfLoader.h"
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace
{
template <typename T>
bool Same(const std::vector<T>& a, const std::vector<T>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    // Nested blocks multiply; a small limit keeps each input quick.
    CDxfLoader::SetInsertLimit(100000);
    QelModelData data;
    if (!CDxfLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.dxf", data))
        return 0;
    for (const QelModelMesh& m : data.m_vMeshes)
    {
        for (const std::vector<uint32_t>* v : {&m.m_vTriangles, &m.m_vLines, &m.m_vPoints})
            for (uint32_t i : *v)
                if (i >= m.NumVertices())
                    std::abort();
        if (m.m_vNormals.size() != m.NumVertices() || m.m_vColors.size() != m.NumVertices())
            std::abort();
    }
    QelMasterXMLInterface xml;
    QelModelData back;
    if (!CZmfLoader::WriteDocument(xml, data, "/nonexistent/qel-fuzz/fuzz.zmf") ||
        !CZmfLoader::ReadDocument(xml, back, "/nonexistent/qel-fuzz/fuzz.zmf") || back.m_vMeshes.size() != data.m_vMeshes.size())
        std::abort();
    for (size_t i = 0; i < data.m_vMeshes.size(); ++i)
        if (!Same(data.m_vMeshes[i].m_vPositions, back.m_vMeshes[i].m_vPositions) ||
            !Same(data.m_vMeshes[i].m_vTriangles, back.m_vMeshes[i].m_vTriangles) ||
            !Same(data.m_vMeshes[i].m_vColors, back.m_vMeshes[i].m_vColors))
            std::abort();
    return 0;
}
