#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// Reads Wavefront OBJ files with their MTL material libraries into model data: one mesh per group
/// and material, one vertex per distinct position/texture/normal triple, polygons split into
/// triangles that cover them also when concave, normals from smoothing groups where the file has
/// none. Files made on Windows (backslashes, names in another case, CR LF) read as they do there.
class QEL_EXPORT CObjLoader : public QelModelFormat
{
public:
    /// Registers "obj".
    CObjLoader();

    /// "Wavefront Object Files".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;

    /// Reads OBJ text held in memory. strName names it in messages; material libraries and textures
    /// are looked for in strFolder.
    static bool LoadFromMemory(const char* pData, size_t nSize, const std::string& strName,
                               const std::string& strFolder, QelModelData& data);
    /// Reads MTL text held in memory into data's materials (a material of a name already there is
    /// replaced); textures are looked for in strFolder.
    static bool LoadMaterialsFromMemory(const char* pData, size_t nSize, const std::string& strName,
                                        const std::string& strFolder, QelModelData& data);
};
