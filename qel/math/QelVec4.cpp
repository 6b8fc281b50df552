#include "qel/math/QelVec4.h"

#include "qel/platform/QelRandom.h"

#include <algorithm>
#include <sstream>

std::string QelVec4::String() const
{
    std::ostringstream os;
    os << "(X:" << x << ", Y:" << y << ", Z:" << z << ", W:" << w << ")";
    return os.str();
}

void QelVec4::ConvertRgbToHsv(float* pfHsva) const
{
    if (!pfHsva)
        return;
    const float fMax = std::max(x, std::max(y, z));
    const float fMin = std::min(x, std::min(y, z));
    float fHue = 0.0f, fSat;
    if (fMax == 0.0f)
    {
        // Black reports full saturation; colors picked against it rely on the hue 0 only.
        fSat = 1.0f;
    }
    else
    {
        fSat = (fMax - fMin) / fMax;
        const float fDelta = fMax - fMin;
        if (fDelta != 0.0f)
        {
            if (x == fMax)
                fHue = (y - z) / fDelta;
            else if (y == fMax)
                fHue = (z - x) / fDelta + 2.0f;
            else
                fHue = (x - y) / fDelta + 4.0f;
            fHue *= 60.0f;
            if (fHue < 0.0f)
                fHue += 360.0f;
        }
    }
    pfHsva[0] = fHue;
    pfHsva[1] = fSat;
    pfHsva[2] = fMax;
    pfHsva[3] = w;
}

void QelVec4::ConvertHsvToRgb(float* pfRgba) const
{
    if (!pfRgba)
        return;
    float fHue = x;
    const float fSat = y, fVal = z;
    if (!std::isfinite(fHue))
        fHue = 0.0f;
    else if (std::fabs(fHue) > 3.6e6f)
        fHue = std::fmod(fHue, 360.0f); // stepping by 360 would never move a hue this large
    while (fHue >= 360.0f || fHue < 0.0f)
        fHue += fHue < 0.0f ? 360.0f : -360.0f;

    float fR, fG, fB;
    if (fSat == 0.0f)
    {
        fR = fG = fB = fVal;
    }
    else
    {
        const float h = fHue / 60.0f;
        const float fI = std::floor(h);
        const float f = h - fI;
        const float p = fVal * (1.0f - fSat);
        const float q = fVal * (1.0f - fSat * f);
        const float t = fVal * (1.0f - fSat * (1.0f - f));
        switch (int(fI))
        {
        case 0: fR = fVal; fG = t; fB = p; break;
        case 1: fR = q; fG = fVal; fB = p; break;
        case 2: fR = p; fG = fVal; fB = t; break;
        case 3: fR = p; fG = q; fB = fVal; break;
        case 4: fR = t; fG = p; fB = fVal; break;
        default: fR = fVal; fG = p; fB = q; break;
        }
    }
    pfRgba[0] = fR;
    pfRgba[1] = fG;
    pfRgba[2] = fB;
    pfRgba[3] = w;
}

void QelVec4::MakeBestColor(const std::vector<QelVec4>& vExisting)
{
    float fHue;
    if (vExisting.empty())
    {
        fHue = float(QelRand()) / 32767.0f * 360.0f;
    }
    else if (vExisting.size() == 1)
    {
        float hsv[4];
        vExisting[0].ConvertRgbToHsv(hsv);
        fHue = hsv[0] + 180.0f;
    }
    else
    {
        std::vector<float> vHues;
        vHues.reserve(vExisting.size());
        for (const QelVec4& c : vExisting)
        {
            float hsv[4];
            c.ConvertRgbToHsv(hsv);
            vHues.push_back(hsv[0]);
        }
        std::sort(vHues.begin(), vHues.end());
        float fBestGap = -1.0f, fBestStart = 0.0f;
        for (size_t i = 0; i + 1 < vHues.size(); ++i)
        {
            const float fGap = vHues[i + 1] - vHues[i];
            if (fGap > fBestGap)
            {
                fBestGap = fGap;
                fBestStart = vHues[i];
            }
        }
        const float fWrapGap = vHues.front() + 360.0f - vHues.back();
        if (fWrapGap > fBestGap)
        {
            fBestGap = fWrapGap;
            fBestStart = vHues.back();
        }
        fHue = fBestStart + fBestGap * 0.5f;
        while (fHue > 360.0f)
            fHue -= 360.0f;
    }
    const QelVec4 hsv(fHue, 1.0f, 1.0f, 1.0f);
    hsv.ConvertHsvToRgb(&x);
}
