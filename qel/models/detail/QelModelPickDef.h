#pragma once

#include "qel/display/QelPickMesh.h"

#include <cstdint>
#include <vector>

class QelModelData;

/// The triangles of a model as picking sees them: every mesh under its nodes' matrices, gathered
/// into one array in the model's own coordinates, which the pick mesh reads.
class QelModelPickDef
{
public:
    explicit QelModelPickDef(const QelModelData& data);
    QelModelPickDef(const QelModelPickDef&) = delete;
    QelModelPickDef& operator=(const QelModelPickDef&) = delete;

    QelPickMesh& Mesh() { return m_cMesh; }

private:
    std::vector<float> m_vVertices;
    std::vector<uint32_t> m_vIndices;
    QelPickMesh m_cMesh;
};
