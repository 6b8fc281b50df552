// Feeds arbitrary bytes to the property system: the text is parsed as a variant in every type,
// round-tripped through the automation value, and used to drive clamped, enumerated and
// interpolated-color properties and a history. The first byte picks the target types.
#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelVariant.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <string>

namespace
{
using SilentApp = QelSilentApp;

volatile unsigned s_nSink;

const QelDataType kTypes[] = {eDataUninitialized, eDataBoolean, eDataInteger, eDataReal, eDataString,
                              eDataFilename, eDataFolder, eDataColor, eDataInterpColor, eDataContainerObject};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static SilentApp app;
    if (nSize == 0)
        return 0;
    const uint8_t nMode = pData[0];
    const std::string strText(reinterpret_cast<const char*>(pData + 1), nSize - 1);

    QelVariant text(strText);
    for (QelDataType eType : kTypes)
    {
        QelVariant v(text);
        v.ConvertTo(eType);
        s_nSink = unsigned(int(v)) + unsigned(bool(v)) + unsigned(float(v) == 0.0f) + unsigned(std::string(v).size());
        s_nSink = unsigned(v < text) + unsigned(v == QelVariant(eType));
        QelVariant back(v.GetAsWindowsVariant());
        s_nSink = unsigned(back.GetDataType());
    }
    QelVariant wide(QelAutomationVariant::MakeText(strText));
    s_nSink = unsigned(std::string(wide).size());

    QelPropertyContainer c;
    QelProperty* pEnum = c.CreateProperty("Enum", eDataInteger);
    pEnum->SetEnumerationNames({"a", "b", "c"}, (nMode & 0x10) ? std::vector<int>{4, 8} : std::vector<int>{});
    auto* pTint = static_cast<QelInterpColorProperty*>(c.CreateProperty("Tint", eDataInterpColor));
    // Made last: the fuzzed name may collide with the others, which is refused.
    QelProperty* pNumber = c.CreateProperty(strText, kTypes[nMode % 10]);
    if (pNumber)
    {
        pNumber->SetClamp(double(text.ConvertToFloat()), double(nMode) - 100.0);
        pNumber->DriveByValue(text, true);
        pNumber->SetAsInt(int(text));
        pNumber->SetName(strText + strText);
        s_nSink = unsigned(pNumber->GetAsFloat() > 0.0f);
        pNumber->History().FastAppend(text);
        s_nSink = unsigned(pNumber->History().FastComplete()) + unsigned(pNumber->History().CheckOrdering());
    }
    pEnum->SetAsInt(int(text));
    pTint->SetValue(float(text));
    pTint->SetLowColor(QelPackedColor(unsigned(text.ConvertToInt())));
    s_nSink = unsigned(pTint->GetAsColor());
    if (nMode & 0x20)
        c.DeleteProperty(pTint->GetValueProperty());
    if (nMode & 0x40)
        c.DeleteProperty(pNumber);
    s_nSink = unsigned(pTint->GetAsColor());
    return 0;
}
