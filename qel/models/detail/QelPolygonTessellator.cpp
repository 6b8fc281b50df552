#include "qel/models/detail/QelPolygonTessellator.h"

#include "qel/models/detail/QelGluTessellator.h"

#include <cmath>

namespace
{
void CALLBACK TessVertex(void* pVertex, void* pSelf)
{
    static_cast<QelPolygonTessellator*>(pSelf)->OnVertex(*static_cast<uint32_t*>(pVertex));
}

void CALLBACK TessCombine(GLdouble[3], void* pCorners[4], GLfloat fWeights[4], void** ppOut, void* pSelf)
{
    *ppOut = static_cast<QelPolygonTessellator*>(pSelf)->OnCombine(pCorners, fWeights);
}

void CALLBACK TessError(GLenum, void* pSelf)
{
    static_cast<QelPolygonTessellator*>(pSelf)->OnError();
}
} // namespace

QelPolygonTessellator::QelPolygonTessellator()
    : m_pTess(QelNewGluTessellator(reinterpret_cast<_GLUfuncptr>(TessVertex), reinterpret_cast<_GLUfuncptr>(TessCombine),
                                   reinterpret_cast<_GLUfuncptr>(TessError)))
{
}

QelPolygonTessellator::~QelPolygonTessellator()
{
    if (m_pTess)
        gluDeleteTess(m_pTess);
}

void* QelPolygonTessellator::OnCombine(void* const pCorners[4], const float fWeights[4])
{
    // The tessellator gives up to four corners, the unused ones null.
    int nBest = -1;
    for (int i = 0; i < 4; ++i)
        if (pCorners[i] && (nBest < 0 || fWeights[i] > fWeights[nBest]))
            nBest = i;
    if (nBest >= 0)
        return pCorners[nBest];
    m_bError = true;
    m_vCorners.push_back(SCorner{{0.0, 0.0, 0.0}, 0}); // somewhere valid for the tessellator to read
    return &m_vCorners.back().nVertex;
}

bool QelPolygonTessellator::Triangulate(const std::vector<QelVec3>& vPositions,
                                        const std::vector<std::vector<uint32_t>>& vRings, std::vector<uint32_t>& vTriangles)
{
    if (!m_pTess)
        return false;
    for (const std::vector<uint32_t>& vRing : vRings)
        for (uint32_t n : vRing)
            if (n >= vPositions.size() || !std::isfinite(vPositions[n].x) || !std::isfinite(vPositions[n].y) ||
                !std::isfinite(vPositions[n].z))
                return false; // the tessellator's sweep has no answer for a point at infinity
    m_vCorners.clear();
    m_vOut.clear();
    m_bError = false;
    gluTessNormal(m_pTess, 0.0, 0.0, 0.0);
    gluTessBeginPolygon(m_pTess, this);
    for (const std::vector<uint32_t>& vRing : vRings)
    {
        gluTessBeginContour(m_pTess);
        for (uint32_t n : vRing)
        {
            const QelVec3& p = vPositions[n];
            m_vCorners.push_back(SCorner{{p.x, p.y, p.z}, n});
            // The data handed over with each corner is its vertex number, which the callbacks read.
            gluTessVertex(m_pTess, m_vCorners.back().c, &m_vCorners.back().nVertex);
        }
        gluTessEndContour(m_pTess);
    }
    gluTessEndPolygon(m_pTess);
    if (m_bError || m_vOut.size() % 3 != 0)
        return false;
    vTriangles.insert(vTriangles.end(), m_vOut.begin(), m_vOut.end());
    return true;
}
