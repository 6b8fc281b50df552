#pragma once

#include "qel/buffers/detail/QelVertexLayout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What the inline calls of QelImmediateModeBuffer touch for every vertex: the current vertex,
/// already laid out as it is stored, the layout of the gathered vertices, and the room left in
/// the gathered array. Hosts compile those calls against this layout, so a change to it is a
/// change of the library's binary interface.
struct QelImmediateModeCursor
{
    /// Bytes of the widest vertex: 4 coordinates, 8 layers of 4, a normal and a color.
    static constexpr int kMaxVertexBytes = 16 + kQelTextureLayers * 16 + 12 + 4;

    /// Where the next vertex goes in the gathered array.
    unsigned char* m_pNext = nullptr;
    /// The inline path emits only while m_pNext lies below this: then the array has room for one
    /// more vertex. Null while the layout has no position yet, so the first vertex always takes
    /// the out-of-line path.
    unsigned char* m_pLimit = nullptr;
    /// Layout of the gathered vertices and of the current one.
    QelVertexLayout m_cLayout;
    /// The current vertex, in 32-bit words (every attribute is made of them): position in front,
    /// the current attributes at their offsets. Stored as words, not bytes, so that the compiler
    /// knows a store to it changes none of the pointers above and keeps them in registers.
    uint32_t m_nWords[kMaxVertexBytes / 4] = {};

    unsigned char* Bytes() { return reinterpret_cast<unsigned char*>(m_nWords); }

    /// Appends the current vertex; the caller has checked m_pNext < m_pLimit. The copy goes word
    /// by word: the setters have just stored those words one by one, and a wider load across
    /// several pending stores waits for all of them to reach the cache, which costs more than
    /// the copy itself.
    void Emit()
    {
        unsigned char* pTo = m_pNext;
        const size_t nSize = size_t(m_cLayout.m_nVertexSize);
        size_t i = 0;
        for (; i + 8 <= nSize; i += 8)
        {
            uint32_t nWord0 = m_nWords[i / 4], nWord1 = m_nWords[i / 4 + 1];
#if defined(__GNUC__)
            __asm__("" : "+r"(nWord0), "+r"(nWord1)); // keeps the compiler from widening the loads again
#endif
            std::memcpy(pTo + i, &nWord0, 4);
            std::memcpy(pTo + i + 4, &nWord1, 4);
        }
        if (i < nSize)
            std::memcpy(pTo + i, &m_nWords[i / 4], 4);
        m_pNext = pTo + nSize;
    }

    /// Stores one float of the current vertex.
    void Put(int nOffset, float f)
    {
        uint32_t nBits;
        std::memcpy(&nBits, &f, 4);
        m_nWords[nOffset / 4] = nBits;
    }
    /// Stores a color, red in the low byte of nRgba, as the bytes R, G, B, A.
    void PutColor(int nOffset, uint32_t nRgba)
    {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        nRgba = __builtin_bswap32(nRgba);
#endif
        m_nWords[nOffset / 4] = nRgba;
    }
};
