#include "qel/platform/detail/QelExecutableMemory.h"

#if defined(__linux__) && defined(__x86_64__)
#  include <sys/mman.h>
#  include <sys/syscall.h>
#  include <unistd.h>
#  define QEL_NATIVE_CODE 1
#else
#  define QEL_NATIVE_CODE 0
#endif

#include <mutex>
#include <vector>

namespace
{
// Blocks come in powers of two from 64 bytes up to the maximum, carved from chunks that are mapped
// twice (writable and executable) and kept for the life of the process: freed blocks are reused by
// size, so the number of mappings stays bounded by the peak amount of code.
const size_t kMinBlockShift = 6;
const size_t kMaxBlockShift = 16;
const size_t kChunkSize = 1024 * 1024;
static_assert((size_t(1) << kMaxBlockShift) == kQelMaxCodeBlock, "the largest class is the maximum block");

struct Arena
{
    std::mutex cMutex;
    std::vector<QelCodeBlock> vecFree[kMaxBlockShift + 1];
    unsigned char* pWrite = nullptr; // the unused rest of the current chunk
    const unsigned char* pRun = nullptr;
    size_t nLeft = 0;
    bool bFailed = false; // the system refused once: do not keep asking

    bool NewChunk()
    {
#if QEL_NATIVE_CODE
        const int fd = static_cast<int>(syscall(SYS_memfd_create, "qel-code", 1u /* MFD_CLOEXEC */));
        if (fd < 0)
            return false;
        void* pW = MAP_FAILED;
        void* pX = MAP_FAILED;
        if (ftruncate(fd, static_cast<off_t>(kChunkSize)) == 0)
        {
            pW = mmap(nullptr, kChunkSize, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            pX = mmap(nullptr, kChunkSize, PROT_READ | PROT_EXEC, MAP_SHARED, fd, 0);
        }
        close(fd);
        if (pW == MAP_FAILED || pX == MAP_FAILED)
        {
            if (pW != MAP_FAILED)
                munmap(pW, kChunkSize);
            if (pX != MAP_FAILED)
                munmap(pX, kChunkSize);
            return false;
        }
        pWrite = static_cast<unsigned char*>(pW);
        pRun = static_cast<const unsigned char*>(pX);
        nLeft = kChunkSize;
        return true;
#else
        return false;
#endif
    }
};

Arena& TheArena()
{
    static Arena* s_pArena = new Arena; // never destroyed: code may run during static destruction
    return *s_pArena;
}

size_t ClassOf(size_t nSize)
{
    size_t nShift = kMinBlockShift;
    while ((size_t(1) << nShift) < nSize)
        ++nShift;
    return nShift;
}
} // namespace

bool QelNativeCodeSupported()
{
#if QEL_NATIVE_CODE
    static const bool s_bSupported = [] {
        QelCodeBlock c = QelAllocateCode(1);
        QelFreeCode(c);
        return c.pRun != nullptr;
    }();
    return s_bSupported;
#else
    return false;
#endif
}

QelCodeBlock QelAllocateCode(size_t nSize)
{
    if (nSize == 0 || nSize > kQelMaxCodeBlock)
        return QelCodeBlock();
    const size_t nClass = ClassOf(nSize);
    const size_t nBytes = size_t(1) << nClass;
    Arena& a = TheArena();
    std::lock_guard<std::mutex> lock(a.cMutex);
    if (!a.vecFree[nClass].empty())
    {
        QelCodeBlock c = a.vecFree[nClass].back();
        a.vecFree[nClass].pop_back();
        return c;
    }
    if (a.nLeft < nBytes)
    {
        if (a.bFailed)
            return QelCodeBlock();
        // The rest of the old chunk becomes blocks of the classes it still holds.
        for (size_t n = kMaxBlockShift; n >= kMinBlockShift; --n)
            while (a.nLeft >= (size_t(1) << n))
            {
                a.vecFree[n].push_back(QelCodeBlock{a.pWrite, a.pRun, size_t(1) << n});
                a.pWrite += size_t(1) << n;
                a.pRun += size_t(1) << n;
                a.nLeft -= size_t(1) << n;
            }
        if (!a.NewChunk())
        {
            a.bFailed = true;
            return QelCodeBlock();
        }
    }
    QelCodeBlock c{a.pWrite, a.pRun, nBytes};
    a.pWrite += nBytes;
    a.pRun += nBytes;
    a.nLeft -= nBytes;
    return c;
}

void QelFreeCode(const QelCodeBlock& cBlock)
{
    if (!cBlock.pRun)
        return;
    Arena& a = TheArena();
    std::lock_guard<std::mutex> lock(a.cMutex);
    a.vecFree[ClassOf(cBlock.nSize)].push_back(cBlock);
}
