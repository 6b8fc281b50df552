#pragma once

#include "qel/buffers/detail/QelVertexLayout.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

/// What the inline calls of QelImmediateModeBuffer touch for every vertex. While the gathered
/// array has room, the setters write straight into the next vertex's place in it (the slot) and
/// mark what they wrote; a vertex whose attributes were all set again is emitted by moving past
/// the slot, and only the attributes left unset are copied from the vertex before it. Without
/// room the slot is the cursor's own current vertex, so the setters never check for room. Hosts
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
    ///@{
    static constexpr uint16_t kNormalBit = 1u << kQelTextureLayers;
    static constexpr uint16_t kColorBit = 2u << kQelTextureLayers;
    ///@}

    /// The slot: where the next vertex goes in the gathered array, or m_nCurrent while the array
    /// has no room for it.
    unsigned char* m_pNext = nullptr;
    /// m_pNext lies below this while it is in the gathered array and the array has room for the
    /// slot and the short copy's run; null while the slot is m_nCurrent, so that a vertex takes
    /// the out-of-line path.
    unsigned char* m_pLimit = nullptr;
    /// Attributes written into the slot since it was started. Those not set are the previous
    /// vertex's, which the array then holds right before the slot.
    uint16_t m_nSet = 0;
    /// Every attribute the layout has, in m_nSet's bits.
    uint16_t m_nAll = 0;
    /// Attributes already copied into the slots below m_pPrefillEnd: a host that leaves an
    /// attribute alone for many vertices (one color for a whole mesh) then emits them without a
    /// copy each. Setting one of them again ends that, as the copies are then out of date.
    uint16_t m_nPrefill = 0;
    unsigned char* m_pPrefillEnd = nullptr;
    /// Layout of the gathered vertices and of the current one.
    QelVertexLayout m_cLayout;
    /// The current vertex while the slot is not in the array, and where the out-of-line paths
    /// work on it: position in front, the current attributes at their offsets. Raw storage, as
    /// the gathered array is, written through the same float and 32-bit pointers.
    alignas(16) unsigned char m_nCurrent[kMaxVertexBytes] = {};

    /// The current vertex's bytes.
    ///@{
    unsigned char* Bytes() { return m_nCurrent; }
    const unsigned char* Bytes() const { return m_nCurrent; }
    ///@}
    /// True while the slot is in the gathered array.
    bool HasSlot() const { return uintptr_t(m_pNext) < uintptr_t(m_pLimit); }

    // The slot is written through float and 32-bit pointers, never unsigned char: a store through
    // unsigned char may change anything, and the compiler would reload the cursor after each one.

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

    /// The attributes copied into the slot ahead of time.
    unsigned Prefilled() const { return uintptr_t(m_pNext) < uintptr_t(m_pPrefillEnd) ? m_nPrefill : 0u; }

    /// Moves past the slot once every attribute is in it, set or copied ahead, and none of those
    /// copied was set again; false leaves it to the caller.
    bool EmitWhole()
    {
        const unsigned nPrefilled = Prefilled();
        if ((m_nSet | nPrefilled) != m_nAll || (m_nSet & nPrefilled) != 0)
            return false;
        m_pNext += m_cLayout.m_nVertexSize;
        m_nSet = 0;
        return true;
    }

    /// Appends the current vertex of m_nCurrent at the slot and moves past it; the caller has
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
                std::memcpy(pTo + i, m_nCurrent + i, 4);
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
            uint32_t nWord0, nWord1;
            std::memcpy(&nWord0, m_nCurrent + 4 * (nFirst + size_t(i)), 4);
            std::memcpy(&nWord1, m_nCurrent + 4 * (nFirst + size_t(i)) + 4, 4);
#if defined(__GNUC__)
            __asm__("" : "+r"(nWord0), "+r"(nWord1)); // keeps the compiler from widening the loads again
#endif
            std::memcpy(pTo + 4 * i, &nWord0, 4);
            std::memcpy(pTo + 4 * i + 4, &nWord1, 4);
        }
    }
};
