#include "QelDemo.h"

#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyHistory.h"
#include "qel/properties/QelVariant.h"
#include "qel/util/QelTextScanner.h"
#include "qel/util/QelUnitConverter.h"

#include <cstdio>
#include <string>
#include <vector>

namespace
{
const char* TypeName(QelDataType eType)
{
    switch (eType)
    {
    case eDataInteger: return "int";
    case eDataReal: return "real";
    case eDataColor: return "color";
    default: return "string";
    }
}

void Run(QelDemoApp& app)
{
    // A log written on Windows (CR LF line ends): comma-separated, blanks between, quoted notes.
    std::string strPath = std::string(QEL_DEMO_DATA_DIR) + "/util_readings.txt";
    QelTextScanner scanner;
    scanner.SetSpaceDelimiter(true);
    scanner.SetQuotesDelimitStrings(true);
    if (!scanner.Open(strPath.c_str()))
        return;

    std::vector<QelVariant> vCelsius;
    std::vector<double> vSeconds;
    scanner.NextLine(); // the header
    while (const char* pLine = scanner.NextLine())
    {
        if (scanner.LineIsBlank())
        {
            std::printf("  line %d is blank\n", scanner.LineNum());
            continue;
        }
        std::printf("  line %d:", scanner.LineNum());
        QelDataType eType;
        int nField = 0;
        while (const char* pWord = scanner.NextWord(eType, false, true))
        {
            std::printf(" [%s %s]", TypeName(eType), pWord);
            if (nField == 0)
                vSeconds.push_back(double(QelVariant(std::string(pWord))));
            else if (nField == 1)
            {
                QelVariant value{std::string(pWord)};
                value.ConvertTo(eType); // the scanner's type picks the variant's type
                vCelsius.push_back(value);
            }
            ++nField;
        }
        std::printf("\n");
        (void)pLine;
    }
    std::printf("  %d lines, %d bytes (line ends arrive as one byte), %d characters passed by the words\n",
                scanner.LineNum(), scanner.BytesRead(), scanner.CharsProcessed());
    scanner.Close();

    // The readings become the history of a temperature property, which is then converted whole.
    QelProperty temperature("Temperature", nullptr, eDataReal);
    for (const QelVariant& v : vCelsius)
        temperature.AppendHistory(QelVariant(double(v))); // the history of a Real property holds Reals
    const std::vector<QelVariant> vCelsiusHistory = *temperature.History().GetRaw();
    std::vector<QelVariant> vFahrenheit, vKelvin;
    QelUnitConverter::ConvertHistory(vCelsiusHistory, QelUnitConverter::eCelsius, vFahrenheit,
                                     QelUnitConverter::eFahrenheit);
    QelUnitConverter::ConvertHistory(vCelsiusHistory, QelUnitConverter::eCelsius, vKelvin, QelUnitConverter::eKelvin);
    temperature.SetHistory(vFahrenheit);
    const std::vector<QelVariant>& vStored = *temperature.History().GetRaw();
    std::vector<double> vMinutes;
    QelUnitConverter::ConvertArray(vSeconds, QelUnitConverter::eSeconds, vMinutes, QelUnitConverter::eMinutes);
    std::printf("  history of %s, converted from Celsius and stored back in Fahrenheit:\n",
                temperature.GetName().c_str());
    std::printf("  %-8s %-10s %-10s %-10s\n", "minutes", "Celsius", "Fahrenheit", "Kelvin");
    for (size_t i = 0; i < vStored.size() && i < vMinutes.size(); ++i)
        std::printf("  %-8g %-10g %-10g %-10g\n", vMinutes[i], double(vCelsiusHistory[i]), double(vStored[i]),
                    double(vKelvin[i]));

    double dResult = 0.0;
    QelUnitConverter::Convert(1.0, QelUnitConverter::eMiles, dResult, QelUnitConverter::eKilometers);
    std::printf("  1 %s = %g %s\n", QelUnitConverter::GetUnitString(QelUnitConverter::eMiles).c_str(), dResult,
                QelUnitConverter::GetUnitString(QelUnitConverter::eKilometers).c_str());
    std::printf("  converting between kinds is refused:\n");
    QelDemoExpect expect(app, 1);
    QelUnitConverter::Convert(1.0, QelUnitConverter::eMeters, dResult, QelUnitConverter::eSeconds);
}

QelDemoSection s_section(60, "Text scanner and unit converter", Run);
} // namespace
