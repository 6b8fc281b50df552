#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"
#include "qel/platform/QelExport.h"

#include <cstdint>
#include <string>
#include <vector>

/// Geometry of a model with one material, ready for a vertex buffer: one entry per distinct vertex in
/// each attribute array, and index lists into them for triangles, line segments and points.
struct QEL_EXPORT QelModelMesh
{
    /// The name the file gave the part (object, group, layer or shape); may be empty.
    std::string m_strName;
    /// Vertex positions in the mesh's own coordinates (its nodes place it).
    std::vector<QelVec3> m_vPositions;
    /// Empty, or one per position.
    std::vector<QelVec3> m_vNormals;
    /// One list per texture coordinate layer; each is empty or one per position.
    std::vector<std::vector<QelVec2>> m_vTexCoords;
    /// Empty, or one packed color (red in the low byte) per position.
    std::vector<uint32_t> m_vColors;
    /// Three indices per triangle, counter-clockwise seen from the front.
    std::vector<uint32_t> m_vTriangles;
    /// Two indices per line segment.
    std::vector<uint32_t> m_vLines;
    /// One index per point.
    std::vector<uint32_t> m_vPoints;
    /// Index into the model's materials; -1 for the default material.
    int m_nMaterial = -1;

    /// Counts of the stored vertices and of whole primitives.
    ///@{
    size_t NumVertices() const { return m_vPositions.size(); }
    size_t NumTriangles() const { return m_vTriangles.size() / 3; }
    size_t NumLines() const { return m_vLines.size() / 2; }
    ///@}
    /// The box around every position, used or not; empty without positions.
    QelBox3 ComputeBounds() const
    {
        QelBox3 b;
        for (const QelVec3& p : m_vPositions)
            b.ExpandAround(p);
        return b;
    }
};
