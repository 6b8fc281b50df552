#pragma once
// Shared by the XML fuzz targets: walks a document, and checks that what the library saves loads
// back in every storage form. A failed check aborts, so libFuzzer keeps the input.

#include "qel/xml/QelMasterXMLInterface.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

/// Reads what the cursor offers at every element, with a bounded budget; returns a checksum.
inline size_t QelFuzzWalk(QelXMLInterface& x, int nBudget = 2000)
{
    size_t n = 0;
    x.MoveToRootNode();
    while (nBudget-- > 0)
    {
        n += x.GetNodeName().size() + x.GetNodeContent().size() + x.GetNumChildNodes();
        n += x.ReadString("a", "").size() + x.ReadStringAttribute("a", "").size() + size_t(x.ReadInt("a", 0));
        std::vector<char> vec;
        n += x.ReadData("a", vec) + vec.size();
        if (x.MoveToFirstChildNode())
            continue;
        while (!x.MoveToNextSibling())
            if (!x.MoveToParent())
                return n;
    }
    return n;
}

[[noreturn]] inline void QelFuzzFail(const char* pWhat)
{
    std::fprintf(stderr, "fuzz check failed: %s\n", pWhat);
    std::abort();
}

/// A scratch file of this process, removed when it goes.
struct QelFuzzTempFile
{
    std::string m_strPath;
    explicit QelFuzzTempFile(const char* pSuffix)
        : m_strPath("/tmp/qel_fuzz_" + std::to_string(::getpid()) + pSuffix)
    {
    }
    ~QelFuzzTempFile() { std::remove(m_strPath.c_str()); }
};

/// Saves x in every storage form and loads each back; every save must load. Returns a checksum.
/// A document loaded from the memory form must save to the same text again.
inline size_t QelFuzzCheckRoundTrip(QelMasterXMLInterface& x, bool bFiles = true)
{
    size_t n = 0;
    x.MoveToRootNode();
    for (int nForm = 0; bFiles && nForm < 2; ++nForm)
    {
        QelFuzzTempFile file(nForm ? ".xml.gz" : ".xml");
        if (!x.SaveDataToFile(file.m_strPath, nForm == 1))
            continue; // refused with a message (too deep)
        QelMasterXMLInterface y;
        if (!y.LoadDataFromFile(file.m_strPath))
            QelFuzzFail("a saved file does not load back");
        n += QelFuzzWalk(y, 200);
    }
    const std::string strText = x.SaveDataToString();
    if (!strText.empty())
    {
        QelMasterXMLInterface y;
        if (!y.LoadDataFromString(strText))
            QelFuzzFail("a saved string does not load back");
        n += QelFuzzWalk(y, 200);
    }
    for (bool bCompress : {false, true})
    {
        unsigned int nSize = 0;
        std::unique_ptr<char[]> pBlock(x.SaveDataToMemory(nSize, bCompress));
        if (!pBlock)
            continue;
        QelMasterXMLInterface y;
        y.LoadDataFromMemory(pBlock.get(), nSize);
        if (!y.IsValid())
            QelFuzzFail("a saved memory block does not load back");
        n += QelFuzzWalk(y, 200);
        if (bCompress)
            continue;
        // Loading may normalise (an empty text goes), but once loaded a document saves and loads
        // to itself.
        unsigned int nAgain = 0;
        std::unique_ptr<char[]> pAgain(y.SaveDataToMemory(nAgain, false));
        QelMasterXMLInterface z;
        if (pAgain)
            z.LoadDataFromMemory(pAgain.get(), nAgain);
        unsigned int nThird = 0;
        std::unique_ptr<char[]> pThird(z.SaveDataToMemory(nThird, false));
        if (!pAgain || !pThird || std::string(pAgain.get(), nAgain) != std::string(pThird.get(), nThird))
            QelFuzzFail("a reloaded memory block does not save to itself");
    }
    x.MoveToRootNode();
    return n;
}
