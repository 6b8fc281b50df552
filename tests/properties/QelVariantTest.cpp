#include "qel/properties/QelVariant.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <utility>
#include <vector>

typedef std::vector<std::string> Texts;

TEST(QelVariant, ConstructionPicksTheTypeAndItsEmptyValue)
{
    QelPropertyContainer* pContainer = reinterpret_cast<QelPropertyContainer*>(0x1000);
    const std::pair<QelVariant, QelDataType> aTypes[] = {
        {QelVariant(2.5), eDataReal}, {QelVariant(7u), eDataColor}, {QelVariant(7ul), eDataColor},
        {QelVariant(true), eDataBoolean}, {QelVariant(-3), eDataInteger}, {QelVariant("literal"), eDataString},
        {QelVariant(std::string("a")), eDataString}, {QelVariant(), eDataUninitialized},
        {QelVariant(pContainer), eDataContainerObject}, {QelVariant((QelInput*)nullptr), eDataInputObject},
        {QelVariant((QelDisplayObject*)nullptr), eDataDisplayObject},
        {QelVariant((QelManipulator*)nullptr), eDataManipulatorObject},
        {QelVariant((QelDisplaySystem*)nullptr), eDataDisplaySystem}};
    for (const auto& c : aTypes)
        EXPECT_EQ(c.first.GetDataType(), c.second) << int(c.second);

    EXPECT_EQ(float(QelVariant(0.1)), 0.1f); // a double is narrowed to single precision
    QelVariant color(7u);
    EXPECT_EQ(int(color), 0);
    EXPECT_EQ((unsigned int)color, 7u);
    QelVariant obj(pContainer);
    EXPECT_TRUE(obj.IsObject());
    EXPECT_EQ((QelPropertyContainer*)obj, pContainer);
    EXPECT_EQ((QelDisplayObject*)obj, nullptr);

    EXPECT_EQ((unsigned int)QelVariant(eDataColor), 0xFFFFFFFFu);
    EXPECT_EQ(std::string(QelVariant(eDataFolder)), "");
    EXPECT_TRUE(QelVariant(eDataFilename).IsString());
    EXPECT_TRUE(QelVariant(eDataInteger).IsNumeric());
    EXPECT_FALSE(QelVariant(eDataColor).IsNumeric());
}

TEST(QelVariant, TextParsesAsSinglePrecisionNumberAndHugeValuesSaturate)
{
    const std::pair<const char*, float> aNumbers[] = {
        {" -12.75e1", -127.5f}, {"abc", 0.0f},     {"", 0.0f},           {"\t\r\n +3.5xyz", 3.5f},
        {".5", 0.5f},           {"2E-2", 2.0f * std::pow(10.0f, -2.0f)}, {"1e-99999999999", 0.0f}};
    for (const auto& c : aNumbers)
        EXPECT_EQ(float(QelVariant(c.first)), c.second) << c.first;
    EXPECT_EQ(int(QelVariant(" -12.75e1")), -127);
    EXPECT_EQ(QelVariant::ParseFloat(nullptr), 0.0f);
    EXPECT_TRUE(bool(QelVariant("TRUE")) && bool(QelVariant("1")));
    EXPECT_FALSE(bool(QelVariant("yes")) || bool(QelVariant(" 1")) || bool(QelVariant(eDataColor)));

    QelCapture cap;
    EXPECT_EQ(int(QelVariant("1e999")), INT_MAX);
    EXPECT_EQ(int(QelVariant(-3.0e20)), INT_MIN);
    EXPECT_EQ(cap.Warnings(), 2u);
    EXPECT_EQ(cap.Messages()[0],
              "<warning> Value [inf] out of the integer range in QelVariant::ConvertToInt(), clamped to [2147483647]\n");
}

TEST(QelVariant, ConversionsOfEachType)
{
    const std::pair<QelVariant, const char*> aTexts[] = {
        {QelVariant(true), "true"}, {QelVariant(-4), "-4"}, {QelVariant(0.25f), "0.25"},
        {QelVariant(1e7f), "1e+07"}, {QelVariant(5u), ""}};
    for (const auto& c : aTexts)
        EXPECT_EQ(std::string(c.first), c.second);
    EXPECT_EQ(int(QelVariant(true)), 1);
    EXPECT_EQ(int(QelVariant(-2.9f)), -2);
    EXPECT_EQ(float(QelVariant(7)), 7.0f);
    EXPECT_EQ(float(QelVariant(5u)), 0.0f);
    EXPECT_EQ((unsigned int)QelVariant(-1), 0xFFFFFFFFu);
    EXPECT_EQ((unsigned int)QelVariant(3.7f), 3u);
    EXPECT_EQ(short(QelVariant(70000)), short(70000 - 65536));
    EXPECT_EQ((unsigned short)QelVariant(-1), 0xFFFFu);
    EXPECT_EQ(double(QelVariant(1.5f)), 1.5);
    EXPECT_EQ(QelVariant(3).ConvertToColor(), 0xFFFFFFFFu);

    // In place: the value converted, then the type set.
    struct
    {
        QelVariant cFrom;
        QelDataType eTo;
        const char* pText;
    } aInPlace[] = {{QelVariant(-2.9), eDataInteger, "-2"},   {QelVariant("C:\\data"), eDataFolder, "C:\\data"},
                    {QelVariant("C:\\x"), eDataReal, "0"},    {QelVariant(0x11223344u), eDataString, ""},
                    {QelVariant("true"), eDataBoolean, "true"}, {QelVariant("abc"), eDataDisplayObject, ""}};
    for (auto& c : aInPlace)
    {
        c.cFrom.ConvertTo(c.eTo);
        EXPECT_EQ(c.cFrom.GetDataType(), c.eTo);
        EXPECT_EQ(std::string(c.cFrom), c.pText) << c.pText;
    }
    EXPECT_EQ((QelDisplayObject*)aInPlace[5].cFrom, nullptr); // no dangling text pointer left as an object
    // SetDataType keeps the payload bits of non-string types.
    QelVariant bits(1.0f);
    bits.SetDataType(eDataColor);
    EXPECT_EQ((unsigned int)bits, 0x3F800000u);
    bits.SetDataType(eDataFilename);
    bits.SetDataType(eDataFilename);
    EXPECT_EQ(std::string(bits), "");
}

TEST(QelVariant, CopiesOwnTheirText)
{
    QelVariant a("source");
    QelVariant b(a);
    b = QelVariant("changed");
    EXPECT_EQ(std::string(a), "source");
    QelVariant c(4);
    c = b;
    c.Assign(a);
    c.Assign(c);
    EXPECT_EQ(std::string(c), "source");
    QelVariant moved(std::move(c));
    EXPECT_EQ(std::string(moved), "source");
    std::vector<QelVariant> v(40, a); // reallocations copy or move every text
    v.push_back(QelVariant("last"));
    EXPECT_EQ(std::string(v[39]), "source");
}

TEST(QelVariant, ComparisonsNeedTheSameType)
{
    QelCapture cap;
    EXPECT_FALSE(QelVariant(1) == QelVariant(1.0f));
    EXPECT_TRUE(QelVariant(1) != QelVariant(1.0f));
    EXPECT_FALSE(QelVariant(1) < QelVariant(2.0f));
    EXPECT_FALSE(QelVariant(1) >= QelVariant(2.0f));
    EXPECT_EQ(cap.Messages().size(), 0u);

    const std::pair<QelVariant, QelVariant> aOrdered[] = {
        {QelVariant(-1), QelVariant(1)},     {QelVariant(1u), QelVariant(0xFFFFFFFFu)},
        {QelVariant("B"), QelVariant("a")},  {QelVariant(false), QelVariant(true)},
        {QelVariant(2.5f), QelVariant(3.0f)}, {QelVariant((QelInput*)nullptr), QelVariant((QelInput*)0x10)}};
    for (const auto& c : aOrdered)
    {
        EXPECT_TRUE(c.first < c.second && c.second > c.first && c.first <= c.second && c.second >= c.first);
        EXPECT_TRUE(c.first == c.first && c.first != c.second && c.first >= c.first && !(c.second < c.first));
    }
    EXPECT_FALSE(QelVariant() == QelVariant());
    EXPECT_TRUE(QelVariant() != QelVariant());
    EXPECT_FALSE(QelVariant(eDataInterpColor) < QelVariant(eDataInterpColor));
    EXPECT_FALSE(QelVariant() > QelVariant());
    EXPECT_FALSE(QelVariant() <= QelVariant());
    EXPECT_FALSE(QelVariant() >= QelVariant());
    EXPECT_EQ(cap.Messages(), (Texts{"<error> Unknown type [0] in QelVariant::operator==()\n",
                                     "<error> Unknown type [0] in QelVariant::operator==()\n",
                                     "<error> Unknown type [10] in QelVariant::operator<()\n",
                                     "<error> Unknown type [0] in QelVariant::operator>()\n",
                                     "<error> Unknown type [0] in QelVariant::operator<=()\n",
                                     "<error> Unknown type [0] in QelVariant::operator>=()\n"}));
}

TEST(QelVariant, AutomationValuesBothWays)
{
    QelCapture cap;
    QelVariant empty{QelAutomationVariant()};
    EXPECT_TRUE(empty == QelVariant(0));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeI4(-9)) == QelVariant(-9));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeInt(4)) == QelVariant(4));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeR8(0.1)) == QelVariant(0.1f));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeR4(2.5f)) == QelVariant(2.5f));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeWide(L"Gr\u00FC\u00DFe \u20AC")) ==
                QelVariant("Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC"));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeBool(true)) == QelVariant(true));
    EXPECT_TRUE(QelVariant(QelAutomationVariant::MakeUI4(0x80FF0000u)) == QelVariant(0x80FF0000u));

    QelAutomationVariant r = QelVariant(0.5f);
    EXPECT_EQ(r.GetType(), eVtR8);
    EXPECT_EQ(r.GetR8(), 0.5);
    EXPECT_EQ(QelVariant(3).GetAsWindowsVariant().GetType(), eVtInt);
    EXPECT_EQ(QelVariant(3).GetAsWindowsVariant().GetInt(), 3);
    EXPECT_EQ(QelVariant(5u).GetAsWindowsVariant().GetType(), eVtUI4);
    EXPECT_EQ(QelVariant(true).GetAsWindowsVariant().GetBoolValue(), -1);
    EXPECT_EQ(QelVariant(false).GetAsWindowsVariant().GetBoolValue(), 0);
    EXPECT_EQ(QelVariant(eDataFilename).GetAsWindowsVariant().GetType(), eVtBstr);
    EXPECT_EQ(QelVariant("\xE2\x82\xAC").GetAsWindowsVariant().GetWide(), std::wstring(L"\u20AC"));
    QelAutomationVariant obj = QelVariant(reinterpret_cast<QelDisplayObject*>(0x10)).GetAsWindowsVariant();
    EXPECT_EQ(obj.GetType(), eVtBool);
    EXPECT_EQ(obj.GetBoolValue(), -1);
    EXPECT_EQ(QelVariant((QelManipulator*)nullptr).GetAsWindowsVariant().GetBoolValue(), 0);
    EXPECT_EQ(cap.Messages().size(), 0u);

    EXPECT_EQ(QelVariant(QelAutomationVariant(9)).GetDataType(), eDataUninitialized);
    EXPECT_EQ(QelVariant(eDataInterpColor).GetAsWindowsVariant().GetType(), eVtEmpty);
    EXPECT_EQ(QelVariant().GetAsWindowsVariant().GetType(), eVtEmpty);
    QelVariant odd(eDataInteger);
    odd.SetDataType(QelDataType(12));
    EXPECT_EQ(odd.GetAsWindowsVariant().GetType(), eVtEmpty);
    EXPECT_EQ(cap.Messages(),
              (Texts{"<error> Unknown variant type [9] used in QelVariant::QelVariant(const _variant_t& varVariant)\n",
                     "<warning> Unknown type [Interpolated Color] found in QelVariant::GetAsWindowsVariant()\n",
                     "<warning> Unknown type [Uninitialized] found in QelVariant::GetAsWindowsVariant()\n",
                     "<warning> Unknown type [Unknown] found in QelVariant::GetAsWindowsVariant()\n"}));
}

TEST(QelAutomationVariant, TextAndTypeChanges)
{
    // Bad UTF-8 becomes replacement characters rather than being dropped or read past the end.
    EXPECT_EQ(QelAutomationVariant::Utf8ToWide("a\xFF\xE2\x82"), std::wstring(L"a\uFFFD\uFFFD\uFFFD"));
    EXPECT_EQ(QelAutomationVariant::Utf8ToWide("\xC0\x80"), std::wstring(L"\uFFFD\uFFFD")); // overlong
    EXPECT_EQ(QelAutomationVariant::WideToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(QelAutomationVariant::Utf8ToWide("\xF0\x9F\x98\x80"), std::wstring(L"\U0001F600"));

    QelAutomationVariant v = QelAutomationVariant::MakeR8(2.5);
    EXPECT_TRUE(v.ChangeType(eVtInt));
    EXPECT_EQ(v.GetInt(), 2); // rounds half to even
    QelAutomationVariant big = QelAutomationVariant::MakeR8(1e300);
    EXPECT_FALSE(big.ChangeType(eVtInt));
    EXPECT_EQ(big.GetType(), eVtR8);
    QelAutomationVariant t = QelAutomationVariant::MakeText("x");
    EXPECT_FALSE(t.ChangeType(eVtInt));
    EXPECT_EQ(t.GetText(), "x");
}
