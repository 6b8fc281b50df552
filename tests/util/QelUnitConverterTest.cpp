#include "qel/properties/QelVariant.h"
#include "qel/util/QelUnitConverter.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

typedef QelUnitConverter UC;

namespace
{
double Conv(double d, UC::EUnit eFrom, UC::EUnit eTo)
{
    double dResult = -12345.0;
    EXPECT_TRUE(UC::Convert(d, eFrom, dResult, eTo));
    return dResult;
}
} // namespace

TEST(QelUnitConverter, TablesGiveKindsAndTexts)
{
    const int aCount[] = {19, 9, 9, 4, 7, 11, 14, 13, 11, 5};
    int aSeen[11] = {};
    for (int i = 0; i < UC::eNumUnits; ++i)
    {
        UC::EUnitType e = UC::GetUnitType(UC::EUnit(i));
        ASSERT_LT(int(e), 10) << i;
        EXPECT_TRUE(i == 0 || e >= UC::GetUnitType(UC::EUnit(i - 1))) << "units are grouped by kind";
        ++aSeen[e];
        EXPECT_FALSE(UC::GetUnitString(UC::EUnit(i)).empty());
    }
    for (int k = 0; k < 10; ++k)
        EXPECT_EQ(aSeen[k], aCount[k]) << UC::GetUnitTypeString(UC::EUnitType(k));
    for (int i : {102, 200, -1})
        EXPECT_EQ(UC::GetUnitType(UC::EUnit(i)), UC::eUnknownUnitType);
    EXPECT_EQ(UC::GetUnitString(UC::eKilogramsForcePerSquareMeter), "Kilograms-Force per m^2");
    EXPECT_EQ(UC::GetUnitString(UC::ePoundsPerSquareInch), "Pounds/in^2 (psi)");
    EXPECT_EQ(UC::GetUnitString(UC::eKnotsPerHour), "Knots per hour");
    EXPECT_EQ(UC::GetUnitString(UC::eInchesPerSecondSquared), "Inches per second squared");
    EXPECT_EQ(UC::GetUnitString(UC::EUnit(102)), "Unknown");
    EXPECT_EQ(UC::GetUnitTypeString(UC::eAcceleration), "Acceleration");
    EXPECT_EQ(UC::GetUnitTypeString(UC::eUnknownUnitType), "Unknown");
}

TEST(QelUnitConverter, EveryKindConvertsOneWayAndBack)
{
    const struct
    {
        double dValue;
        UC::EUnit eFrom, eTo;
        double dExpected;
    } aCases[] = {
        {1, UC::eKilometers, UC::eMeters, 1000.0}, {12, UC::eInches, UC::eFeet, 1.0},
        {1, UC::eKilometersPerSecond, UC::eMetersPerSecond, 10000.0}, // kept as tabled
        {1, UC::eMilesPerHour, UC::eFeetPerSecond, 0.44704 / 0.3048}, {1, UC::eTonnes, UC::eKilograms, 1e6},
        {1, UC::eShortTons, UC::ePounds, 907.1847 / 0.4535924}, {2, UC::eHours, UC::eMinutes, 120.0},
        {180, UC::eDegrees, UC::eRadians, 180 * 0.01745329}, {1, UC::eQuarts, UC::eLiters, 946.3529}, // as tabled
        {1, UC::eStandardAtmospheres, UC::eKilopascals, 101.325}, {1, UC::eHectare, UC::eAre, 100.0},
        {1, UC::eAccelerationOfFreeFall, UC::eGalileo, 980.665},
        {100, UC::eCelsius, UC::eFahrenheit, 212.0}, {0, UC::eKelvin, UC::eRankine, 0.0}, // through kelvin
        {32, UC::eFahrenheit, UC::eKelvin, 273.15}, {0, UC::eCelsius, UC::eKelvin, 273.15},
        {-40, UC::eFahrenheit, UC::eCelsius, -40.0}, {491.67, UC::eRankine, UC::eCelsius, 0.0}};
    for (const auto& c : aCases)
    {
        double dTolerance = 1e-12 * std::max(1.0, std::fabs(c.dExpected));
        EXPECT_NEAR(Conv(c.dValue, c.eFrom, c.eTo), c.dExpected, dTolerance) << UC::GetUnitString(c.eFrom);
        EXPECT_NEAR(Conv(c.dExpected, c.eTo, c.eFrom), c.dValue, dTolerance) << UC::GetUnitString(c.eTo);
    }
    EXPECT_EQ(Conv(5, UC::eRevolutions, UC::eRadians), 0.0); // its factor is kept at 0.0

    // Every unit through the first unit of its kind and back restores the value.
    for (int i = 0; i < UC::eNumUnits; ++i)
    {
        int j = i;
        while (j > 0 && UC::GetUnitType(UC::EUnit(j - 1)) == UC::GetUnitType(UC::EUnit(i)))
            --j;
        if (i == UC::eRevolutions)
            continue;
        EXPECT_NEAR(Conv(Conv(37.5, UC::EUnit(i), UC::EUnit(j)), UC::EUnit(j), UC::EUnit(i)), 37.5, 1e-9) << i;
    }
}

TEST(QelUnitConverter, AMismatchOfKindsIsAnErrorAndWritesNothing)
{
    QelCapture cap;
    double dResult = 7.0;
    EXPECT_FALSE(UC::Convert(1.0, UC::eMeters, dResult, UC::eSeconds));
    EXPECT_FALSE(UC::Convert(1.0, UC::EUnit(150), dResult, UC::EUnit(150))); // unknown units, even alike
    EXPECT_EQ(dResult, 7.0);
    std::vector<double> vOut = {1, 2};
    EXPECT_FALSE(UC::ConvertArray({3, 4, 5}, UC::eCelsius, vOut, UC::eDays));
    EXPECT_EQ(vOut, (std::vector<double>{1, 2}));
    std::vector<QelVariant> vHistory = {QelVariant(1.0f)};
    EXPECT_FALSE(UC::ConvertHistory({QelVariant(3)}, UC::eCelsius, vHistory, UC::eMeters));
    EXPECT_TRUE(vHistory[0] == QelVariant(1.0f));
    EXPECT_EQ(cap.Messages(),
              (std::vector<std::string>{"<error>QelUnitConverter - cannot convert Meters (Length) to Seconds (Time)\n",
                                        "<error>QelUnitConverter - cannot convert Unknown (Unknown) to Unknown (Unknown)\n",
                                        "<error>QelUnitConverter - cannot convert Celsius (Temperature) to Days (Time)\n",
                                        "<error>QelUnitConverter - cannot convert Celsius (Temperature) to Meters "
                                        "(Length)\n"}));
}

TEST(QelUnitConverter, SeriesConvertElementByElement)
{
    std::vector<double> v = {0, 100, -40};
    std::vector<double> vOut = {9, 9, 9, 9, 9};
    ASSERT_TRUE(UC::ConvertArray(v, UC::eCelsius, vOut, UC::eFahrenheit));
    ASSERT_EQ(vOut.size(), 3u);
    EXPECT_DOUBLE_EQ(vOut[0], 32.0);
    EXPECT_DOUBLE_EQ(vOut[1], 212.0);
    EXPECT_NEAR(vOut[2], -40.0, 1e-12);
    ASSERT_TRUE(UC::ConvertArray(v, UC::eCelsius, v, UC::eKelvin)); // in place
    EXPECT_DOUBLE_EQ(v[1], 373.15);

    // A history's numbers become Reals; other values pass unchanged.
    std::vector<QelVariant> vHistory = {QelVariant(3), QelVariant(1.5f), QelVariant("note"), QelVariant(true)};
    std::vector<QelVariant> vConverted;
    ASSERT_TRUE(UC::ConvertHistory(vHistory, UC::eKilometers, vConverted, UC::eMeters));
    EXPECT_EQ(vConverted, (std::vector<QelVariant>{QelVariant(3000.0f), QelVariant(1500.0f), QelVariant("note"),
                                                   QelVariant(true)}));
    ASSERT_TRUE(UC::ConvertHistory(vHistory, UC::eCelsius, vHistory, UC::eFahrenheit)); // in place
    EXPECT_FLOAT_EQ(float(vHistory[1]), 34.7f);
}
