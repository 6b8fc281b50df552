#include "qel/display/QelPickMesh.h"

#include "qel/display/detail/QelTriangleBvh.h"
#include "qel/framework/QelSysApp.h"

#include <chrono>

/// The caller's arrays and the structure built from them.
class QelPickMeshDef
{
public:
    const float* m_pVertices = nullptr;
    size_t m_nVertexCount = 0;
    const uint32_t* m_pIndices = nullptr;
    size_t m_nTriangleCount = 0;
    bool m_bBuilt = false;
    double m_dBuildSeconds = 0.0;
    QelTriangleBvh m_cBvh;
};

QelPickMesh::QelPickMesh() : m_pDef(new QelPickMeshDef) {}

QelPickMesh::~QelPickMesh()
{
    delete m_pDef;
}

void QelPickMesh::SetTriangles(const float* pVertices, size_t nVertexCount, const uint32_t* pIndices,
                               size_t nTriangleCount)
{
    m_pDef->m_pVertices = pVertices;
    m_pDef->m_nVertexCount = pVertices ? nVertexCount : 0;
    m_pDef->m_pIndices = pIndices;
    m_pDef->m_nTriangleCount = nTriangleCount;
    GeometryChanged();
}

void QelPickMesh::GeometryChanged()
{
    m_pDef->m_bBuilt = false;
    m_pDef->m_cBvh.Clear();
}

void QelPickMesh::Build()
{
    const auto start = std::chrono::steady_clock::now();
    const size_t nSkipped = m_pDef->m_cBvh.Build(m_pDef->m_pVertices, m_pDef->m_nVertexCount, m_pDef->m_pIndices,
                                                 m_pDef->m_nTriangleCount);
    m_pDef->m_dBuildSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    m_pDef->m_bBuilt = true;
    if (nSkipped)
        QelSysApp::App().PrintToConsole("<warning> %zu of %zu pick triangles are left out: an index is past the %zu "
                                        "vertices or a coordinate is not finite\n",
                                        nSkipped, m_pDef->m_nTriangleCount, m_pDef->m_nVertexCount);
}

bool QelPickMesh::IntersectRay(const QelRay& ray, float& fT, size_t* pTriangle)
{
    if (!m_pDef->m_bBuilt)
        Build();
    size_t nTriangle = 0;
    if (!m_pDef->m_cBvh.Intersect(ray.m_vecStart, ray.m_vecDirection, 3.4028235e38f, fT, nTriangle))
        return false;
    if (pTriangle)
        *pTriangle = nTriangle;
    return true;
}

QelBox3 QelPickMesh::GetBounds()
{
    if (!m_pDef->m_bBuilt)
        Build();
    return m_pDef->m_cBvh.GetBounds();
}

double QelPickMesh::GetBuildSeconds() const
{
    return m_pDef->m_dBuildSeconds;
}
