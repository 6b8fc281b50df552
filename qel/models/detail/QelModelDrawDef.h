#pragma once

#include "qel/buffers/QelTightlyPackedBuffer.h"
#include "qel/materials/QelMaterial.h"
#include "qel/models/QelModelMaterial.h"
#include "qel/math/QelMatrix4.h"

#include <string>
#include <vector>

class QelModelData;

/// What a model keeps in OpenGL: one geometry buffer per mesh, its materials in drawable form, and
/// the list of (material, mesh, world matrix) draws in the order they are drawn: opaque materials
/// first, then translucent ones, each group in ascending render layer. Made in the context that is
/// current at the model's first draw; the model drops it when its data changes.
class QelModelDrawDef
{
public:
    /// Uploads every mesh with indices and maps every material (loading its textures).
    QelModelDrawDef(const QelModelData& data, const std::string& strModelFile);
    QelModelDrawDef(const QelModelDrawDef&) = delete;
    QelModelDrawDef& operator=(const QelModelDrawDef&) = delete;

    /// Draws material by material under the current modelview matrix; the OpenGL state it changes
    /// is restored afterwards.
    void Draw() const;
    /// Takes the new colors, shininess and transparency of the model's material nMaterial; its
    /// textures stay. Needs no OpenGL context.
    void UpdateMaterial(size_t nMaterial, const QelModelMaterial& cMaterial);

private:
    struct SMesh
    {
        QelTightlyPackedBuffer m_cBuffer;
        int m_nTriangleIndices = 0;
        int m_nLineIndices = 0;
        int m_nPointIndices = 0;
        bool m_bColors = false;
        bool m_bUploaded = false;
    };
    struct SDraw
    {
        int m_nMaterial;
        int m_nMesh;
        bool m_bTransformed;
        QelMatrix4 m_matWorld;
    };

    static bool UploadMesh(const QelModelData& data, size_t nMesh, SMesh& cOut);
    void CollectDraws(const QelModelData& data);
    void SortDraws();
    void DrawMesh(const SMesh& cMesh) const;

    std::vector<SMesh> m_vMeshes;
    /// The model's materials, then the default one for meshes without a material.
    std::vector<QelMaterial> m_vMaterials;
    std::vector<bool> m_vTranslucent;
    std::vector<SDraw> m_vDraws;
};
