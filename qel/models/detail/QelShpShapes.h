#pragma once

#include "qel/math/QelVec3.h"

#include <shapefil.h>

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

struct QelModelMesh;
struct GLUtesselator;

/// Turns the shapes of a shapefile into mesh geometry relative to an origin. Polygons and the rings
/// of multipatches are triangulated by the GLU tessellator with the odd winding rule, so that holes
/// come out whichever way their rings turn.
class QelShpShapes
{
public:
    QelShpShapes(double fOriginX, double fOriginY, double fOriginZ);
    ~QelShpShapes();
    QelShpShapes(const QelShpShapes&) = delete;
    QelShpShapes& operator=(const QelShpShapes&) = delete;

    /// Adds the shape to the mesh. "" when it went well, otherwise why (part of) it was left out.
    std::string Add(const SHPObject& shape, QelModelMesh& mesh);

    /// Tessellator callbacks.
    struct SVertex
    {
        double c[3];
        uint32_t nIndex;
    };
    void OnVertex(const SVertex& v);
    SVertex* OnCombine(const double c[3]);
    void OnError() { m_bTessError = true; }

private:
    uint32_t AddPosition(double x, double y, double z);
    void Lines(uint32_t nBase, int nFirst, int nEnd);
    void Strip(uint32_t nBase, int nFirst, int nEnd, bool bFan);
    /// Rings as pairs of first and end vertex; false when the tessellator refused them.
    bool Polygon(const std::vector<std::pair<int, int>>& vRings, bool bFlat);

    double m_fOrigin[3];
    GLUtesselator* m_pTess;
    QelModelMesh* m_pMesh = nullptr;
    const SHPObject* m_pShape = nullptr;
    uint32_t m_nBase = 0;
    std::deque<SVertex> m_vVertices;
    bool m_bTessError = false;
};
