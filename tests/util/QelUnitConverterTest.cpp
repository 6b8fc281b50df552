#include "qel/properties/QelVariant.h"
#include "qel/util/QelUnitConverter.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

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
    UC::EUnitType ePrevious = UC::eLength;
    for (int i = 0; i < UC::eNumUnits; ++i)
    {
        UC::EUnitType e = UC::GetUnitType(UC::EUnit(i));
        ASSERT_LT(int(e), 10) << i;
        EXPECT_GE(e, ePrevious) << "units are grouped by kind";
        ePrevious = e;
        ++aSeen[e];
        EXPECT_FALSE(UC::GetUnitString(UC::EUnit(i)).empty());
    }
    for (int k = 0; k < 10; ++k)
        EXPECT_EQ(aSeen[k], aCount[k]) << UC::GetUnitTypeString(UC::EUnitType(k));

    EXPECT_EQ(UC::GetUnitType(UC::EUnit(200)), UC::eUnknownUnitType);
    EXPECT_EQ(UC::GetUnitType(UC::EUnit(102)), 10);
    EXPECT_EQ(UC::GetUnitType(UC::EUnit(-1)), 10);
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
    EXPECT_DOUBLE_EQ(Conv(1, UC::eKilometers, UC::eMeters), 1000.0);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eKilometersPerSecond, UC::eMetersPerSecond), 10000.0); // kept as tabled
    EXPECT_DOUBLE_EQ(Conv(12, UC::eInches, UC::eFeet), 1.0);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eTonnes, UC::eKilograms), 1e6); // kept as tabled
    EXPECT_NEAR(Conv(1, UC::eShortTons, UC::ePounds), 2000.0, 1e-3);
    EXPECT_DOUBLE_EQ(Conv(2, UC::eHours, UC::eMinutes), 120.0);
    EXPECT_DOUBLE_EQ(Conv(180, UC::eDegrees, UC::eRadians), 180 * 0.01745329);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eQuarts, UC::eLiters), 946.3529); // kept as tabled
    EXPECT_DOUBLE_EQ(Conv(1, UC::eStandardAtmospheres, UC::eKilopascals), 101.325);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eHectare, UC::eAre), 100.0);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eMilesPerHour, UC::eFeetPerSecond), 0.44704 / 0.3048);
    EXPECT_DOUBLE_EQ(Conv(1, UC::eAccelerationOfFreeFall, UC::eGalileo), 980.665);
    EXPECT_EQ(Conv(5, UC::eRevolutions, UC::eRadians), 0.0);

    // Value times the source factor, then divided by the target factor: each unit to the base of
    // its kind and back restores the value.
    for (int i = 0; i < UC::eNumUnits; ++i)
    {
        UC::EUnit e = UC::EUnit(i);
        if (e == UC::eRevolutions)
            continue;
        UC::EUnitType eType = UC::GetUnitType(e);
        UC::EUnit eBase = eType == UC::eLength         ? UC::eMeters
                          : eType == UC::eMass         ? UC::eKilograms
                          : eType == UC::eTime         ? UC::eSeconds
                          : eType == UC::eTemperature  ? UC::eKelvin
                          : eType == UC::eAngle        ? UC::eRadians
                          : eType == UC::eVolume       ? UC::eCubicMeters
                          : eType == UC::ePressure     ? UC::ePascals
                          : eType == UC::eArea         ? UC::eSquareMeters
                          : eType == UC::eVelocity     ? UC::eMetersPerSecond
                                                       : UC::eMetersPerSecondSquared;
        double dThere = Conv(37.5, e, eBase);
        EXPECT_NEAR(Conv(dThere, eBase, e), 37.5, 1e-9) << UC::GetUnitString(e);
    }
}

TEST(QelUnitConverter, TemperaturesGoThroughKelvin)
{
    EXPECT_DOUBLE_EQ(Conv(100, UC::eCelsius, UC::eFahrenheit), 212.0);
    EXPECT_DOUBLE_EQ(Conv(0, UC::eKelvin, UC::eRankine), 0.0);
    EXPECT_DOUBLE_EQ(Conv(32, UC::eFahrenheit, UC::eKelvin), 273.15);
    EXPECT_DOUBLE_EQ(Conv(0, UC::eCelsius, UC::eKelvin), 273.15);
    EXPECT_NEAR(Conv(-40, UC::eFahrenheit, UC::eCelsius), -40.0, 1e-12);
    EXPECT_NEAR(Conv(491.67, UC::eRankine, UC::eCelsius), 0.0, 1e-12);
    EXPECT_DOUBLE_EQ(Conv(300, UC::eKelvin, UC::eKelvin), 300.0);
}

TEST(QelUnitConverter, AMismatchOfKindsIsAnErrorAndWritesNothing)
{
    QelCapture cap;
    double dResult = 7.0;
    EXPECT_FALSE(UC::Convert(1.0, UC::eMeters, dResult, UC::eSeconds));
    EXPECT_EQ(dResult, 7.0);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error>QelUnitConverter - cannot convert Meters (Length) to Seconds (Time)\n");

    // Unknown units are refused alike, also when both are unknown.
    EXPECT_FALSE(UC::Convert(1.0, UC::EUnit(150), dResult, UC::EUnit(150)));
    EXPECT_EQ(cap.Messages()[1], "<error>QelUnitConverter - cannot convert Unknown (Unknown) to Unknown (Unknown)\n");

    std::vector<double> vOut = {1, 2};
    EXPECT_FALSE(UC::ConvertArray({3, 4, 5}, UC::eCelsius, vOut, UC::eDays));
    EXPECT_EQ(vOut, (std::vector<double>{1, 2}));
    EXPECT_EQ(cap.Errors(), 3u);
}

TEST(QelUnitConverter, ArraysConvertElementByElement)
{
    std::vector<double> v = {0, 100, -40};
    std::vector<double> vOut = {9, 9, 9, 9, 9};
    ASSERT_TRUE(UC::ConvertArray(v, UC::eCelsius, vOut, UC::eFahrenheit));
    ASSERT_EQ(vOut.size(), 3u);
    EXPECT_DOUBLE_EQ(vOut[0], 32.0);
    EXPECT_DOUBLE_EQ(vOut[1], 212.0);
    EXPECT_NEAR(vOut[2], -40.0, 1e-12);
    // In place.
    ASSERT_TRUE(UC::ConvertArray(v, UC::eCelsius, v, UC::eKelvin));
    EXPECT_DOUBLE_EQ(v[1], 373.15);
    std::vector<double> vEmpty;
    EXPECT_TRUE(UC::ConvertArray({}, UC::eFeet, vEmpty, UC::eMiles));
    EXPECT_TRUE(vEmpty.empty());
}

TEST(QelUnitConverter, HistoriesConvertTheirNumbers)
{
    std::vector<QelVariant> v = {QelVariant(3), QelVariant(1.5f), QelVariant("note"), QelVariant(true)};
    std::vector<QelVariant> vOut;
    ASSERT_TRUE(UC::ConvertHistory(v, UC::eKilometers, vOut, UC::eMeters));
    ASSERT_EQ(vOut.size(), 4u);
    EXPECT_EQ(vOut[0].GetDataType(), eDataReal);
    EXPECT_FLOAT_EQ(float(vOut[0]), 3000.0f);
    EXPECT_FLOAT_EQ(float(vOut[1]), 1500.0f);
    EXPECT_EQ(std::string(vOut[2]), "note");
    EXPECT_EQ(vOut[3].GetDataType(), eDataBoolean);

    // In place, and untouched on a mismatch.
    ASSERT_TRUE(UC::ConvertHistory(v, UC::eCelsius, v, UC::eFahrenheit));
    EXPECT_FLOAT_EQ(float(v[1]), 34.7f);
    EXPECT_EQ(std::string(v[2]), "note");
    QelCapture cap;
    EXPECT_FALSE(UC::ConvertHistory(v, UC::eCelsius, vOut, UC::eMeters));
    EXPECT_FLOAT_EQ(float(vOut[0]), 3000.0f);
    EXPECT_EQ(cap.Errors(), 1u);
}
