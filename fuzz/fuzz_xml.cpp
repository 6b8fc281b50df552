// Feeds arbitrary bytes to the XML loaders and walks whatever loads. The first byte picks the
// loader (string, plain memory block, or the rest wrapped as a compressed block) and what the walk
// does; the rest is the input.
#include "fuzz/support/QelFuzzXML.h"
#include "qel/framework/QelSysApp.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
using SilentApp = QelSilentApp;

volatile size_t s_nSink;

/// Reads everything the cursor offers at its node, under names taken from the node itself.
size_t ReadHere(QelMasterXMLInterface& x)
{
    size_t n = x.GetNodeName().size() + x.GetNodeContent().size() + x.GetLineNumber() + x.GetNumChildNodes();
    std::string strChild;
    if (x.PushPosition())
    {
        if (x.MoveToFirstChildNode())
            strChild = x.GetNodeName();
        x.PopPosition();
    }
    for (const std::string& strName : {strChild, std::string("a"), std::string("p:a")})
    {
        n += x.ReadBool(strName, true) + static_cast<size_t>(x.ReadInt(strName, 1)) +
             static_cast<size_t>(x.ReadChar(strName, 'c')) + (x.ReadFloat(strName, 0.5f) > 1.0f) +
             (x.ReadDouble(strName, 0.25) > 1.0) + x.ReadString(strName, "d").size();
        char buf[8];
        n += x.ReadData(strName, buf, sizeof(buf));
        std::vector<char> vec(3, 'v');
        n += x.ReadData(strName, vec) + vec.size();
        n += x.ReadStringAttribute(strName, "").size() + static_cast<size_t>(x.ReadIntAttribute(strName, 2)) +
             (x.ReadFloatAttribute(strName, 1.5f) > 1.0f) + x.ReadBoolAttribute(strName, false);
    }
    return n;
}

/// Depth-first walk over the elements, bounded so that huge inputs stay quick.
size_t Walk(QelMasterXMLInterface& x, uint8_t nMode)
{
    size_t n = 0;
    int nBudget = 2000;
    x.MoveToRootNode();
    while (nBudget-- > 0)
    {
        n += ReadHere(x);
        if (x.MoveToFirstChildNode())
            continue;
        while (!x.MoveToNextSibling())
            if (!x.MoveToParent())
                return n;
        if ((nMode & 16) && nBudget % 7 == 0)
            x.MoveNodeBackward();
        if ((nMode & 32) && nBudget % 11 == 0)
        {
            x.MoveToPreviousSibling();
            x.RemoveNode();
        }
    }
    return n;
}

/// A compressed block of the bytes as zlib stored blocks: the inflate path without linking zlib here.
std::string Compressed(const uint8_t* pData, size_t nSize, uint32_t nStored)
{
    std::string str(1, '\x01');
    for (int i = 0; i < 4; ++i)
        str += static_cast<char>(nStored >> (8 * i));
    str += "\x78\x01";
    size_t nPos = 0;
    do
    {
        size_t nChunk = nSize - nPos < 65535 ? nSize - nPos : 65535;
        bool bLast = nPos + nChunk == nSize;
        str += static_cast<char>(bLast ? 1 : 0);
        str += static_cast<char>(nChunk & 0xFF);
        str += static_cast<char>(nChunk >> 8);
        str += static_cast<char>(~nChunk & 0xFF);
        str += static_cast<char>((~nChunk >> 8) & 0xFF);
        str.append(reinterpret_cast<const char*>(pData) + nPos, nChunk);
        nPos += nChunk;
    } while (nPos < nSize);
    uint32_t a = 1, b = 0;
    for (size_t i = 0; i < nSize; ++i)
    {
        a = (a + pData[i]) % 65521;
        b = (b + a) % 65521;
    }
    uint32_t nAdler = (b << 16) | a;
    for (int i = 3; i >= 0; --i)
        str += static_cast<char>(nAdler >> (8 * i));
    return str;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static SilentApp s_app;
    if (nSize < 1)
        return 0;
    const uint8_t nMode = pData[0];
    ++pData;
    --nSize;

    QelMasterXMLInterface x;
    switch (nMode & 3)
    {
    case 0:
        x.LoadDataFromString(std::string(reinterpret_cast<const char*>(pData), nSize));
        break;
    case 1:
    {
        // The memory loader takes a mutable block; give it a copy of exactly the input's size.
        std::unique_ptr<char[]> pBlock(new char[nSize ? nSize : 1]);
        if (nSize)
            std::memcpy(pBlock.get(), pData, nSize);
        x.LoadDataFromMemory(nSize ? pBlock.get() : nullptr, static_cast<unsigned int>(nSize));
        break;
    }
    default:
    {
        // A well-formed compressed block, with the true stored length or one bent by the mode.
        uint32_t nStored = static_cast<uint32_t>(nSize);
        if (nMode & 1)
            nStored += (nMode & 4) ? 1u : 0xFFFFFFFFu;
        std::string strBlock = Compressed(pData, nSize, nStored);
        if (!strBlock.empty())
            x.LoadDataFromMemory(&strBlock[0], static_cast<unsigned int>(strBlock.size()));
        break;
    }
    }
    if (!x.IsValid())
        return 0;

    size_t n = Walk(x, nMode);
    if (nMode & 8)
    {
        // Whatever loaded, even by recovering, saves and loads back in every storage form; a copy
        // into another document too.
        n += QelFuzzCheckRoundTrip(x);
        QelMasterXMLInterface copy;
        copy.NewData("copy", "fuzz");
        x.MoveToRootNode();
        copy.CopyNode(&x);
        n += QelFuzzCheckRoundTrip(copy);
    }
    s_nSink = n;
    return 0;
}
