#pragma once

#include <shapefil.h>

#include <cstddef>
#include <string>

/// Lets the shapefile reader read the three files of a shapefile from memory, and keeps the
/// messages it would otherwise print. It is told file names and picks the file by extension; one
/// instance is current at a time (the reader's hooks carry no context of their own).
class QelShpMemory
{
public:
    QelShpMemory(const void* pShp, size_t nShp, const void* pShx, size_t nShx, const void* pDbf, size_t nDbf);
    ~QelShpMemory();
    QelShpMemory(const QelShpMemory&) = delete;
    QelShpMemory& operator=(const QelShpMemory&) = delete;

    SAHooks* Hooks() { return &m_sHooks; }
    /// The reader's last message, without its line end; "" when it wrote none. Reading clears it.
    std::string TakeMessage();

private:
    struct SFile
    {
        const unsigned char* pData;
        size_t nSize;
    };
    static SAFile Open(const char* pName, const char* pAccess);
    static void Error(const char* pMessage);

    SFile m_files[3];
    SAHooks m_sHooks;
    std::string m_strMessage;
    QelShpMemory* m_pPrevious;
};
