#pragma once

#include "qel/platform/QelExport.h"

#include <cstddef>
#include <string>

/// A whole file readable as one block of memory: mapped where the system can map files, read in
/// otherwise. Parsers that walk a file once release the part they are done with, so a large file
/// does not stay resident while its parsed form grows.
class QEL_EXPORT QelMappedFile
{
public:
    /// Why Open failed.
    enum EOpenResult
    {
        eOpened = 0,
        eNotFound = 1,
        eIsDirectory = 2,
        eReadFailed = 3
    };

    /// Nothing open: Data() null, Size() 0.
    QelMappedFile() = default;
    /// One owner per mapping: not copied; destruction closes the file.
    ///@{
    QelMappedFile(const QelMappedFile&) = delete;
    QelMappedFile& operator=(const QelMappedFile&) = delete;
    ~QelMappedFile();
    ///@}

    /// Opens strPath (closing what was open), mapping it or reading it in whole (pipes and
    /// empty files). Anything but eOpened leaves the object closed; nothing is logged, the caller
    /// reports with the reason.
    EOpenResult Open(const std::string& strPath);
    /// Unmaps or frees the memory; Data() becomes null. The destructor does this too.
    void Close();

    /// Never null while open (an empty file gives a valid pointer and size 0).
    const char* Data() const { return m_pData; }
    /// Length of the file in bytes.
    size_t Size() const { return m_nSize; }
    /// Tells the system that bytes before nOffset will not be read again; they may leave memory.
    void ReleaseBefore(size_t nOffset);

private:
    const char* m_pData = nullptr;
    size_t m_nSize = 0;
    size_t m_nReleased = 0;
    bool m_bMapped = false;
    char* m_pOwned = nullptr;
};
