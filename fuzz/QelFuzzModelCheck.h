#pragma once

// The checks every model-reader fuzz target makes on what loaded: each index names a vertex of its
// mesh, attribute arrays are whole or absent, and the model comes back unchanged through the own
// format. A failed check aborts, which is what the fuzzer looks for.
#include "qel/models/CZmfLoader.h"
#include "qel/models/QelModelData.h"
#include "qel/xml/QelMasterXMLInterface.h"

#include <cstdlib>
#include <cstring>
#include <vector>

namespace QelFuzzModelCheck
{
template <typename T>
bool Same(const std::vector<T>& a, const std::vector<T>& b)
{
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0);
}

inline void Check(const QelModelData& data)
{
    for (const QelModelMesh& m : data.m_vMeshes)
    {
        for (const std::vector<uint32_t>* v : {&m.m_vTriangles, &m.m_vLines, &m.m_vPoints})
            for (uint32_t i : *v)
                if (i >= m.NumVertices())
                    std::abort();
        if ((!m.m_vNormals.empty() && m.m_vNormals.size() != m.NumVertices()) ||
            (!m.m_vColors.empty() && m.m_vColors.size() != m.NumVertices()))
            std::abort();
        for (const std::vector<QelVec2>& vLayer : m.m_vTexCoords)
            if (!vLayer.empty() && vLayer.size() != m.NumVertices())
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
}
} // namespace QelFuzzModelCheck
