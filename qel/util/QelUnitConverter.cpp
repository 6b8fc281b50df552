#include "qel/util/QelUnitConverter.h"

#include "qel/framework/QelSysApp.h"
#include "qel/properties/QelVariant.h"

namespace
{
struct UnitRow
{
    const char* pText;
    QelUnitConverter::EUnitType eType;
    double dFactor; // size of one unit in the kind's base unit; -1 marks the temperature offsets
};

// Several factors are rounded to 7 significant digits, "Kilometers per second" is ten times its true
// size and "Revolutions" is 0: deliberately kept, converted values saved by hosts depend on them.
const UnitRow s_aUnits[] = {
    {"Meters", QelUnitConverter::eLength, 1.0},
    {"Decimeters", QelUnitConverter::eLength, 0.1},
    {"Centimeters", QelUnitConverter::eLength, 0.01},
    {"Millimeters", QelUnitConverter::eLength, 0.001},
    {"Microns", QelUnitConverter::eLength, 1e-06},
    {"Nanometers", QelUnitConverter::eLength, 1e-09},
    {"Angstroms", QelUnitConverter::eLength, 1e-10},
    {"Picometers", QelUnitConverter::eLength, 1e-12},
    {"Dekameters", QelUnitConverter::eLength, 10.0},
    {"Hectometers", QelUnitConverter::eLength, 100.0},
    {"Kilometers", QelUnitConverter::eLength, 1000.0},
    {"Feet", QelUnitConverter::eLength, 0.3048},
    {"Inches", QelUnitConverter::eLength, 0.0254},
    {"Mil", QelUnitConverter::eLength, 2.54e-05},
    {"Yards", QelUnitConverter::eLength, 0.9144},
    {"Miles", QelUnitConverter::eLength, 1609.344},
    {"AU", QelUnitConverter::eLength, 149597900000.0},
    {"Parsecs", QelUnitConverter::eLength, 3.085678e+16},
    {"Lightyears", QelUnitConverter::eLength, 9460730000000000.0},
    {"Kilograms", QelUnitConverter::eMass, 1.0},
    {"Grams", QelUnitConverter::eMass, 0.001},
    {"Milligrams", QelUnitConverter::eMass, 1e-06},
    {"Micrograms", QelUnitConverter::eMass, 1e-09},
    {"Tonnes", QelUnitConverter::eMass, 1000000.0},
    {"Ounces", QelUnitConverter::eMass, 28.34952},
    {"Pounds", QelUnitConverter::eMass, 0.4535924},
    {"Short Tons", QelUnitConverter::eMass, 907.1847},
    {"Long Tons", QelUnitConverter::eMass, 1016.047},
    {"Picoseconds", QelUnitConverter::eTime, 1e-12},
    {"Nanoseconds", QelUnitConverter::eTime, 1e-09},
    {"Microseconds", QelUnitConverter::eTime, 1e-06},
    {"Milliseconds", QelUnitConverter::eTime, 0.001},
    {"Seconds", QelUnitConverter::eTime, 1.0},
    {"Minutes", QelUnitConverter::eTime, 60.0},
    {"Hours", QelUnitConverter::eTime, 3600.0},
    {"Days", QelUnitConverter::eTime, 86400.0},
    {"Years", QelUnitConverter::eTime, 31536000.0},
    {"Kelvin", QelUnitConverter::eTemperature, 1.0},
    {"Celsius", QelUnitConverter::eTemperature, -1.0},
    {"Fahrenheit", QelUnitConverter::eTemperature, -1.0},
    {"Rankine", QelUnitConverter::eTemperature, -1.0},
    {"Radians", QelUnitConverter::eAngle, 1.0},
    {"Revolutions", QelUnitConverter::eAngle, 0.0},
    {"Degrees", QelUnitConverter::eAngle, 0.01745329},
    {"Arcseconds", QelUnitConverter::eAngle, 4.848137e-06},
    {"Arcminutes", QelUnitConverter::eAngle, 0.0002908882},
    {"Gons", QelUnitConverter::eAngle, 0.01570796},
    {"Grades", QelUnitConverter::eAngle, 0.01570796},
    {"Cubic meters", QelUnitConverter::eVolume, 1.0},
    {"Steres", QelUnitConverter::eVolume, 1.0},
    {"Milliliters", QelUnitConverter::eVolume, 1e-06},
    {"Liters", QelUnitConverter::eVolume, 0.001},
    {"Teaspoons", QelUnitConverter::eVolume, 4.928922e-06},
    {"Tablespoons", QelUnitConverter::eVolume, 1.478676e-05},
    {"Fluid Ounces", QelUnitConverter::eVolume, 2.957353e-05},
    {"Cups", QelUnitConverter::eVolume, 0.0002365882},
    {"Pints", QelUnitConverter::eVolume, 0.0004731765},
    {"Quarts", QelUnitConverter::eVolume, 0.9463529},
    {"Gallons", QelUnitConverter::eVolume, 0.003785412},
    {"Pascals", QelUnitConverter::ePressure, 1.0},
    {"Millipascals", QelUnitConverter::ePressure, 0.001},
    {"Kilopascals", QelUnitConverter::ePressure, 1000.0},
    {"Megapascals", QelUnitConverter::ePressure, 1000000.0},
    {"Bars", QelUnitConverter::ePressure, 100000.0},
    {"Millibars", QelUnitConverter::ePressure, 100.0},
    {"Microbars", QelUnitConverter::ePressure, 0.1},
    {"Kilograms-Force per m^2", QelUnitConverter::ePressure, 9.80665},
    {"Standard atmospheres", QelUnitConverter::ePressure, 101325.0},
    {"Millimeters of mercury", QelUnitConverter::ePressure, 133.3224},
    {"Inches of mercury", QelUnitConverter::ePressure, 3386.38},
    {"Pounds/in^2 (psi)", QelUnitConverter::ePressure, 6894.757},
    {"Kilopounds/in^2 (ksi)", QelUnitConverter::ePressure, 6894757.0},
    {"Torr", QelUnitConverter::ePressure, 133.3224},
    {"Square meters", QelUnitConverter::eArea, 1.0},
    {"Square centimeters", QelUnitConverter::eArea, 0.0001},
    {"Square kilometers", QelUnitConverter::eArea, 1000000.0},
    {"Square millimeters", QelUnitConverter::eArea, 1e-06},
    {"Acre", QelUnitConverter::eArea, 4046.873},
    {"Are", QelUnitConverter::eArea, 100.0},
    {"Barn", QelUnitConverter::eArea, 1e-28},
    {"Circular mil", QelUnitConverter::eArea, 5.067075e-10},
    {"Hectare", QelUnitConverter::eArea, 10000.0},
    {"Square feet", QelUnitConverter::eArea, 0.09290304},
    {"Square inches", QelUnitConverter::eArea, 0.00064516},
    {"Square miles", QelUnitConverter::eArea, 2589988.0},
    {"Square yards", QelUnitConverter::eArea, 0.83612736},
    {"Meters per second", QelUnitConverter::eVelocity, 1.0},
    {"Kilometers per second", QelUnitConverter::eVelocity, 10000.0},
    {"Kilometers per hour", QelUnitConverter::eVelocity, 0.277777778},
    {"Feet per hour", QelUnitConverter::eVelocity, 8.466667e-05},
    {"Feet per min", QelUnitConverter::eVelocity, 0.00508},
    {"Feet per second", QelUnitConverter::eVelocity, 0.3048},
    {"Inches per second", QelUnitConverter::eVelocity, 0.0254},
    {"Knots per hour", QelUnitConverter::eVelocity, 0.5144444},
    {"Miles per hour", QelUnitConverter::eVelocity, 0.44704},
    {"Miles per min", QelUnitConverter::eVelocity, 26.8224},
    {"Miles per sec", QelUnitConverter::eVelocity, 1609.344},
    {"Meters per second squared", QelUnitConverter::eAcceleration, 1.0},
    {"Acceleration of free fall", QelUnitConverter::eAcceleration, 9.80665},
    {"Feet per second squared", QelUnitConverter::eAcceleration, 0.3048},
    {"Galileo", QelUnitConverter::eAcceleration, 0.01},
    {"Inches per second squared", QelUnitConverter::eAcceleration, 0.0254},
};
static_assert(sizeof(s_aUnits) / sizeof(s_aUnits[0]) == QelUnitConverter::eNumUnits, "one row per unit");

const char* const s_aTypeTexts[] = {"Length", "Mass", "Time", "Temperature", "Angle",
                                    "Volume", "Pressure", "Area", "Velocity", "Acceleration"};
static_assert(sizeof(s_aTypeTexts) / sizeof(s_aTypeTexts[0]) == QelUnitConverter::eUnknownUnitType,
              "one text per unit type");

bool IsKnown(QelUnitConverter::EUnit eUnit)
{
    return static_cast<int>(eUnit) >= 0 && static_cast<int>(eUnit) < QelUnitConverter::eNumUnits;
}

double ToKelvin(double dValue, QelUnitConverter::EUnit eFrom)
{
    switch (eFrom)
    {
    case QelUnitConverter::eCelsius: return dValue + 273.15;
    case QelUnitConverter::eFahrenheit: return (dValue - 32.0) / 1.8 + 273.15;
    case QelUnitConverter::eRankine: return dValue / 1.8;
    default: return dValue;
    }
}

double FromKelvin(double dValue, QelUnitConverter::EUnit eTo)
{
    switch (eTo)
    {
    case QelUnitConverter::eCelsius: return dValue - 273.15;
    case QelUnitConverter::eFahrenheit: return (dValue - 273.15) * 1.8 + 32.0;
    case QelUnitConverter::eRankine: return dValue * 1.8;
    default: return dValue;
    }
}

/// Same kind and both known; otherwise writes the error.
bool CheckKinds(QelUnitConverter::EUnit eFrom, QelUnitConverter::EUnit eTo)
{
    QelUnitConverter::EUnitType eFromType = QelUnitConverter::GetUnitType(eFrom);
    QelUnitConverter::EUnitType eToType = QelUnitConverter::GetUnitType(eTo);
    if (eFromType == eToType && eFromType != QelUnitConverter::eUnknownUnitType)
        return true;
    QelSysApp::App().PrintToConsole("<error>QelUnitConverter - cannot convert %s (%s) to %s (%s)\n",
                                    QelUnitConverter::GetUnitString(eFrom).c_str(),
                                    QelUnitConverter::GetUnitTypeString(eFromType).c_str(),
                                    QelUnitConverter::GetUnitString(eTo).c_str(),
                                    QelUnitConverter::GetUnitTypeString(eToType).c_str());
    return false;
}

/// The conversion itself, for units already checked to be of one kind.
double ConvertChecked(double dValue, QelUnitConverter::EUnit eFrom, QelUnitConverter::EUnit eTo)
{
    if (s_aUnits[eFrom].eType == QelUnitConverter::eTemperature)
        return FromKelvin(ToKelvin(dValue, eFrom), eTo);
    return dValue * s_aUnits[eFrom].dFactor / s_aUnits[eTo].dFactor;
}
} // namespace

bool QelUnitConverter::Convert(double dValue, EUnit eFrom, double& dResult, EUnit eTo)
{
    if (!CheckKinds(eFrom, eTo))
        return false;
    dResult = ConvertChecked(dValue, eFrom, eTo);
    return true;
}

bool QelUnitConverter::ConvertArray(const std::vector<double>& vValues, EUnit eFrom, std::vector<double>& vResults,
                                    EUnit eTo)
{
    if (!CheckKinds(eFrom, eTo))
        return false;
    // vValues and vResults may be the same vector: each element is read before it is written.
    vResults.resize(vValues.size());
    for (size_t i = 0; i < vResults.size(); ++i)
        vResults[i] = ConvertChecked(vValues[i], eFrom, eTo);
    return true;
}

bool QelUnitConverter::ConvertHistory(const std::vector<QelVariant>& vValues, EUnit eFrom,
                                      std::vector<QelVariant>& vResults, EUnit eTo)
{
    if (!CheckKinds(eFrom, eTo))
        return false;
    vResults.resize(vValues.size());
    for (size_t i = 0; i < vResults.size(); ++i)
    {
        if (vValues[i].IsNumeric())
            vResults[i] = QelVariant(ConvertChecked(double(vValues[i]), eFrom, eTo));
        else if (&vResults != &vValues)
            vResults[i] = vValues[i];
    }
    return true;
}

QelUnitConverter::EUnitType QelUnitConverter::GetUnitType(EUnit eUnit)
{
    return IsKnown(eUnit) ? s_aUnits[eUnit].eType : eUnknownUnitType;
}

std::string QelUnitConverter::GetUnitString(EUnit eUnit)
{
    return IsKnown(eUnit) ? s_aUnits[eUnit].pText : "Unknown";
}

std::string QelUnitConverter::GetUnitTypeString(EUnitType eType)
{
    int n = static_cast<int>(eType);
    return n >= 0 && n < eUnknownUnitType ? s_aTypeTexts[n] : "Unknown";
}
