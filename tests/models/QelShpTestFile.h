#pragma once

#include "tests/models/QelModelTestSupport.h"

#include <string>
#include <vector>

/// One shape to write: its parts (first vertex of each, and the part types of a multipatch).
struct SShape
{
    std::string strName;
    std::vector<int> vPartStarts;
    std::vector<int> vPartTypes;
    std::vector<double> vX, vY, vZ;
};

/// Writes a shapefile (.shp, .shx, .dbf) through the shapelib writer: an integer field first, then
/// the text field that names the shapes. Returns the path of the .shp.
std::string WriteShapes(const QelModelTempDir& dir, const std::string& strBase, int nType,
                        const std::vector<SShape>& vShapes);
