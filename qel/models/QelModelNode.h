#pragma once

#include "qel/math/QelMatrix4.h"
#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

/// A named part of a model's hierarchy: a local matrix relative to its parent and the meshes it draws.
struct QEL_EXPORT QelModelNode
{
    /// The name the file gave the part; may be empty.
    std::string m_strName;
    /// Index of the parent in the model's node list; -1 for a root. Parents come before children.
    int m_nParent = -1;
    /// Transform from this node's coordinates to its parent's (identity unless the file gave one).
    QelMatrix4 m_matLocal;
    /// Indices into the model's meshes.
    std::vector<int> m_vMeshes;
};
