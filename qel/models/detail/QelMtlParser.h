#pragma once

#include <map>
#include <set>
#include <string>

class QelModelData;
class QelLoadLog;

/// MTL material libraries: colors, shininess, transparency, illumination model and texture maps
/// with their placement options. Textures are looked for next to the library, whatever their case.
namespace QelMtlParser
{
/// What the libraries of one model share while they are read.
struct SState
{
    /// Material name -> index in the model's materials, shared with the OBJ parser so that a
    /// library read after a "usemtl" still fills the material it names.
    std::map<std::string, int> mapMaterials;
    /// Names some library defined (the others are placeholders of "usemtl" statements).
    std::set<std::string> setDefined;
    /// Libraries read so far, by normalized path: each is read once, which also ends cycles.
    std::set<std::string> setLibraries;
};

/// Libraries that name libraries are followed this deep.
const int kMaxDepth = 8;

/// Parses MTL text into data's materials.
void Parse(const char* p, const char* e, QelLoadLog& log, const std::string& strFolder, QelModelData& data,
           SState& state, int nDepth);
/// Reads the library file at strPath (already found on disk), with its own messages.
void LoadFile(const std::string& strPath, QelModelData& data, SState& state, int nDepth);
} // namespace QelMtlParser
