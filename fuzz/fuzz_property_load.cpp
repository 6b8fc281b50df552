// Feeds arbitrary bytes as an XML document to QelPropertyContainer::LoadProperties, for a container
// with one saved property of every type that carries a value, then saves and loads the result again.
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelVariant.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <cstdint>
#include <string>

namespace
{
class Target : public QelPropertyContainer
{
public:
    Target()
    {
        for (QelDataType e : {eDataBoolean, eDataInteger, eDataReal, eDataString, eDataFilename, eDataFolder,
                              eDataColor, eDataInterpColor, eDataContainerObject})
            CreateProperty(QelVariant::GetDataTypeName(e), e);
        GetProperty("Real")->SetClamp(-10.0, 10.0);
    }
};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp app;
    QelMasterXMLInterface x;
    if (!x.LoadDataFromString(std::string(reinterpret_cast<const char*>(pData), nSize)))
        return 0;
    Target t;
    t.LoadProperties(x);
    QelMasterXMLInterface y;
    y.NewData("Target", "");
    t.SaveProperties(y);
    Target u;
    u.LoadProperties(y);
    return 0;
}
