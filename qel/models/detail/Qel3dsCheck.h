#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class QelLoadLog;

/// Checks the chunk tree of a 3DS file before the file reader sees it. That reader trusts every size,
/// count and index it reads: a chunk of size 0 makes it loop forever, a material group naming a
/// face past the face list makes it write out of bounds, and a node that is its own ancestor makes
/// it recurse without end; faces that index past the vertices make it read out of bounds. The check
/// refuses files whose structure lies and lists the words the reader must see changed so that the
/// rest of the file still loads: the identifiers of chunks to skip, and the indices of bad faces,
/// which become 0 so that the face is degenerate and dropped.
class Qel3dsCheck
{
public:
    /// Objects, materials or nodes beyond this many are refused: the reader keeps each kind in a list
    /// sorted by inserting, which costs the square of their number.
    static constexpr uint32_t kMaxEntries = 16384;
    /// Keyframe nodes nested deeper than this are refused: the reader walks them recursively.
    static constexpr uint32_t kMaxNodeDepth = 256;
    /// The sum over animation tracks of the square of their keys; above it the keyframes are skipped.
    static constexpr uint64_t kMaxKeyWork = 400000000ull;

    Qel3dsCheck(const uint8_t* pData, size_t nSize, QelLoadLog& log) : m_pData(pData), m_nSize(nSize), m_log(log) {}

    /// False (with an error in the log) when the file must not be read at all.
    bool Run();
    /// A 16-bit word of the file as the reader must see it.
    struct SPatch
    {
        uint32_t nOffset;
        uint16_t nValue;
        bool operator<(const SPatch& o) const { return nOffset < o.nOffset; }
    };
    /// Sorted by offset.
    const std::vector<SPatch>& Patches() const { return m_vPatches; }

private:
    struct SChunk
    {
        uint16_t nId = 0;
        uint32_t nStart = 0;
        uint32_t nEnd = 0;
        uint32_t DataStart() const { return nStart + 6; }
    };

    uint16_t Word(uint32_t nAt) const;
    uint32_t Dword(uint32_t nAt) const;
    /// Reads the chunk header at nAt and checks that it lies within [.., nParentEnd).
    bool ReadChunk(uint32_t nAt, uint32_t nParentEnd, SChunk& c);
    /// Length of the zero-terminated name at nAt including its terminator, as the reader accepts
    /// it (at most 64 bytes, within the chunk); 0 when it is not.
    uint32_t NameLength(uint32_t nAt, uint32_t nEnd) const;
    bool BadChunk(const SChunk& c, const char* pWhy);

    bool Walk(const SChunk& c, uint32_t nFrom);
    bool CheckObject(const SChunk& c);
    bool CheckTriangles(const SChunk& c, const char* pObject);
    bool CheckFaces(const SChunk& c, uint32_t nPoints, const char* pObject);
    void Hide(const SChunk& c);
    bool CheckKeyframes(const SChunk& c);
    /// Whether the keys of an animation track, as many as it counts, end within it.
    bool TrackFits(const SChunk& c) const;
    /// The reason to skip the keyframes, or "" when they are sound.
    std::string KeyframeProblem(const SChunk& c);
    bool CountEntry(uint32_t& nCount, const char* pWhat);

    const uint8_t* m_pData;
    size_t m_nSize;
    QelLoadLog& m_log;
    std::vector<SPatch> m_vPatches;
    uint32_t m_nObjects = 0;
    uint32_t m_nMaterials = 0;
    uint32_t m_nNodes = 0;
};
