#pragma once

#include <string>

struct Lib3dsFile;
class QelLoadLog;
class QelModelData;

/// Turns what the 3DS file reader read into model data: materials, one mesh per object and
/// material with normals from the smoothing groups, and the node hierarchy at the first frame.
/// Faces that index past their object's vertices are dropped with a warning.
void Qel3dsToModel(Lib3dsFile& file, const std::string& strFolder, const std::string& strRootName, QelLoadLog& log,
                   QelModelData& data);
