#pragma once

#include "qel/math/QelVec2.h"
#include "qel/math/QelVec3.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

/// Builds 3DS files byte by byte, so that tests can write sound files and files that lie.
namespace Qel3dsBytes
{
std::string Word(uint16_t n);
std::string Dword(uint32_t n);
std::string Float(float f);
/// Zero-terminated.
std::string Name(const std::string& str);
std::string Chunk(uint16_t nId, const std::string& strBody);

std::string Points(const std::vector<QelVec3>& v);
std::string TexCoords(const std::vector<QelVec2>& v);
/// Face list with its sub-chunks (material groups, smoothing) after the faces.
std::string Faces(const std::vector<std::array<uint16_t, 3>>& v, const std::string& strSubChunks);
std::string MaterialGroup(const std::string& strMaterial, const std::vector<uint16_t>& vFaces);
std::string Smoothing(const std::vector<uint32_t>& v);
/// The mesh matrix: its axes and origin.
std::string MeshMatrix(const QelVec3& x, const QelVec3& y, const QelVec3& z, const QelVec3& o);
/// A named object holding a triangle mesh of the given chunks.
std::string Object(const std::string& strName, const std::string& strMeshChunks);
std::string Material(const std::string& strName, const std::string& strChunks);
/// A color chunk of the material (ambient 0xA010, diffuse 0xA020, specular 0xA030) in bytes.
std::string MaterialColor(uint16_t nId, uint8_t r, uint8_t g, uint8_t b);
/// A chunk of the material without data (two-sided 0xA081).
inline std::string Flag(uint16_t nId)
{
    return Word(nId) + Dword(6);
}
/// A percentage chunk of the material (shininess 0xA040, transparency 0xA050).
std::string MaterialPercent(uint16_t nId, uint16_t nPercent);
/// A diffuse texture map with its tiling flags, scale, offset and rotation (degrees).
std::string TextureMap(const std::string& strFile, uint16_t nTiling, QelVec2 vScale, QelVec2 vOffset, float fRotation);
/// An object node of the keyframes: one key each of position, rotation (none) and scale.
std::string ObjectNode(uint16_t nId, const std::string& strName, uint16_t nParent, const QelVec3& vPivot,
                       const QelVec3& vPosition, const QelVec3& vScale);
/// The whole file: editor chunks and keyframe chunks ("" for none).
std::string File(const std::string& strEditor, const std::string& strKeyframes);
} // namespace Qel3dsBytes
