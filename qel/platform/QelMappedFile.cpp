#include "qel/platform/QelMappedFile.h"

#include <new>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{
const size_t kPageSize = 4096;
} // namespace

QelMappedFile::~QelMappedFile()
{
    Close();
}

QelMappedFile::EOpenResult QelMappedFile::Open(const std::string& strPath)
{
    Close();
    int fd = ::open(strPath.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return eNotFound;
    struct stat st;
    if (::fstat(fd, &st) != 0)
    {
        ::close(fd);
        return eReadFailed;
    }
    if (S_ISDIR(st.st_mode))
    {
        ::close(fd);
        return eIsDirectory;
    }
    if (!S_ISREG(st.st_mode) || st.st_size <= 0)
    {
        // Pipes and empty files: read what there is.
        std::string strAll;
        char buf[65536];
        ssize_t n;
        while ((n = ::read(fd, buf, sizeof(buf))) > 0)
            strAll.append(buf, static_cast<size_t>(n));
        ::close(fd);
        if (n < 0)
            return eReadFailed;
        m_pOwned = new (std::nothrow) char[strAll.size() + 1];
        if (!m_pOwned)
            return eReadFailed;
        strAll.copy(m_pOwned, strAll.size());
        m_pData = m_pOwned;
        m_nSize = strAll.size();
        return eOpened;
    }
    m_nSize = static_cast<size_t>(st.st_size);
    void* p = ::mmap(nullptr, m_nSize, PROT_READ, MAP_PRIVATE, fd, 0);
    if (p != MAP_FAILED)
    {
        ::madvise(p, m_nSize, MADV_SEQUENTIAL);
        m_pData = static_cast<const char*>(p);
        m_bMapped = true;
        ::close(fd);
        return eOpened;
    }
    m_pOwned = new (std::nothrow) char[m_nSize];
    size_t nRead = 0;
    while (m_pOwned && nRead < m_nSize)
    {
        ssize_t n = ::read(fd, m_pOwned + nRead, m_nSize - nRead);
        if (n <= 0)
            break;
        nRead += static_cast<size_t>(n);
    }
    ::close(fd);
    if (!m_pOwned || nRead != m_nSize)
    {
        Close();
        return eReadFailed;
    }
    m_pData = m_pOwned;
    return eOpened;
}

void QelMappedFile::Close()
{
    if (m_bMapped)
        ::munmap(const_cast<char*>(m_pData), m_nSize);
    delete[] m_pOwned;
    m_pOwned = nullptr;
    m_pData = nullptr;
    m_nSize = 0;
    m_nReleased = 0;
    m_bMapped = false;
}

void QelMappedFile::ReleaseBefore(size_t nOffset)
{
    if (!m_bMapped || nOffset > m_nSize)
        return;
    size_t nEnd = nOffset / kPageSize * kPageSize;
    if (nEnd <= m_nReleased)
        return;
    ::madvise(const_cast<char*>(m_pData) + m_nReleased, nEnd - m_nReleased, MADV_DONTNEED);
    m_nReleased = nEnd;
}
