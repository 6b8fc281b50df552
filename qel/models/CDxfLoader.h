#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// Reads ASCII DXF drawings into model data: 3D faces, solids, polyface and polygon meshes as
/// triangles; lines, polylines, circles and arcs as line segments; points. Blocks are placed by
/// their inserts (nested, scaled, rotated and extruded); each layer becomes one mesh with a material
/// of the layer's color, and every vertex carries its entity's color from the color index or its true
/// color. The root node scales the drawing from the header's unit to meters. Binary DXF is refused.
class QEL_EXPORT CDxfLoader : public QelModelFormat
{
public:
    /// Registers "dxf".
    CDxfLoader();

    /// "AutoCAD DXF Files".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;

    /// Reads DXF text held in memory; strName names it in messages.
    static bool LoadFromMemory(const char* pData, size_t nSize, const std::string& strName, QelModelData& data);

    /// How many vertices inserted blocks may make in one load (16777216 unless set); nested blocks
    /// multiply, so a few bytes could otherwise ask for more geometry than any memory holds. Inserts
    /// past the limit are skipped with an error. Process-wide.
    static void SetInsertLimit(size_t nVertices);
    /// The limit in force (see SetInsertLimit).
    static size_t GetInsertLimit();
};
