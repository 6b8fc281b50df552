// Writes the input to a file, plain or gzip-compressed, repeated past 64 KB when the first byte
// asks, loads it, walks it, and checks that what loads saves and loads back in every form.
#include "fuzz/support/QelFuzzXML.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <zlib.h>

#include <cstdint>
#include <cstdio>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize < 1)
        return 0;
    const uint8_t nMode = pData[0];
    std::string strText(reinterpret_cast<const char*>(pData + 1), nSize - 1);
    if ((nMode & 4) && !strText.empty())
    {
        // Repeat the middle part, so that a small input becomes a document of more than 64 KB.
        const size_t nCut = strText.size() / 2;
        std::string strMiddle = strText.substr(nCut / 2, nCut - nCut / 2 + 1);
        std::string strBig = strText.substr(0, nCut / 2);
        while (strBig.size() < 70000 && !strMiddle.empty())
            strBig += strMiddle;
        strText = strBig + strText.substr(nCut + 1 < strText.size() ? nCut + 1 : strText.size());
    }
    QelFuzzTempFile file(".in");
    if (nMode & 1)
    {
        gzFile f = gzopen(file.m_strPath.c_str(), "wb1");
        if (!f)
            return 0;
        if (!strText.empty())
            gzwrite(f, strText.data(), static_cast<unsigned int>(strText.size()));
        gzclose(f);
    }
    else
    {
        std::FILE* f = std::fopen(file.m_strPath.c_str(), "wb");
        if (!f)
            return 0;
        std::fwrite(strText.data(), 1, strText.size(), f);
        std::fclose(f);
    }
    if (nMode & 2)
        QelMasterXMLInterface::SetMaxDocumentSize(strText.size() / 2);
    QelMasterXMLInterface x;
    const bool bLoaded = x.LoadDataFromFile(file.m_strPath);
    QelMasterXMLInterface::SetMaxDocumentSize(1ull << 30);
    if (!bLoaded)
        return 0;
    volatile size_t n = QelFuzzWalk(x);
    if (nMode & 8)
        n = QelFuzzCheckRoundTrip(x);
    (void)n;
    return 0;
}
