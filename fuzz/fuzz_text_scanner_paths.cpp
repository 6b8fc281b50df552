// The text scanner from a file and from memory, and its SIMD path against its portable path: the
// same bytes must give the same words, types, lines and counters every way.
#include "fuzz/support/QelFuzzScanWalk.h"
#include "fuzz/support/QelFuzzXML.h"
#include "qel/util/QelTextScanner.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

std::string QelFuzzScanPortable(const char* pData, size_t nSize, uint8_t nMode);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize == 0)
        return 0;
    const uint8_t nMode = pData[0];
    const char* pText = reinterpret_cast<const char*>(pData + 1);
    const size_t nText = nSize - 1;

    QelTextScanner fromMemory;
    if (!fromMemory.OpenBuffer(pText, nText))
        return 0;
    const std::string strMemory = QelFuzzScanWalk(fromMemory, nMode);

    const std::string strPortable = QelFuzzScanPortable(pText, nText, nMode);
    if (strPortable != strMemory)
        QelFuzzFail("the SIMD and the portable scanner disagree");

    QelFuzzTempFile file(".txt");
    std::FILE* f = std::fopen(file.m_strPath.c_str(), "wb");
    if (!f)
        return 0;
    std::fwrite(pText, 1, nText, f);
    std::fclose(f);
    QelTextScanner fromFile;
    if (!fromFile.Open(file.m_strPath.c_str()))
        QelFuzzFail("a file just written does not open");
    if (QelFuzzScanWalk(fromFile, nMode) != strMemory)
        QelFuzzFail("the file and the memory scanner disagree");
    return 0;
}
