#include "tests/models/Qel3dsTestFile.h"

#include <cstring>

namespace Qel3dsBytes
{
std::string Word(uint16_t n)
{
    return std::string{char(n & 0xFF), char(n >> 8)};
}

std::string Dword(uint32_t n)
{
    return Word(uint16_t(n)) + Word(uint16_t(n >> 16));
}

std::string Float(float f)
{
    uint32_t n;
    std::memcpy(&n, &f, 4);
    return Dword(n);
}

std::string Name(const std::string& str)
{
    return str + std::string(1, '\0');
}

std::string Chunk(uint16_t nId, const std::string& strBody)
{
    return Word(nId) + Dword(uint32_t(strBody.size() + 6)) + strBody;
}

std::string Vec(const QelVec3& v)
{
    return Float(v.x) + Float(v.y) + Float(v.z);
}

std::string Points(const std::vector<QelVec3>& v)
{
    std::string s = Word(uint16_t(v.size()));
    for (const QelVec3& p : v)
        s += Vec(p);
    return Chunk(0x4110, s);
}

std::string TexCoords(const std::vector<QelVec2>& v)
{
    std::string s = Word(uint16_t(v.size()));
    for (const QelVec2& p : v)
        s += Float(p.x) + Float(p.y);
    return Chunk(0x4140, s);
}

std::string Faces(const std::vector<std::array<uint16_t, 3>>& v, const std::string& strSubChunks)
{
    std::string s = Word(uint16_t(v.size()));
    for (const auto& f : v)
        s += Word(f[0]) + Word(f[1]) + Word(f[2]) + Word(7);
    return Chunk(0x4120, s + strSubChunks);
}

std::string MaterialGroup(const std::string& strMaterial, const std::vector<uint16_t>& vFaces)
{
    std::string s = Name(strMaterial) + Word(uint16_t(vFaces.size()));
    for (uint16_t f : vFaces)
        s += Word(f);
    return Chunk(0x4130, s);
}

std::string Smoothing(const std::vector<uint32_t>& v)
{
    std::string s;
    for (uint32_t n : v)
        s += Dword(n);
    return Chunk(0x4150, s);
}

std::string MeshMatrix(const QelVec3& x, const QelVec3& y, const QelVec3& z, const QelVec3& o)
{
    return Chunk(0x4160, Vec(x) + Vec(y) + Vec(z) + Vec(o));
}

std::string Object(const std::string& strName, const std::string& strMeshChunks)
{
    return Chunk(0x4000, Name(strName) + Chunk(0x4100, strMeshChunks));
}

std::string Material(const std::string& strName, const std::string& strChunks)
{
    return Chunk(0xAFFF, Chunk(0xA000, Name(strName)) + strChunks);
}

std::string MaterialColor(uint16_t nId, uint8_t r, uint8_t g, uint8_t b)
{
    return Chunk(nId, Chunk(0x0011, std::string{char(r), char(g), char(b)}));
}

std::string MaterialPercent(uint16_t nId, uint16_t nPercent)
{
    return Chunk(nId, Chunk(0x0030, Word(nPercent)));
}

std::string TextureMap(const std::string& strFile, uint16_t nTiling, QelVec2 vScale, QelVec2 vOffset, float fRotation)
{
    return Chunk(0xA200, Chunk(0x0030, Word(100)) + Chunk(0xA300, Name(strFile)) + Chunk(0xA351, Word(nTiling)) +
                             Chunk(0xA354, Float(vScale.x)) + Chunk(0xA356, Float(vScale.y)) +
                             Chunk(0xA358, Float(vOffset.x)) + Chunk(0xA35A, Float(vOffset.y)) +
                             Chunk(0xA35C, Float(fRotation)));
}

std::string ObjectNode(uint16_t nId, const std::string& strName, uint16_t nParent, const QelVec3& vPivot,
                       const QelVec3& vPosition, const QelVec3& vScale)
{
    // Track header: flags, two unknown words pairs, key count; a key: frame, flags, value.
    auto Track = [](uint16_t nTag, const std::string& strValue) {
        return Chunk(nTag, Word(0) + Dword(0) + Dword(0) + Dword(1) + Dword(0) + Word(0) + strValue);
    };
    return Chunk(0xB002, Chunk(0xB030, Word(nId)) + Chunk(0xB010, Name(strName) + Word(0) + Word(0) + Word(nParent)) +
                             Chunk(0xB013, Vec(vPivot)) + Track(0xB020, Vec(vPosition)) +
                             Track(0xB021, Float(0.0f) + Vec(QelVec3(0, 0, 1))) + Track(0xB022, Vec(vScale)));
}

std::string File(const std::string& strEditor, const std::string& strKeyframes)
{
    std::string s = Chunk(0x0002, Dword(3)) + Chunk(0x3D3D, Chunk(0x3D3E, Dword(3)) + strEditor);
    if (!strKeyframes.empty())
        s += Chunk(0xB000, strKeyframes);
    return Chunk(0x4D4D, s);
}
} // namespace Qel3dsBytes
