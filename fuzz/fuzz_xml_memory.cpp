// Compressed memory blocks with real deflate streams: the input is compressed at a level the first
// byte picks, its stored length is kept or bent, the stream may be cut or flipped, and what loads
// is walked and must save and load back.
#include "fuzz/support/QelFuzzXML.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <zlib.h>

#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize < 2)
        return 0;
    const uint8_t nMode = pData[0], nBend = pData[1];
    const std::string strText(reinterpret_cast<const char*>(pData + 2), nSize - 2);
    std::string strBlock;
    if (nMode & 1)
    {
        // The rest is taken as the block's own bytes after the flag: header and stream as given.
        strBlock = std::string(1, '\x01') + strText;
    }
    else
    {
        uLongf n = compressBound(strText.size());
        strBlock.assign(5 + n, '\0');
        compress2(reinterpret_cast<Bytef*>(&strBlock[5]), &n, reinterpret_cast<const Bytef*>(strText.data()),
                  strText.size(), (nMode >> 1) % 10);
        strBlock.resize(5 + n);
        strBlock[0] = static_cast<char>(1 + (nMode >> 5));
        uint32_t nStored = static_cast<uint32_t>(strText.size());
        switch (nBend % 8)
        {
        case 1: nStored += 1; break;
        case 2: nStored -= 1; break;
        case 3: nStored = nStored * 1000u + 1u; break;
        case 4: nStored ^= 0x80000000u; break;
        default: break;
        }
        for (int i = 0; i < 4; ++i)
            strBlock[1 + i] = static_cast<char>(nStored >> (8 * i));
        if ((nBend & 8) && strBlock.size() > 6)
            strBlock.resize(5 + (strBlock.size() - 5) * (nBend >> 4) / 16);
        if ((nBend & 0x40) && strBlock.size() > 8)
            strBlock[strBlock.size() / 2 + 3] ^= static_cast<char>(nBend);
    }
    if (nBend & 0x80)
        QelMasterXMLInterface::SetMaxDocumentSize(strText.size() / 2);
    QelMasterXMLInterface x;
    x.LoadDataFromMemory(&strBlock[0], static_cast<unsigned int>(strBlock.size()));
    QelMasterXMLInterface::SetMaxDocumentSize(1ull << 30);
    if (!x.IsValid())
        return 0;
    volatile size_t n = QelFuzzWalk(x);
    n = n + QelFuzzCheckRoundTrip(x);
    return 0;
}
