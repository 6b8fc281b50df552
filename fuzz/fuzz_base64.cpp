// Base64 both ways through the document: bytes written with WriteData read back exactly, and any
// text read with ReadData decodes into both buffer forms without touching memory it does not own.
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize == 0)
        return 0; // an empty block is an empty element, which reads as no data
    const char* p = reinterpret_cast<const char*>(pData);
    QelMasterXMLInterface x;
    x.NewData("r", "");
    // Bytes to text and back.
    if (!x.WriteData("bytes", p, static_cast<unsigned int>(nSize)))
        std::abort();
    std::vector<char> vec;
    if (!x.ReadData("bytes", vec) || vec.size() < nSize || std::memcmp(vec.data(), p, nSize) != 0)
        std::abort();
    std::unique_ptr<char[]> pBuffer(new char[nSize + 1]);
    if (!x.ReadData("bytes", pBuffer.get(), static_cast<unsigned int>(nSize)) || std::memcmp(pBuffer.get(), p, nSize))
        std::abort();
    // Any text as encoded data: decoded into buffers of every size up to its length and beyond.
    const std::string strText(p, nSize);
    x.WriteString("text", strText);
    std::vector<char> vecText(nSize % 7, 'k');
    x.ReadData("text", vecText);
    const std::string strStored = x.ReadString("text", "");
    for (unsigned int nWant : {0u, 1u, unsigned(strStored.size() / 2), unsigned(strStored.size()),
                               unsigned(strStored.size() + 1)})
    {
        std::unique_ptr<char[]> pOut(new char[nWant + 1]);
        const bool bRead = x.ReadData("text", pOut.get(), nWant);
        if (!strStored.empty() && bRead != (nWant <= strStored.size()))
            std::abort();
    }
    // What decodes re-encodes to the alphabet characters of the text.
    std::string strAlphabet;
    for (char c : strStored)
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '+' || c == '/')
            strAlphabet += c;
        else if (c == '\0')
            break;
    std::vector<char> vecDecoded;
    x.ReadData("text", vecDecoded);
    const size_t nBytes = strAlphabet.size() * 6 / 8;
    x.WriteData("again", vecDecoded.data(), static_cast<unsigned int>(nBytes));
    const std::string strAgain = x.ReadString("again", "");
    if (strAlphabet.size() % 4 != 1 && strAgain.compare(0, strAgain.size() - (strAgain.empty() ? 0 : 1),
                                                        strAlphabet, 0, strAgain.empty() ? 0 : strAgain.size() - 1))
        std::abort();
    return 0;
}
