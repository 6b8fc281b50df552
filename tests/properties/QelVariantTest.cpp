#include "qel/properties/QelVariant.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

TEST(QelVariant, ConstructorsPickTheTypeFromTheArgument)
{
    QelVariant real(2.5);
    EXPECT_EQ(real.GetDataType(), eDataReal);
    EXPECT_EQ(float(real), 2.5f);
    EXPECT_EQ(QelVariant(0.1).GetDataType(), eDataReal);
    EXPECT_EQ(float(QelVariant(0.1)), 0.1f); // narrowed to single precision

    QelVariant color(7u);
    EXPECT_EQ(color.GetDataType(), eDataColor);
    EXPECT_EQ(int(color), 0);
    EXPECT_EQ((unsigned int)color, 7u);
    EXPECT_EQ(QelVariant(7ul).GetDataType(), eDataColor);

    EXPECT_EQ(QelVariant(true).GetDataType(), eDataBoolean);
    EXPECT_EQ(QelVariant(-3).GetDataType(), eDataInteger);
    EXPECT_EQ(QelVariant(std::string("a")).GetDataType(), eDataString);
    EXPECT_EQ(QelVariant("literal").GetDataType(), eDataString);
    EXPECT_EQ(std::string(QelVariant("literal")), "literal");
    EXPECT_EQ(QelVariant().GetDataType(), eDataUninitialized);

    QelPropertyContainer* pContainer = reinterpret_cast<QelPropertyContainer*>(0x1000);
    QelVariant obj(pContainer);
    EXPECT_EQ(obj.GetDataType(), eDataContainerObject);
    EXPECT_TRUE(obj.IsObject());
    EXPECT_EQ((QelPropertyContainer*)obj, pContainer);
    EXPECT_EQ((QelDisplayObject*)obj, nullptr);
    EXPECT_EQ(QelVariant((QelInput*)nullptr).GetDataType(), eDataInputObject);
    EXPECT_EQ(QelVariant((QelManipulator*)nullptr).GetDataType(), eDataManipulatorObject);
    EXPECT_EQ(QelVariant((QelDisplaySystem*)nullptr).GetDataType(), eDataDisplaySystem);
}

TEST(QelVariant, EmptyValuesOfEachType)
{
    EXPECT_EQ((unsigned int)QelVariant(eDataColor), 0xFFFFFFFFu);
    EXPECT_EQ(bool(QelVariant(eDataBoolean)), false);
    EXPECT_EQ(int(QelVariant(eDataInteger)), 0);
    EXPECT_EQ(float(QelVariant(eDataReal)), 0.0f);
    EXPECT_EQ(std::string(QelVariant(eDataFolder)), "");
    EXPECT_TRUE(QelVariant(eDataFilename).IsString());
    EXPECT_EQ((QelDisplayObject*)QelVariant(eDataDisplayObject), nullptr);
    EXPECT_TRUE(QelVariant(eDataInteger).IsNumeric());
    EXPECT_FALSE(QelVariant(eDataColor).IsNumeric());
}

TEST(QelVariant, TextParsesAsSinglePrecisionNumber)
{
    QelVariant text(std::string(" -12.75e1"));
    EXPECT_EQ(float(text), -127.5f);
    EXPECT_EQ(int(text), -127);
    EXPECT_EQ(float(QelVariant("abc")), 0.0f);
    EXPECT_EQ(float(QelVariant("")), 0.0f);
    EXPECT_EQ(float(QelVariant("\t\r\n +3.5xyz")), 3.5f);
    EXPECT_EQ(float(QelVariant("2E-2")), 2.0f * std::pow(10.0f, -2.0f));
    EXPECT_EQ(QelVariant::ParseFloat(".5"), 0.5f);
    EXPECT_EQ(QelVariant::ParseFloat(nullptr), 0.0f);

    EXPECT_TRUE(bool(QelVariant("TRUE")));
    EXPECT_TRUE(bool(QelVariant("1")));
    EXPECT_FALSE(bool(QelVariant("yes")));
    EXPECT_FALSE(bool(QelVariant(" 1")));
    EXPECT_FALSE(bool(QelVariant(eDataColor)));
}

TEST(QelVariant, HugeNumbersSaturateInsteadOfOverflowingAnInt)
{
    QelCapture cap;
    EXPECT_EQ(int(QelVariant("1e999")), INT_MAX);
    EXPECT_EQ(int(QelVariant(-3.0e20)), INT_MIN);
    EXPECT_EQ(cap.Warnings(), 2u);
    EXPECT_EQ(cap.Messages()[0],
              "<warning> Value [inf] out of the integer range in QelVariant::ConvertToInt(), clamped to [2147483647]\n");
    EXPECT_EQ(float(QelVariant("1e-99999999999")), 0.0f);
}

TEST(QelVariant, ConversionsOfEachType)
{
    EXPECT_EQ(std::string(QelVariant(true)), "true");
    EXPECT_EQ(std::string(QelVariant(-4)), "-4");
    EXPECT_EQ(std::string(QelVariant(0.25f)), "0.25");
    EXPECT_EQ(std::string(QelVariant(1e7f)), "1e+07");
    EXPECT_EQ(std::string(QelVariant(5u)), "");
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
}

TEST(QelVariant, ConvertToInPlace)
{
    QelVariant v(-2.9);
    v.ConvertTo(eDataInteger);
    EXPECT_EQ(v.GetDataType(), eDataInteger);
    EXPECT_EQ(int(v), -2);

    QelVariant text("C:\\data");
    text.ConvertTo(eDataFolder);
    EXPECT_EQ(text.GetDataType(), eDataFolder);
    EXPECT_EQ(std::string(text), "C:\\data");
    text.ConvertTo(eDataReal);
    EXPECT_EQ(float(text), 0.0f);

    QelVariant color(0x11223344u);
    color.ConvertTo(eDataString);
    EXPECT_EQ(color.GetDataType(), eDataString);
    EXPECT_EQ(std::string(color), "");

    QelVariant flag("true");
    flag.ConvertTo(eDataBoolean);
    EXPECT_EQ(flag.GetDataType(), eDataBoolean);
    EXPECT_TRUE(bool(flag));

    // Leaving a string type to a non-converting type keeps no dangling text.
    QelVariant s("abc");
    s.ConvertTo(eDataDisplayObject);
    EXPECT_EQ(s.GetDataType(), eDataDisplayObject);
    EXPECT_EQ((QelDisplayObject*)s, nullptr);

    // SetDataType keeps the payload bits of non-string types.
    QelVariant bits(1.0f);
    bits.SetDataType(eDataColor);
    EXPECT_EQ((unsigned int)bits, 0x3F800000u);
    bits.SetDataType(eDataFilename);
    EXPECT_EQ(std::string(bits), "");
    bits.SetDataType(eDataFilename);
    EXPECT_TRUE(bits.IsString());
}

TEST(QelVariant, CopiesOwnTheirText)
{
    QelVariant a("source");
    QelVariant b(a);
    b = QelVariant("changed");
    EXPECT_EQ(std::string(a), "source");
    QelVariant c;
    c = a;
    c.Assign(QelVariant(4));
    EXPECT_EQ(int(c), 4);
    c.Assign(a);
    c.Assign(c);
    EXPECT_EQ(std::string(c), "source");
    QelVariant moved(std::move(c));
    EXPECT_EQ(std::string(moved), "source");
    std::vector<QelVariant> v;
    for (int i = 0; i < 50; ++i)
        v.push_back(QelVariant(std::to_string(i)));
    EXPECT_EQ(std::string(v[49]), "49");
}

TEST(QelVariant, ComparisonsNeedTheSameType)
{
    QelCapture cap;
    EXPECT_FALSE(QelVariant(1) == QelVariant(1.0f));
    EXPECT_TRUE(QelVariant(1) != QelVariant(1.0f));
    EXPECT_FALSE(QelVariant(1) < QelVariant(2.0f));
    EXPECT_FALSE(QelVariant(1) >= QelVariant(2.0f));
    EXPECT_EQ(cap.Messages().size(), 0u);

    EXPECT_TRUE(QelVariant(-1) < QelVariant(1));
    EXPECT_TRUE(QelVariant(0xFFFFFFFFu) > QelVariant(1u));
    EXPECT_TRUE(QelVariant("B") < QelVariant("a"));
    EXPECT_TRUE(QelVariant(false) < QelVariant(true));
    EXPECT_TRUE(QelVariant(2.5f) <= QelVariant(2.5f));
    EXPECT_TRUE(QelVariant(2.5f) >= QelVariant(2.5f));
    EXPECT_TRUE(QelVariant("x") == QelVariant("x"));
    EXPECT_TRUE((QelVariant((QelInput*)nullptr) == QelVariant((QelInput*)nullptr)));

    EXPECT_FALSE(QelVariant() == QelVariant());
    EXPECT_TRUE(QelVariant() != QelVariant());
    EXPECT_FALSE(QelVariant(eDataInterpColor) < QelVariant(eDataInterpColor));
    EXPECT_FALSE(QelVariant() > QelVariant());
    EXPECT_FALSE(QelVariant() <= QelVariant());
    EXPECT_FALSE(QelVariant() >= QelVariant());
    std::vector<std::string> expected = {
        "<error> Unknown type [0] in QelVariant::operator==()\n",
        "<error> Unknown type [0] in QelVariant::operator==()\n",
        "<error> Unknown type [10] in QelVariant::operator<()\n",
        "<error> Unknown type [0] in QelVariant::operator>()\n",
        "<error> Unknown type [0] in QelVariant::operator<=()\n",
        "<error> Unknown type [0] in QelVariant::operator>=()\n"};
    EXPECT_EQ(cap.Messages(), expected);
}

TEST(QelVariant, FromAutomationValues)
{
    QelCapture cap;
    QelVariant empty{QelAutomationVariant()};
    EXPECT_EQ(empty.GetDataType(), eDataInteger);
    EXPECT_EQ(int(empty), 0);
    EXPECT_EQ(int(QelVariant(QelAutomationVariant::MakeI4(-9))), -9);
    EXPECT_EQ(QelVariant(QelAutomationVariant::MakeInt(4)).GetDataType(), eDataInteger);
    QelVariant r8(QelAutomationVariant::MakeR8(0.1));
    EXPECT_EQ(r8.GetDataType(), eDataReal);
    EXPECT_EQ(float(r8), 0.1f);
    EXPECT_EQ(float(QelVariant(QelAutomationVariant::MakeR4(2.5f))), 2.5f);
    QelVariant text(QelAutomationVariant::MakeWide(L"Gr\u00FC\u00DFe \u20AC"));
    EXPECT_EQ(text.GetDataType(), eDataString);
    EXPECT_EQ(std::string(text), "Gr\xC3\xBC\xC3\x9F" "e \xE2\x82\xAC");
    QelVariant flag(QelAutomationVariant::MakeBool(true));
    EXPECT_EQ(flag.GetDataType(), eDataBoolean);
    EXPECT_TRUE(bool(flag));
    QelVariant color(QelAutomationVariant::MakeUI4(0x80FF0000u));
    EXPECT_EQ(color.GetDataType(), eDataColor);
    EXPECT_EQ((unsigned int)color, 0x80FF0000u);
    EXPECT_EQ(cap.Messages().size(), 0u);

    QelVariant unknown{QelAutomationVariant(9)};
    EXPECT_EQ(unknown.GetDataType(), eDataUninitialized);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0],
              "<error> Unknown variant type [9] used in QelVariant::QelVariant(const _variant_t& varVariant)\n");
}

TEST(QelVariant, ToAutomationValues)
{
    QelCapture cap;
    QelAutomationVariant r = QelVariant(0.5f);
    EXPECT_EQ(r.GetType(), eVtR8);
    EXPECT_EQ(r.GetR8(), 0.5);
    EXPECT_EQ(QelVariant(3).GetAsWindowsVariant().GetType(), eVtInt);
    EXPECT_EQ(QelVariant(3).GetAsWindowsVariant().GetInt(), 3);
    EXPECT_EQ(QelVariant(5u).GetAsWindowsVariant().GetType(), eVtUI4);
    EXPECT_EQ(QelVariant(true).GetAsWindowsVariant().GetBoolValue(), -1);
    EXPECT_EQ(QelVariant(false).GetAsWindowsVariant().GetBoolValue(), 0);
    QelAutomationVariant text = QelVariant(eDataFilename).GetAsWindowsVariant();
    EXPECT_EQ(text.GetType(), eVtBstr);
    EXPECT_EQ(QelVariant("\xE2\x82\xAC").GetAsWindowsVariant().GetWide(), std::wstring(L"\u20AC"));
    QelAutomationVariant obj = QelVariant(reinterpret_cast<QelDisplayObject*>(0x10)).GetAsWindowsVariant();
    EXPECT_EQ(obj.GetType(), eVtBool);
    EXPECT_EQ(obj.GetBoolValue(), -1);
    EXPECT_EQ(QelVariant((QelManipulator*)nullptr).GetAsWindowsVariant().GetBoolValue(), 0);
    EXPECT_EQ(cap.Messages().size(), 0u);

    EXPECT_EQ(QelVariant(eDataInterpColor).GetAsWindowsVariant().GetType(), eVtEmpty);
    EXPECT_EQ(QelVariant().GetAsWindowsVariant().GetType(), eVtEmpty);
    QelVariant odd(eDataInteger);
    odd.SetDataType(QelDataType(12));
    EXPECT_EQ(odd.GetAsWindowsVariant().GetType(), eVtEmpty);
    std::vector<std::string> expected = {
        "<warning> Unknown type [Interpolated Color] found in QelVariant::GetAsWindowsVariant()\n",
        "<warning> Unknown type [Uninitialized] found in QelVariant::GetAsWindowsVariant()\n",
        "<warning> Unknown type [Unknown] found in QelVariant::GetAsWindowsVariant()\n"};
    EXPECT_EQ(cap.Messages(), expected);
}

TEST(QelAutomationVariant, TextAndTypeChanges)
{
    // Bad UTF-8 becomes replacement characters rather than being dropped or read past the end.
    std::wstring w = QelAutomationVariant::Utf8ToWide("a\xFF\xE2\x82");
    EXPECT_EQ(w, std::wstring(L"a\uFFFD\uFFFD\uFFFD"));
    EXPECT_EQ(QelAutomationVariant::WideToUtf8(L"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(QelAutomationVariant::Utf8ToWide("\xF0\x9F\x98\x80"), std::wstring(L"\U0001F600"));
    EXPECT_EQ(QelAutomationVariant::Utf8ToWide("\xC0\x80"), std::wstring(L"\uFFFD\uFFFD")); // overlong

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
