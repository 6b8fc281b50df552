#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <limits>

namespace
{
class Lamp : public QelPropertyContainer
{
public:
    Lamp()
    {
        SetName("Lamp01");
        m_pOn = CreateProperty("On", eDataBoolean);
        m_pCount = CreateProperty("Bulb count", eDataInteger);
        m_pLevel = CreateProperty("Level", eDataReal);
        m_pLabel = CreateProperty("Label", eDataString);
        m_pFile = CreateProperty("Texture:File", eDataFilename);
        m_pTint = CreateProperty("Tint", eDataColor);
        m_pScratch = CreateProperty("Scratch", eDataReal, false);
    }
    QelProperty *m_pOn, *m_pCount, *m_pLevel, *m_pLabel, *m_pFile, *m_pTint, *m_pScratch;
};

std::string Save(Lamp& lamp)
{
    QelMasterXMLInterface x;
    x.NewData("Lamp", "");
    EXPECT_TRUE(lamp.SaveProperties(x));
    return x.SaveDataToString();
}

bool Load(Lamp& lamp, const std::string& strText)
{
    QelMasterXMLInterface x;
    EXPECT_TRUE(x.LoadDataFromString(strText));
    return lamp.LoadProperties(x);
}

uint32_t Bits(float f)
{
    uint32_t n;
    std::memcpy(&n, &f, sizeof(n));
    return n;
}
} // namespace

TEST(QelPropertyContainerSave, SavedPropertiesReadBackBitForBit)
{
    QelCapture cap;
    const float aReals[] = {0.1f, 1.0f / 3.0f, -FLT_MIN, FLT_TRUE_MIN, FLT_MAX, 16777217.0f, -0.0f,
                            std::numeric_limits<float>::infinity()};
    for (float f : aReals)
    {
        SCOPED_TRACE(testing::Message() << "real " << f);
        Lamp a, b;
        a.m_pOn->SetAsBool(true);
        a.m_pCount->SetAsInt(-2147483647);
        a.m_pLevel->SetAsFloat(f);
        a.m_pLabel->SetAsString("  two  words & <tags> \"quoted\" ");
        a.m_pFile->SetAsString("C:\\lamps\\b\xC3\xA9t.png");
        a.m_pTint->SetAsColor(QelPackedColor(0xFF8000C0u));
        a.m_pScratch->SetAsFloat(5.0f);
        EXPECT_TRUE(Load(b, Save(a)));
        EXPECT_TRUE(b.m_pOn->GetAsBool());
        EXPECT_EQ(b.m_pCount->GetAsInt(), -2147483647);
        EXPECT_EQ(Bits(b.m_pLevel->GetAsFloat()), Bits(f));
        EXPECT_EQ(b.m_pLabel->GetAsString(), a.m_pLabel->GetAsString());
        EXPECT_EQ(b.m_pFile->GetAsString(), a.m_pFile->GetAsString());
        EXPECT_EQ(b.m_pTint->GetAsColor(), 0xFF8000C0u);
        EXPECT_EQ(b.m_pScratch->GetAsFloat(), 0.0f); // not marked for saving
    }
    // NaN comes back as NaN.
    Lamp a, b;
    a.m_pLevel->SetAsFloat(std::numeric_limits<float>::quiet_NaN());
    Load(b, Save(a));
    EXPECT_TRUE(std::isnan(b.m_pLevel->GetAsFloat()));
    EXPECT_EQ(cap.Warnings(), 0u);
}

TEST(QelPropertyContainerSave, UnknownMistypedAndUnreadableEntriesAreSkippedWithAWarning)
{
    struct Row
    {
        const char* pName;
        const char* pEntry;
        const char* pWarning;
    };
    const Row rows[] = {
        {"unknown name", "<Property Name=\"Glow\" Type=\"4\"><Value>1</Value></Property>",
         "<warning> Lamp01 - No property [Glow] is saved with this object; its saved value is skipped\n"},
        {"not marked for saving", "<Property Name=\"Scratch\" Type=\"4\"><Value>1</Value></Property>",
         "<warning> Lamp01 - No property [Scratch] is saved with this object; its saved value is skipped\n"},
        {"other type", "<Property Name=\"Level\" Type=\"3\"><Value>1</Value></Property>",
         "<warning> Lamp01 - Property [Level] was saved as [Integer] but is of type [Real]; its saved value is "
         "skipped\n"},
        {"not a number", "<Property Name=\"Level\" Type=\"4\"><Value>1.5x</Value></Property>",
         "<warning> Lamp01 - Saved value [1.5x] of property [Level] is no Real; it is skipped\n"},
        {"integer too large", "<Property Name=\"Bulb count\" Type=\"3\"><Value>2147483648</Value></Property>",
         "<warning> Lamp01 - Saved value [2147483648] of property [Bulb count] is no Integer; it is skipped\n"},
        {"negative color", "<Property Name=\"Tint\" Type=\"9\"><Value>-1</Value></Property>",
         "<warning> Lamp01 - Saved value [-1] of property [Tint] is no Color; it is skipped\n"},
        {"boolean word", "<Property Name=\"On\" Type=\"2\"><Value>yes</Value></Property>",
         "<warning> Lamp01 - Saved value [yes] of property [On] is no Boolean; it is skipped\n"},
    };
    for (const Row& r : rows)
    {
        SCOPED_TRACE(r.pName);
        QelCapture cap;
        Lamp lamp;
        lamp.m_pLevel->SetAsFloat(7.0f);
        const std::string strDoc = std::string("<Lamp><Other/>") + r.pEntry +
                                   "<Property Name=\"Label\" Type=\"6\"><Value>kept</Value></Property></Lamp>";
        EXPECT_FALSE(Load(lamp, strDoc));
        ASSERT_EQ(cap.Messages().size(), 1u);
        EXPECT_EQ(cap.Messages()[0], r.pWarning);
        EXPECT_EQ(lamp.m_pLevel->GetAsFloat(), 7.0f);
        EXPECT_EQ(lamp.m_pLabel->GetAsString(), "kept"); // the rest still loads
    }
}
