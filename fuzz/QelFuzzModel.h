#pragma once
// What every model reader under fuzzing must give: indices that name vertices of their mesh, and
// data that the own format writes and reads back unchanged. Anything else aborts the run.
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace QelFuzzModel
{
template <typename T>
inline bool Same(const std::vector<T>& a, const std::vector<T>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

inline bool SameMeshes(const QelModelData& a, const QelModelData& b)
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
inline void Check(const QelModelData& data)
{
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
}
} // namespace QelFuzzModel
