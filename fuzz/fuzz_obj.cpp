// Feeds arbitrary bytes to the OBJ reader (from memory; material libraries are looked for in a
// folder that does not exist). What loads is written in the own format and read back, and must come
// back bit for bit.
#include "qel/models/CObjLoader.h"
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

bool SameMeshes(const QelModelData& a, const QelModelData& b)
{
    if (a.m_vMeshes.size() != b.m_vMeshes.size() || a.m_vMaterials.size() != b.m_vMaterials.size() ||
        a.m_vNodes.size() != b.m_vNodes.size())
        return false;
    for (size_t i = 0; i < a.m_vMeshes.size(); ++i)
    {
        const QelModelMesh& m = a.m_vMeshes[i];
        const QelModelMesh& n = b.m_vMeshes[i];
        if (m.m_strName != n.m_strName || m.m_nMaterial != n.m_nMaterial || !Same(m.m_vPositions, n.m_vPositions) ||
            !Same(m.m_vNormals, n.m_vNormals) || !Same(m.m_vColors, n.m_vColors) || !Same(m.m_vTriangles, n.m_vTriangles) ||
            !Same(m.m_vLines, n.m_vLines) || !Same(m.m_vPoints, n.m_vPoints) || m.m_vTexCoords.size() != n.m_vTexCoords.size())
            return false;
        for (size_t k = 0; k < m.m_vTexCoords.size(); ++k)
            if (!Same(m.m_vTexCoords[k], n.m_vTexCoords[k]))
                return false;
    }
    for (size_t i = 0; i < a.m_vMaterials.size(); ++i)
        if (a.m_vMaterials[i].m_strName != b.m_vMaterials[i].m_strName)
            return false;
    for (size_t i = 0; i < a.m_vNodes.size(); ++i)
        if (a.m_vNodes[i].m_strName != b.m_vNodes[i].m_strName || a.m_vNodes[i].m_vMeshes != b.m_vNodes[i].m_vMeshes)
            return false;
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    QelModelData data;
    if (!CObjLoader::LoadFromMemory(reinterpret_cast<const char*>(pData), nSize, "fuzz.obj", "/nonexistent/qel-fuzz", data))
        return 0;
    // Every index the reader made must name a vertex of its mesh.
    for (const QelModelMesh& m : data.m_vMeshes)
        for (const std::vector<uint32_t>* v : {&m.m_vTriangles, &m.m_vLines, &m.m_vPoints})
            for (uint32_t i : *v)
                if (i >= m.NumVertices())
                    std::abort();
    QelMasterXMLInterface xml;
    QelModelData back;
    if (!CZmfLoader::WriteDocument(xml, data, "/nonexistent/qel-fuzz/fuzz.zmf") ||
        !CZmfLoader::ReadDocument(xml, back, "/nonexistent/qel-fuzz/fuzz.zmf") || !SameMeshes(data, back))
        std::abort();
    return 0;
}
