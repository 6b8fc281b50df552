// Automation values with arbitrary wide text (any 32-bit code units: surrogates, values past
// U+10FFFF, zeros) and arbitrary numbers, converted to variants and back, and through every
// ChangeType. Text must survive UTF-8 and back once it is valid.
#include "qel/platform/QelAutomationVariant.h"
#include "qel/properties/QelVariant.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace
{
const unsigned short kTypes[] = {eVtEmpty, eVtI4, eVtR4, eVtR8, eVtBstr, eVtBool, eVtUI4, eVtInt, 1, 9, 0xFFFF};
volatile size_t s_nSink;
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    std::wstring strWide;
    for (size_t i = 0; i + sizeof(wchar_t) <= nSize; i += sizeof(wchar_t))
    {
        wchar_t c;
        std::memcpy(&c, pData + i, sizeof(c));
        strWide += c;
    }
    const std::string strUtf8 = QelAutomationVariant::WideToUtf8(strWide);
    // Valid UTF-8 comes back unchanged through wide text.
    const std::wstring strAgain = QelAutomationVariant::Utf8ToWide(strUtf8);
    if (QelAutomationVariant::WideToUtf8(strAgain) != strUtf8)
        std::abort();
    const std::string strBytes(reinterpret_cast<const char*>(pData), nSize);
    s_nSink = QelAutomationVariant::Utf8ToWide(strBytes).size();

    double f = 0.0;
    std::memcpy(&f, pData, nSize < sizeof(f) ? nSize : sizeof(f));
    const QelAutomationVariant values[] = {QelAutomationVariant::MakeWide(strWide),
                                           QelAutomationVariant::MakeText(strBytes),
                                           QelAutomationVariant::MakeR8(f),
                                           QelAutomationVariant::MakeR4(float(f)),
                                           QelAutomationVariant::MakeI4(int32_t(nSize * 2654435761u)),
                                           QelAutomationVariant::MakeBool(nSize & 1),
                                           QelAutomationVariant::MakeUI4(uint32_t(nSize)),
                                           QelAutomationVariant(nSize ? pData[0] : 0)};
    for (const QelAutomationVariant& v : values)
    {
        QelVariant var(v);
        s_nSink = std::string(var).size() + size_t(int(var)) + size_t(float(var) > 0.0f);
        QelAutomationVariant back = var.GetAsWindowsVariant();
        s_nSink = back.GetText().size() + back.GetType();
        for (unsigned short nType : kTypes)
        {
            QelAutomationVariant c = v;
            if (!c.ChangeType(nType) && (c.GetType() != v.GetType()))
                std::abort(); // a refused change leaves the value alone
            s_nSink = QelVariant(c).GetDataType();
        }
    }
    return 0;
}
