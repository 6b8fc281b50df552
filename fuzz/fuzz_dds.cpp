// Feeds arbitrary bytes to texture loading: the library's own DDS reader and, for anything else,
// the DevIL route of textures made from memory. The first byte picks how the rest is given: as a
// whole memory block, as a DDS file body behind the "DDS " signature, or as a .dds file on disk.
// Whatever loads is bound and released again, and the cache is flushed every time.
#include "qel/materials/QelTexture.h"
#include "qel/platform/QelOffscreenContext.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

// Image headers may declare sizes no allocation can serve; a failed allocation is a refusal to
// test, not a crash.
extern "C" const char* __asan_default_options()
{
    return "allocator_may_return_null=1";
}

// DevIL's PNG reader loses a small block on some broken files; that leak is DevIL's own.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libIL.so\n";
}

namespace
{
QelSilentApp s_app;

bool Context()
{
    static const bool s_bOk = QelOffscreenContext::MakeCurrent(16, 16);
    return s_bOk;
}

std::string TempPath()
{
    return "/tmp/qel_fuzz_dds_" + std::to_string(getpid()) + ".dds";
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    if (nSize < 1 || !Context())
        return 0;
    const uint8_t nMode = pData[0] % 3;
    std::vector<uint8_t> vBytes;
    if (nMode == 1)
        vBytes = {'D', 'D', 'S', ' '};
    vBytes.insert(vBytes.end(), pData + 1, pData + nSize);

    QelTexture cTexture;
    if (nMode == 2)
    {
        const std::string strPath = TempPath();
        if (FILE* pFile = std::fopen(strPath.c_str(), "wb"))
        {
            std::fwrite(vBytes.data(), 1, vBytes.size(), pFile);
            std::fclose(pFile);
            cTexture.LoadFromFile(strPath, true);
            std::remove(strPath.c_str());
        }
    }
    else
        cTexture.LoadFromMemory(vBytes.data(), unsigned(vBytes.size()), true);
    if (cTexture.IsValid())
    {
        cTexture.Bind();
        QelTexture::Unbind();
    }
    cTexture.Release();
    QelTexture::FlushCache(true);
    return 0;
}
