#pragma once

#include "qel/math/QelBox3.h"
#include "qel/math/QelMatrix4.h"
#include "qel/models/QelModelMaterial.h"
#include "qel/models/QelModelMesh.h"
#include "qel/models/QelModelNode.h"
#include "qel/platform/QelExport.h"

#include <functional>
#include <string>
#include <vector>

/// Everything a model file holds, in the form the library draws and saves: meshes, their materials,
/// a hierarchy of named nodes and the bounding box of the whole.
class QEL_EXPORT QelModelData
{
public:
    /// The geometry, one mesh per material and part.
    std::vector<QelModelMesh> m_vMeshes;
    /// Indexed by QelModelMesh::m_nMaterial.
    std::vector<QelModelMaterial> m_vMaterials;
    /// Parents come before their children; node 0 is the root when there are nodes.
    std::vector<QelModelNode> m_vNodes;
    /// Of all meshes under their nodes' matrices; set by ComputeBounds.
    QelBox3 m_cBounds;

    /// Drops meshes, materials and nodes and makes the bounds empty.
    void Clear();
    /// True without meshes (materials or nodes alone draw nothing).
    bool Empty() const { return m_vMeshes.empty(); }

    /// Totals over the meshes as stored: a mesh that several nodes place counts once.
    ///@{
    size_t NumVertices() const;
    size_t NumTriangles() const;
    size_t NumLines() const;
    size_t NumPoints() const;
    ///@}
    /// Texture maps of all materials.
    size_t NumTextures() const;

    /// The world matrix of a node: the local matrices from its root down.
    QelMatrix4 WorldMatrix(int nNode) const;
    /// Calls fnVisit for every mesh each node places, with the node's world matrix, then once with
    /// null for every mesh no node names (such meshes are drawn and counted where they are).
    void ForEachPlacement(const std::function<void(size_t nMesh, const QelMatrix4* pWorld)>& fnVisit) const;
    /// Sets m_cBounds from every mesh as its nodes place it (meshes no node names count untransformed).
    void ComputeBounds();
    /// Gives normals to the meshes that have none, for triangles only: corners whose faces meet at
    /// less than fCreaseDegrees share a smoothed normal; sharper edges split the vertex.
    void ComputeMissingNormals(float fCreaseDegrees);
    /// Repairs what a file may get wrong: meshes with an unknown material use the default one,
    /// attribute arrays of the wrong length are dropped, primitives with an index past the vertices
    /// are dropped, nodes with a bad parent or mesh index lose the reference. Returns the repairs.
    size_t Validate();
};
