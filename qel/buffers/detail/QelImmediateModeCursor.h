#pragma once

#include "qel/buffers/detail/QelVertexLayout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What the inline calls of QelImmediateModeBuffer touch for every vertex. While the gathered
/// array has room, the setters write straight into the next vertex's place in it (the slot) and
/// mark what they wrote; a vertex whose attributes were all set again is emitted by moving past
/// the slot, and only the attributes left unset are copied from the vertex before it. Hosts
/// compile those calls against this layout, so a change to it is a change of the library's
/// binary interface.
struct QelImmediateModeCursor
{
    /// Bytes of the widest vertex: 4 coordinates, 8 layers of 4, a normal and a color.
    static constexpr int kMaxVertexBytes = 16 + kQelTextureLayers * 16 + 12 + 4;
    /// Vertices of up to this many bytes are copied from the current vertex as a fixed run of
    /// words; the gathered array keeps that many bytes of room past the slot.
    static constexpr int kShortCopyBytes = 48;
    /// The mark of each attribute in m_nSet: texture layer i is bit i.
    static constexpr uint16_t kNormalBit = 1u << kQelTextureLayers;
    static constexpr uint16_t kColorBit = 2u << kQelTextureLayers;

    /// The slot: where the next vertex goes in the gathered array.
    unsigned char* m_pNext = nullptr;
    /// The slot may be written while m_pNext lies below this: then the array has room for it and
    /// the short copy's run. Null while there is no array, so such calls take the out-of-line path.
    unsigned char* m_pLimit = nullptr;
    /// Attributes written into the slot since it was started. Those not set are the previous
    /// vertex's, which the array then holds right before the slot.
    uint16_t m_nSet = 0;
    /// Every attribute the layout has, in m_nSet's bits.
    uint16_t m_nAll = 0;
    /// Layout of the gathered vertices and of the current one.
    QelVertexLayout m_cLayout;
    /// The current vertex while there is no slot, and where the out-of-line paths work on it, in
    /// 32-bit words: position in front, the current attributes at their offsets.
    uint32_t m_nWords[kMaxVertexBytes / 4] = {};

    unsigned char* Bytes() { return reinterpret_cast<unsigned char*>(m_nWords); }
    bool HasSlot() const { return m_pNext < m_pLimit; }

    // The slot is written through float and 32-bit pointers, never unsigned char: a store through
    // unsigned char may change anything, and the compiler would reload the cursor after each one,
    // m_nSet included, instead of keeping it in a register for the whole vertex.

    /// Stores a float into the slot.
    void Put(int nOffset, float f) { reinterpret_cast<float*>(m_pNext + nOffset)[0] = f; }
    /// Stores a color into the slot, red in the low byte of nRgba, as the bytes R, G, B, A.
    void PutColor(int nOffset, uint32_t nRgba)
    {
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
        nRgba = __builtin_bswap32(nRgba);
#endif
        reinterpret_cast<uint32_t*>(m_pNext + nOffset)[0] = nRgba;
    }

    /// Moves past the slot once every attribute was set in it; false leaves it to the caller.
    bool EmitWhole()
    {
        if (m_nSet != m_nAll)
            return false;

        m_pNext += m_cLayout.m_nVertexSize;
        m_nSet = 0;
        return true;
    }

    /// Appends the current vertex of m_nWords at the slot and moves past it; the caller has
    /// checked HasSlot(). The copy goes word by word: a wider load across several pending stores
    /// waits for all of them to reach the cache, which costs more than the copy itself.
    void EmitWords()
    {
        unsigned char* pTo = m_pNext;
        const size_t nSize = size_t(m_cLayout.m_nVertexSize);
        if (nSize <= size_t(kShortCopyBytes))
            CopyWords<kShortCopyBytes / 4>(pTo);
        else
        {
            size_t i = 0;
            for (; i + 8 <= nSize; i += 8)
                CopyWords<2>(pTo + i, i / 4);
            if (i < nSize)
                std::memcpy(pTo + i, &m_nWords[i / 4], 4);
        }
        m_pNext = pTo + nSize;
        m_nSet = 0;
    }

    /// Copies N words of the current vertex from word nFirst on.
    template <int N>
    void CopyWords(unsigned char* pTo, size_t nFirst = 0)
    {
        for (int i = 0; i < N; i += 2)
        {
            uint32_t nWord0 = m_nWords[nFirst + size_t(i)], nWord1 = m_nWords[nFirst + size_t(i) + 1];
#if defined(__GNUC__)
            __asm__("" : "+r"(nWord0), "+r"(nWord1)); // keeps the compiler from widening the loads again
#endif
            std::memcpy(pTo + 4 * i, &nWord0, 4);
            std::memcpy(pTo + 4 * i + 4, &nWord1, 4);
        }
    }
};
