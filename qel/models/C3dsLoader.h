#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// Reads 3D Studio files into model data: one mesh per object and material, placed by the
/// keyframe hierarchy (its first frame) with pivots and mesh matrices, normals from smoothing
/// groups (group 0 gives hard edges), materials with their colors and texture maps. Texture names
/// are found on disk without regard to case. The chunk structure is checked before the file reader
/// sees it, so that sizes, counts and indices that lie are refused or skipped with a message.
class QEL_EXPORT C3dsLoader : public QelModelFormat
{
public:
    /// Registers "3ds".
    C3dsLoader();

    /// "3D Studio MAX Files".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;

    /// Reads a 3DS file held in memory. strName names it in messages; textures are looked for in
    /// strFolder.
    static bool LoadFromMemory(const void* pData, size_t nSize, const std::string& strName,
                               const std::string& strFolder, QelModelData& data);
};
