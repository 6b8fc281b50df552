#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelRay.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <cstdint>

class QelPickMeshDef;

/// The triangles a display object offers to picking, in its own coordinates, with the search
/// structure that makes a pick in a million triangles take well under a millisecond. The arrays
/// are the caller's (x, y, z floats per vertex; three indices per triangle, or none for
/// consecutive triples) and are read when the structure is built: at the first pick after
/// SetTriangles or GeometryChanged. Edit the arrays, then call GeometryChanged.
class QEL_EXPORT QelPickMesh
{
public:
    QelPickMesh();
    ~QelPickMesh();
    QelPickMesh(const QelPickMesh&) = delete;
    QelPickMesh& operator=(const QelPickMesh&) = delete;

    /// Points the mesh at the caller's arrays, which must outlive it or the next SetTriangles;
    /// pIndices null means nTriangleCount consecutive vertex triples. The structure is rebuilt lazily.
    void SetTriangles(const float* pVertices, size_t nVertexCount, const uint32_t* pIndices, size_t nTriangleCount);
    /// Drops the structure; the next pick builds it again from the arrays.
    void GeometryChanged();
    /// Builds the structure now (a pick builds it when needed). Triangles with an index out of
    /// range or a coordinate that is not finite are left out with one warning.
    void Build();
    /// The nearest hit along the ray (t > 0, in units of the ray's direction); both faces count.
    bool IntersectRay(const QelRay& ray, float& fT, size_t* pTriangle = nullptr);
    /// The bounds of the usable triangles (built first when needed).
    QelBox3 GetBounds();
    /// Seconds the last build took.
    double GetBuildSeconds() const;

private:
    QelPickMeshDef* m_pDef;
};
