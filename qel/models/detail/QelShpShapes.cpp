#include "qel/models/detail/QelShpShapes.h"

#include "qel/models/QelModelMesh.h"
#include "qel/models/detail/QelGluTessellator.h"

#include <cmath>

namespace
{
void CALLBACK TessVertex(void* pVertex, void* pSelf)
{
    static_cast<QelShpShapes*>(pSelf)->OnVertex(*static_cast<QelShpShapes::SVertex*>(pVertex));
}

void CALLBACK TessCombine(GLdouble c[3], void*[4], GLfloat[4], void** ppOut, void* pSelf)
{
    *ppOut = static_cast<QelShpShapes*>(pSelf)->OnCombine(c);
}

void CALLBACK TessError(GLenum, void* pSelf)
{
    static_cast<QelShpShapes*>(pSelf)->OnError();
}

bool HasZ(int nType)
{
    return nType == SHPT_POINTZ || nType == SHPT_ARCZ || nType == SHPT_POLYGONZ || nType == SHPT_MULTIPOINTZ ||
           nType == SHPT_MULTIPATCH;
}
} // namespace

QelShpShapes::QelShpShapes(double fOriginX, double fOriginY, double fOriginZ)
    : m_fOrigin{fOriginX, fOriginY, fOriginZ},
      m_pTess(QelNewGluTessellator(reinterpret_cast<_GLUfuncptr>(TessVertex), reinterpret_cast<_GLUfuncptr>(TessCombine),
                                   reinterpret_cast<_GLUfuncptr>(TessError)))
{
}

QelShpShapes::~QelShpShapes()
{
    if (m_pTess)
        gluDeleteTess(m_pTess);
}

uint32_t QelShpShapes::AddPosition(double x, double y, double z)
{
    m_pMesh->m_vPositions.push_back(
        QelVec3(float(x - m_fOrigin[0]), float(y - m_fOrigin[1]), float(z - m_fOrigin[2])));
    return uint32_t(m_pMesh->m_vPositions.size() - 1);
}

void QelShpShapes::OnVertex(const SVertex& v)
{
    m_pMesh->m_vTriangles.push_back(v.nIndex);
}

QelShpShapes::SVertex* QelShpShapes::OnCombine(const double c[3])
{
    m_vVertices.push_back(SVertex{{c[0], c[1], c[2]}, AddPosition(c[0], c[1], c[2])});
    return &m_vVertices.back();
}

void QelShpShapes::Lines(uint32_t nBase, int nFirst, int nEnd)
{
    for (int i = nFirst; i + 1 < nEnd; ++i)
    {
        m_pMesh->m_vLines.push_back(nBase + uint32_t(i));
        m_pMesh->m_vLines.push_back(nBase + uint32_t(i + 1));
    }
}

void QelShpShapes::Strip(uint32_t nBase, int nFirst, int nEnd, bool bFan)
{
    for (int i = nFirst; i + 2 < nEnd; ++i)
    {
        uint32_t a = nBase + uint32_t(bFan ? nFirst : i), b = nBase + uint32_t(i + 1), c = nBase + uint32_t(i + 2);
        // Every other triangle of a strip turns the other way; swapping keeps them all facing one side.
        if (!bFan && (i - nFirst) % 2 == 1)
            std::swap(b, c);
        m_pMesh->m_vTriangles.insert(m_pMesh->m_vTriangles.end(), {a, b, c});
    }
}

bool QelShpShapes::Polygon(const std::vector<std::pair<int, int>>& vRings, bool bFlat)
{
    if (vRings.empty())
        return true;
    if (!m_pTess)
        return false;
    const SHPObject& s = *m_pShape;
    size_t nKeep = m_pMesh->m_vTriangles.size();
    m_bTessError = false;
    // Seen from above, flat polygons come out counter-clockwise; others face the side of their
    // first ring's turn.
    gluTessNormal(m_pTess, 0.0, 0.0, bFlat ? 1.0 : 0.0);
    gluTessBeginPolygon(m_pTess, this);
    for (const auto& ring : vRings)
    {
        int nEnd = ring.second;
        // Rings repeat their first vertex at the end; the tessellator wants it once.
        if (nEnd - ring.first > 1 && s.padfX[nEnd - 1] == s.padfX[ring.first] && s.padfY[nEnd - 1] == s.padfY[ring.first] &&
            s.padfZ[nEnd - 1] == s.padfZ[ring.first])
            --nEnd;
        gluTessBeginContour(m_pTess);
        for (int i = ring.first; i < nEnd; ++i)
        {
            m_vVertices.push_back(SVertex{{s.padfX[i], s.padfY[i], bFlat ? 0.0 : s.padfZ[i]}, m_nBase + uint32_t(i)});
            gluTessVertex(m_pTess, m_vVertices.back().c, &m_vVertices.back());
        }
        gluTessEndContour(m_pTess);
    }
    gluTessEndPolygon(m_pTess);
    if (m_bTessError)
        m_pMesh->m_vTriangles.resize(nKeep);
    return !m_bTessError;
}

std::string QelShpShapes::Add(const SHPObject& s, QelModelMesh& mesh)
{
    m_pMesh = &mesh;
    m_pShape = &s;
    m_vVertices.clear();
    const int nVertices = s.nVertices;
    const bool bZ = HasZ(s.nSHPType);
    for (int i = 0; i < nVertices; ++i)
        if (!std::isfinite(s.padfX[i]) || !std::isfinite(s.padfY[i]) || (bZ && !std::isfinite(s.padfZ[i])))
            return "it has coordinates that are not numbers";
    m_nBase = uint32_t(mesh.m_vPositions.size());
    for (int i = 0; i < nVertices; ++i)
        AddPosition(s.padfX[i], s.padfY[i], bZ ? s.padfZ[i] : m_fOrigin[2]);

    switch (s.nSHPType)
    {
    case SHPT_POINT:
    case SHPT_POINTZ:
    case SHPT_POINTM:
    case SHPT_MULTIPOINT:
    case SHPT_MULTIPOINTZ:
    case SHPT_MULTIPOINTM:
        for (int i = 0; i < nVertices; ++i)
            mesh.m_vPoints.push_back(m_nBase + uint32_t(i));
        return "";
    default:
        break;
    }
    // The reader checked the part starts against the vertices; they may still run backwards.
    auto PartEnd = [&](int p) { return p + 1 < s.nParts ? s.panPartStart[p + 1] : nVertices; };
    bool bRefused = false;
    std::vector<std::pair<int, int>> vRings;
    for (int p = 0; p < s.nParts; ++p)
    {
        int nFirst = s.panPartStart[p], nEnd = std::max(nFirst, PartEnd(p));
        if (s.nSHPType == SHPT_ARC || s.nSHPType == SHPT_ARCZ || s.nSHPType == SHPT_ARCM)
            Lines(m_nBase, nFirst, nEnd);
        else if (s.nSHPType != SHPT_MULTIPATCH)
            vRings.emplace_back(nFirst, nEnd);
        else
        {
            int nType = s.panPartType ? s.panPartType[p] : SHPP_RING;
            // An outer or first ring starts a polygon; inner rings and plain rings join it.
            if (nType == SHPP_TRISTRIP || nType == SHPP_TRIFAN || nType == SHPP_OUTERRING || nType == SHPP_FIRSTRING)
            {
                bRefused = !Polygon(vRings, false) || bRefused;
                vRings.clear();
            }
            if (nType == SHPP_TRISTRIP || nType == SHPP_TRIFAN)
                Strip(m_nBase, nFirst, nEnd, nType == SHPP_TRIFAN);
            else
                vRings.emplace_back(nFirst, nEnd);
        }
    }
    bool bFlat = s.nSHPType == SHPT_POLYGON || s.nSHPType == SHPT_POLYGONM;
    bRefused = !Polygon(vRings, bFlat) || bRefused;
    return bRefused ? "the tessellator refused a polygon of it" : "";
}
