#include "qel/models/C3dsLoader.h"

#include "qel/models/QelModelData.h"
#include "qel/models/detail/Qel3dsCheck.h"
#include "qel/models/detail/Qel3dsScene.h"
#include "qel/models/detail/QelLoadLog.h"
#include "qel/models/detail/QelLoadSteps.h"
#include "qel/platform/QelMappedFile.h"
#include "qel/util/QelPath.h"

#include <lib3ds/file.h>
#include <lib3ds/io.h>

#include <algorithm>
#include <cstring>
#include <memory>

namespace
{
const char* const kLoaderName = "C3dsLoader";

/// The file as the reader sees it: bounded reads from memory, the words the check changed, and a budget
/// of work after which every read yields zeros (a zero chunk identifier ends every chunk loop of
/// the reader), so that chunk sizes that loop back cannot keep it reading forever.
struct SMemoryIo
{
    const uint8_t* pData;
    size_t nSize;
    const std::vector<Qel3dsCheck::SPatch>* pPatches;
    size_t nPos = 0;
    uint64_t nBudget = 0;
    bool bError = false;
    bool bExhausted = false;

    bool Spend(uint64_t nCost)
    {
        if (nCost > nBudget)
            bExhausted = true;
        else
            nBudget -= nCost;
        return !bExhausted;
    }

    static Lib3dsBool Error(void* pSelf) { return static_cast<SMemoryIo*>(pSelf)->bError; }

    static long Seek(void* pSelf, long nOffset, Lib3dsIoSeek eOrigin)
    {
        SMemoryIo& io = *static_cast<SMemoryIo*>(pSelf);
        io.Spend(16);
        long long nBase = eOrigin == LIB3DS_SEEK_SET ? 0 : eOrigin == LIB3DS_SEEK_CUR ? (long long)io.nPos : (long long)io.nSize;
        long long nTo = nBase + nOffset;
        if (nTo < 0)
        {
            io.bError = true;
            return -1;
        }
        io.nPos = size_t(nTo);
        return 0;
    }

    static long Tell(void* pSelf) { return long(static_cast<SMemoryIo*>(pSelf)->nPos); }

    static size_t Read(void* pSelf, void* pBuffer, size_t nBytes)
    {
        SMemoryIo& io = *static_cast<SMemoryIo*>(pSelf);
        uint8_t* pOut = static_cast<uint8_t*>(pBuffer);
        size_t nGot = 0;
        if (io.Spend(nBytes + 1) && io.nPos < io.nSize)
            nGot = std::min(nBytes, io.nSize - io.nPos);
        // The reader reads most values a few bytes at a time: a loop beats a call for those.
        const uint8_t* pIn = io.pData + io.nPos;
        if (nGot <= 8)
            for (size_t k = 0; k < nGot; ++k)
                pOut[k] = pIn[k];
        else
            std::memcpy(pOut, pIn, nGot);
        if (nGot < nBytes)
        {
            // The reader does not look at what a read returns: what is missing reads as zeros.
            std::memset(pOut + nGot, 0, nBytes - nGot);
            io.bError = true;
        }
        if (!io.pPatches->empty())
            io.Patch(pOut, nGot);
        io.nPos += nBytes;
        return nGot;
    }

    void Patch(uint8_t* pOut, size_t nGot) const
    {
        const std::vector<Qel3dsCheck::SPatch>& v = *pPatches;
        // A patch that starts one byte before the read still changes its first byte.
        auto it = std::lower_bound(v.begin(), v.end(), Qel3dsCheck::SPatch{uint32_t(nPos ? nPos - 1 : 0), 0});
        for (; it != v.end() && it->nOffset < nPos + nGot; ++it)
            for (size_t k = 0; k < 2; ++k)
                if (it->nOffset + k >= nPos && it->nOffset + k < nPos + nGot)
                    pOut[it->nOffset + k - nPos] = uint8_t(it->nValue >> (8 * k));
    }

    static size_t Write(void*, const void*, size_t) { return 0; }
};

struct SFileFree
{
    void operator()(Lib3dsFile* p) const { lib3ds_file_free(p); }
};

bool LoadBytes(const uint8_t* pData, size_t nSize, const std::string& strName, const std::string& strFolder,
               QelModelData& data)
{
    QelLoadLog log(kLoaderName, strName);
    Qel3dsCheck check(pData, nSize, log);
    if (!check.Run())
        return false;
    SMemoryIo mem{pData, nSize, &check.Patches(), 0, 0};
    // A sound file costs the reader a few passes over its bytes and chunk headers.
    mem.nBudget = 32 * uint64_t(nSize) + (1u << 20);
    Lib3dsIo* pIo = lib3ds_io_new(&mem, SMemoryIo::Error, SMemoryIo::Seek, SMemoryIo::Tell, SMemoryIo::Read,
                                  SMemoryIo::Write);
    std::unique_ptr<Lib3dsFile, SFileFree> pFile(lib3ds_file_new());
    if (!pIo || !pFile)
    {
        if (pIo)
            lib3ds_io_free(pIo);
        log.Error("cannot be read: out of memory");
        return false;
    }
    bool bRead = lib3ds_file_read(pFile.get(), pIo);
    lib3ds_io_free(pIo);
    if (mem.bExhausted)
    {
        log.Error("has chunk sizes that lead the reader in circles");
        return false;
    }
    if (!bRead)
    {
        log.Error("is damaged: the 3DS reader stopped in it");
        return false;
    }
    Qel3dsToModel(*pFile, strFolder, QelPath::FileName(strName), log, data);
    return true;
}
} // namespace

C3dsLoader::C3dsLoader()
{
    Register("3ds");
}

std::string C3dsLoader::GetLabel() const
{
    return "3D Studio MAX Files";
}

bool C3dsLoader::Load(const std::string& strFile, QelModelData& data)
{
    data.Clear();
    QelMappedFile file;
    {
        QelLoadLog log(kLoaderName, strFile);
        if (!QelOpenModelFile(strFile, file, log))
            return false;
    }
    const uint8_t* p = reinterpret_cast<const uint8_t*>(file.Data());
    return QelFinishLoad(LoadBytes(p, p ? file.Size() : 0, strFile, QelPath::Folder(QelPath::Absolute(strFile)), data), data);
}

bool C3dsLoader::LoadFromMemory(const void* pData, size_t nSize, const std::string& strName,
                                const std::string& strFolder, QelModelData& data)
{
    data.Clear();
    return QelFinishLoad(LoadBytes(static_cast<const uint8_t*>(pData), pData ? nSize : 0, strName, strFolder, data), data);
}
