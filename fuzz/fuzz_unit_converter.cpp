// The unit converter with unit numbers and values from the input, in and out of range: single
// values, arrays and histories of mixed variants; a conversion there and back must come home.
#include "qel/properties/QelVariant.h"
#include "qel/util/QelUnitConverter.h"
#include "tests/support/QelSilentApp.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static QelSilentApp s_app;
    if (nSize < 2)
        return 0;
    // Unit numbers as signed bytes reach both ends of the table and beyond.
    const auto eFrom = static_cast<QelUnitConverter::EUnit>(static_cast<int8_t>(pData[0]));
    const auto eTo = static_cast<QelUnitConverter::EUnit>(static_cast<int8_t>(pData[1]));
    std::vector<double> vecValues;
    std::vector<QelVariant> vecHistory;
    for (size_t i = 2; i + 8 <= nSize; i += 8)
    {
        double f;
        std::memcpy(&f, pData + i, sizeof(f));
        vecValues.push_back(f);
        switch (pData[i] % 4)
        {
        case 0: vecHistory.emplace_back(f); break;
        case 1: vecHistory.emplace_back(static_cast<int>(pData[i + 1]) - 128); break;
        case 2: vecHistory.emplace_back(std::string(reinterpret_cast<const char*>(pData + i), 8)); break;
        default: vecHistory.emplace_back(); break;
        }
    }
    volatile size_t nSink = QelUnitConverter::GetUnitString(eFrom).size() +
                            QelUnitConverter::GetUnitTypeString(QelUnitConverter::GetUnitType(eTo)).size();
    std::vector<double> vecOut(3, 7.0);
    const bool bConverted = QelUnitConverter::ConvertArray(vecValues, eFrom, vecOut, eTo);
    if (!bConverted && vecOut != std::vector<double>(3, 7.0))
        std::abort(); // a refused conversion leaves the results alone
    std::vector<QelVariant> vecHistoryOut;
    nSink = nSink + QelUnitConverter::ConvertHistory(vecHistory, eFrom, vecHistoryOut, eTo) + vecHistoryOut.size();
    for (size_t i = 0; bConverted && i < vecValues.size(); ++i)
    {
        double fThere = 0.0, fBack = 0.0;
        if (!QelUnitConverter::Convert(vecValues[i], eFrom, fThere, eTo) ||
            !QelUnitConverter::Convert(fThere, eTo, fBack, eFrom))
            std::abort(); // the kinds matched for the array
        const double f = vecValues[i];
        if (std::isfinite(f) && std::isfinite(fThere) && std::isfinite(fBack) && std::fabs(f) > 1e-200 &&
            std::fabs(f) < 1e200 && std::fabs(fBack - f) > 1e-6 * std::fabs(f) + 1e-9)
            std::abort();
    }
    return 0;
}
