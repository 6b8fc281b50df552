#include "qel/models/detail/QelModelPickDef.h"

#include "qel/models/QelModelData.h"

QelModelPickDef::QelModelPickDef(const QelModelData& data)
{
    data.ForEachPlacement([&](size_t nMesh, const QelMatrix4* pWorld) {
        const QelModelMesh& m = data.m_vMeshes[nMesh];
        // The pick mesh takes 32-bit indices; what would not fit is left out of picking.
        const size_t nBase = m_vVertices.size() / 3;
        if (m.m_vTriangles.size() < 3 || nBase + m.m_vPositions.size() > size_t(UINT32_MAX))
            return;
        m_vVertices.reserve(m_vVertices.size() + 3 * m.m_vPositions.size());
        for (const QelVec3& p : m.m_vPositions)
        {
            const QelVec3 q = pWorld ? *pWorld * p : p;
            m_vVertices.insert(m_vVertices.end(), {q.x, q.y, q.z});
        }
        const size_t nTriangleIndices = m.m_vTriangles.size() / 3 * 3;
        for (size_t i = 0; i < nTriangleIndices; ++i)
            m_vIndices.push_back(uint32_t(nBase + m.m_vTriangles[i]));
    });
    m_cMesh.SetTriangles(m_vVertices.data(), m_vVertices.size() / 3, m_vIndices.data(), m_vIndices.size() / 3);
}
