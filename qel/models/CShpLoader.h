#pragma once

#include "qel/models/QelModelFormat.h"
#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// Reads shapefiles (the .shp geometry with the .shx index and, when present, the .dbf records
/// beside it, found without regard to case) into model data: one mesh per shape, named from the
/// first text field of its record. Points and multipoints become points, polylines line segments,
/// polygons triangles (holes cut out by the GLU tessellator), multipatches their strips, fans and
/// rings as triangles; Z is kept and M ignored. Vertices are stored relative to the lower corner of
/// the file's bounds, which the root node's matrix adds back, so that map coordinates keep their
/// precision in floats.
class QEL_EXPORT CShpLoader : public QelModelFormat
{
public:
    /// Registers "shp".
    CShpLoader();

    /// "Shapefiles".
    std::string GetLabel() const override;
    bool Load(const std::string& strFile, QelModelData& data) override;

    /// One of the files of a shapefile held in memory.
    struct SBytes
    {
        const void* pData = nullptr; ///< The file's bytes, the caller's; null for an absent file.
        size_t nSize = 0;            ///< Their count; every read is checked against it.
    };
    /// Reads a shapefile held in memory; the .dbf may be absent (null). strName names it in messages.
    static bool LoadFromMemory(SBytes shp, SBytes shx, SBytes dbf, const std::string& strName, QelModelData& data);
};
