#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <utility>

/// A growable byte array that never throws and never zero-fills what it is about to overwrite.
/// Vertex data is gathered and handed to OpenGL through it; a failed allocation is a false result
/// that the caller reports, and the array keeps what it held.
class QelByteArray
{
public:
    QelByteArray() = default;
    /// A moved-from array is empty, not an array that claims bytes it no longer holds.
    QelByteArray(QelByteArray&& other) noexcept { *this = std::move(other); }
    QelByteArray& operator=(QelByteArray&& other) noexcept
    {
        if (this != &other)
        {
            m_pData = std::move(other.m_pData);
            m_nSize = other.m_nSize;
            m_nCapacity = other.m_nCapacity;
            other.m_nSize = other.m_nCapacity = 0;
        }
        return *this;
    }

    unsigned char* Data() { return m_pData.get(); }
    const unsigned char* Data() const { return m_pData.get(); }
    size_t Size() const { return m_nSize; }
    size_t Capacity() const { return m_nCapacity; }
    bool Empty() const { return m_nSize == 0; }

    /// Makes room for at least nBytes in all; the contents stay.
    bool Reserve(size_t nBytes)
    {
        if (nBytes <= m_nCapacity)
            return true;
        std::unique_ptr<unsigned char[]> pNew(new (std::nothrow) unsigned char[nBytes]);
        if (!pNew)
            return false;
        if (m_nSize)
            std::memcpy(pNew.get(), m_pData.get(), m_nSize);
        m_pData = std::move(pNew);
        m_nCapacity = nBytes;
        return true;
    }

    /// Appends nBytes, growing by half again at least so that appends one vertex at a time stay cheap.
    bool Append(const void* pBytes, size_t nBytes)
    {
        if (m_nSize + nBytes > m_nCapacity && !Reserve(std::max(m_nSize + nBytes, m_nCapacity + m_nCapacity / 2 + 64)))
            return false;
        std::memcpy(m_pData.get() + m_nSize, pBytes, nBytes);
        m_nSize += nBytes;
        return true;
    }

    /// Sets the size; bytes past the old size are zero when bZero is set and unspecified otherwise.
    bool Resize(size_t nBytes, bool bZero)
    {
        if (!Reserve(nBytes))
            return false;
        if (bZero && nBytes > m_nSize)
            std::memset(m_pData.get() + m_nSize, 0, nBytes - m_nSize);
        m_nSize = nBytes;
        return true;
    }

    /// Frees the memory.
    void Release()
    {
        m_pData.reset();
        m_nSize = m_nCapacity = 0;
    }

private:
    std::unique_ptr<unsigned char[]> m_pData;
    size_t m_nSize = 0;
    size_t m_nCapacity = 0;
};
