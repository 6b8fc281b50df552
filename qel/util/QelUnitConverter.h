#pragma once

#include "qel/platform/QelExport.h"

#include <string>
#include <vector>

class QelVariant;

/// Converts measured values between units of the same physical kind, one value or whole series.
/// All members are static; the tables of kinds and factors are fixed.
class QEL_EXPORT QelUnitConverter
{
public:
    /// Physical kinds; eUnknownUnitType answers for unit numbers outside the table.
    enum EUnitType : int
    {
        eLength = 0,
        eMass = 1,
        eTime = 2,
        eTemperature = 3,
        eAngle = 4,
        eVolume = 5,
        ePressure = 6,
        eArea = 7,
        eVelocity = 8,
        eAcceleration = 9,
        eUnknownUnitType = 10
    };

    /// The units, grouped by kind; the numbers are seen by hosts and scripts: never renumber them.
    /// Based on int so that any number a host passes is a valid value and is answered as unknown.
    enum EUnit : int
    {
        eMeters = 0,
        eDecimeters = 1,
        eCentimeters = 2,
        eMillimeters = 3,
        eMicrons = 4,
        eNanometers = 5,
        eAngstroms = 6,
        ePicometers = 7,
        eDekameters = 8,
        eHectometers = 9,
        eKilometers = 10,
        eFeet = 11,
        eInches = 12,
        eMil = 13,
        eYards = 14,
        eMiles = 15,
        eAU = 16,
        eParsecs = 17,
        eLightyears = 18,
        eKilograms = 19,
        eGrams = 20,
        eMilligrams = 21,
        eMicrograms = 22,
        eTonnes = 23,
        eOunces = 24,
        ePounds = 25,
        eShortTons = 26,
        eLongTons = 27,
        ePicoseconds = 28,
        eNanoseconds = 29,
        eMicroseconds = 30,
        eMilliseconds = 31,
        eSeconds = 32,
        eMinutes = 33,
        eHours = 34,
        eDays = 35,
        eYears = 36,
        eKelvin = 37,
        eCelsius = 38,
        eFahrenheit = 39,
        eRankine = 40,
        eRadians = 41,
        eRevolutions = 42,
        eDegrees = 43,
        eArcseconds = 44,
        eArcminutes = 45,
        eGons = 46,
        eGrades = 47,
        eCubicMeters = 48,
        eSteres = 49,
        eMilliliters = 50,
        eLiters = 51,
        eTeaspoons = 52,
        eTablespoons = 53,
        eFluidOunces = 54,
        eCups = 55,
        ePints = 56,
        eQuarts = 57,
        eGallons = 58,
        ePascals = 59,
        eMillipascals = 60,
        eKilopascals = 61,
        eMegapascals = 62,
        eBars = 63,
        eMillibars = 64,
        eMicrobars = 65,
        eKilogramsForcePerSquareMeter = 66,
        eStandardAtmospheres = 67,
        eMillimetersOfMercury = 68,
        eInchesOfMercury = 69,
        ePoundsPerSquareInch = 70,
        eKilopoundsPerSquareInch = 71,
        eTorr = 72,
        eSquareMeters = 73,
        eSquareCentimeters = 74,
        eSquareKilometers = 75,
        eSquareMillimeters = 76,
        eAcre = 77,
        eAre = 78,
        eBarn = 79,
        eCircularMil = 80,
        eHectare = 81,
        eSquareFeet = 82,
        eSquareInches = 83,
        eSquareMiles = 84,
        eSquareYards = 85,
        eMetersPerSecond = 86,
        eKilometersPerSecond = 87,
        eKilometersPerHour = 88,
        eFeetPerHour = 89,
        eFeetPerMin = 90,
        eFeetPerSecond = 91,
        eInchesPerSecond = 92,
        eKnotsPerHour = 93,
        eMilesPerHour = 94,
        eMilesPerMin = 95,
        eMilesPerSec = 96,
        eMetersPerSecondSquared = 97,
        eAccelerationOfFreeFall = 98,
        eFeetPerSecondSquared = 99,
        eGalileo = 100,
        eInchesPerSecondSquared = 101,
        eNumUnits = 102
    };

    /// An empty object: the conversions are static and need no instance.
    QelUnitConverter() = default;
    /// Nothing to copy: every conversion is static.
    QelUnitConverter& operator=(const QelUnitConverter&) = default;

    /// Converts one value; false with an error in the log when the kinds differ (result untouched).
    static bool Convert(double dValue, EUnit eFrom, double& dResult, EUnit eTo);
    /// Converts element by element; on a kind mismatch the results are left untouched.
    static bool ConvertArray(const std::vector<double>& vValues, EUnit eFrom, std::vector<double>& vResults, EUnit eTo);

    /// The same over variant values, for a property's history: Integer and Real values become Real
    /// values in the target unit; values of other types are copied as they are.
    static bool ConvertHistory(const std::vector<QelVariant>& vValues, EUnit eFrom, std::vector<QelVariant>& vResults,
                               EUnit eTo);

    /// The unit's kind; eUnknownUnitType for numbers outside the table.
    static EUnitType GetUnitType(EUnit eUnit);
    /// "Meters", "Kilograms", ...; "Unknown" outside the table.
    static std::string GetUnitString(EUnit eUnit);
    /// "Length", "Mass", ...; "Unknown" for eUnknownUnitType and anything else.
    static std::string GetUnitTypeString(EUnitType eType);
};
