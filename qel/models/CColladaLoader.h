#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// Reads COLLADA documents into model data: mesh geometry (triangles, polygon lists, polygons,
/// strips and fans, lines) with positions, normals, texture coordinate sets and colors; the visual
/// scene's node hierarchy with its transforms and instanced nodes; materials bound to the geometry
/// with the colors, shininess, transparency and texture images of their common-profile effects.
/// The root node scales the asset's unit to meters and turns its up axis to +y. Zipped archives
/// (.zae) are refused.
class QEL_EXPORT CColladaLoader : public QelModelFormat
{
public:
    /// Registers "dae".
    CColladaLoader();

    /// "Collada Files".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;

    /// Reads a document held in memory; strName names it in messages, images are looked for in
    /// strFolder.
    static bool LoadFromMemory(const char* pData, size_t nSize, const std::string& strName,
                               const std::string& strFolder, QelModelData& data);
};
