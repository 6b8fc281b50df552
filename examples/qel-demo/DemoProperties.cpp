#include "QelDemo.h"

#include "qel/properties/QelInterpColorProperty.h"
#include "qel/properties/QelMultiProperty.h"
#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelPropertyHistory.h"

#include <cstdio>

namespace
{
/// A lamp: a brightness and a beam angle feed a computed reach; a button resets it.
class DemoLamp : public QelPropertyContainer
{
public:
    DemoLamp()
    {
        SetName("Lamp01");
        m_pBrightness = CreateProperty("Brightness", eDataReal);
        m_pBrightness->SetClamp(0.0, 100.0);
        m_pAngle = CreateProperty("Beam angle", eDataInteger);
        m_pAngle->SetClamp(5, 90);
        m_pMode = CreateProperty("Mode", eDataInteger);
        m_pMode->SetEnumerationNames({"Off", "Dimmed", "Full"}, {});
        m_pReach = CreateProperty("Reach", eDataReal);
        m_pReset = CreateProperty("Reset", eDataBoolean);
        m_pGlow = static_cast<QelInterpColorProperty*>(CreateProperty("Glow", eDataInterpColor));
        m_pAim = CreateMultiPropertyGroup("Aim", {"X", "Y", "Z"}, {eDataReal, eDataReal, eDataReal});
    }

    bool IsPropertyButton(QelProperty* p) const override { return p == m_pReset; }

    void ButtonPressed(QelProperty* p) override
    {
        std::printf("  [ButtonPressed] %s: back to defaults\n", p->GetFullName().c_str());
        m_pBrightness->SetAsDouble(50.0);
        m_pAngle->SetAsInt(30);
    }

    void Calculate() override
    {
        ++m_nCalculations;
        // Reads inside the calculation see stored values and do not recurse.
        double dReach = m_pBrightness->GetAsDouble() * 90.0 / m_pAngle->GetAsInt();
        m_pReach->SetPropagation(false);
        m_pReach->SetAsDouble(dReach);
        m_pReach->SetPropagation(true);
        std::printf("  [Calculate #%d] brightness %g, angle %d -> reach %g\n", m_nCalculations,
                    m_pBrightness->GetAsDouble(), m_pAngle->GetAsInt(), dReach);
    }

    QelProperty* m_pBrightness;
    QelProperty* m_pAngle;
    QelProperty* m_pMode;
    QelProperty* m_pReach;
    QelProperty* m_pReset;
    QelInterpColorProperty* m_pGlow;
    QelMultiProperty* m_pAim;
    int m_nCalculations = 0;
};

void Run(QelDemoApp& app)
{
    DemoLamp lamp;
    std::vector<QelProperty*> vec;
    lamp.GetProperties(vec, false);
    std::printf("  %s has %d properties:", lamp.GetName().c_str(), lamp.GetPropertyCount());
    for (QelProperty* p : vec)
        std::printf(" [%s]", p->GetName().c_str());
    std::printf("\n");

    std::printf("  editing Brightness to 80 and Beam angle to 45 (no calculation yet: the model pulls):\n");
    lamp.m_pBrightness->SetAsDouble(80.0);
    lamp.m_pAngle->SetAsInt(45);
    std::printf("  reading Reach:\n");
    std::printf("  Reach = %g\n", lamp.m_pReach->GetAsDouble());
    std::printf("  reading it again runs nothing: Reach = %g, calculations %d\n", lamp.m_pReach->GetAsDouble(),
                lamp.m_nCalculations);

    std::printf("  out-of-range edits are clamped:\n");
    lamp.m_pBrightness->SetAsDouble(250.0);
    lamp.m_pAngle->SetAsInt(1);
    std::printf("  Brightness = %g, Beam angle = %d\n", lamp.m_pBrightness->GetAsDouble(), lamp.m_pAngle->GetAsInt());

    std::printf("  a clamp of the wrong kind is reported and stored anyway:\n");
    {
        QelDemoExpect expect(app, 1);
        lamp.m_pAngle->SetClamp(5.0, 120.0);
    }

    std::printf("  the enumeration refuses a value outside its list:\n");
    lamp.m_pMode->SetAsInt(2);
    {
        QelDemoExpect expect(app, 1);
        lamp.m_pMode->SetAsInt(9);
    }
    std::printf("  Mode = %d\n", lamp.m_pMode->GetAsInt());

    std::printf("  pressing the Reset button:\n");
    lamp.m_pReset->PressButton();
    std::printf("  Reach = %g\n", lamp.m_pReach->GetAsDouble());

    std::printf("  the interpolated color Glow between dark red and yellow:\n");
    lamp.m_pGlow->SetLowColor(0xFF000080u);
    lamp.m_pGlow->SetHighColor(0xFF00FFFFu);
    for (float t : {0.0f, 0.25f, 0.5f, 1.0f})
    {
        lamp.m_pGlow->SetValue(t);
        std::printf("  Glow at %.2f = 0x%08X\n", t, unsigned(lamp.m_pGlow->GetAsColor()));
    }

    std::printf("  the group Aim sets three children at once:\n");
    lamp.m_pAim->SetValues({QelVariant(0.0f), QelVariant(-1.0f), QelVariant(0.5f)});
    std::vector<QelVariant> values;
    lamp.m_pAim->GetValues(values);
    std::printf("  Aim = (%g, %g, %g)\n", float(values[0]), float(values[1]), float(values[2]));

    std::printf("  a history of Brightness, filled in bulk and then one by one:\n");
    QelPropertyHistory& h = lamp.m_pBrightness->History();
    h.FastReserve(5);
    for (float f : {10.0f, 20.0f, 30.0f, 40.0f})
        h.FastAppend(QelVariant(f));
    h.FastComplete();
    std::printf("  %zu values, ordering %d (1 ordered)\n", h.GetRaw()->size(), int(h.CheckOrdering()));
    lamp.m_pBrightness->AppendHistory(QelVariant(15.0f));
    std::printf("  after appending 15: ordering %d (2 not ordered), any history changed: %s\n",
                int(h.CheckOrdering()), lamp.HasAnyHistoryChanged() ? "yes" : "no");
    std::printf("  a history of the wrong type is refused:\n");
    {
        QelDemoExpect expect(app, 1);
        h.Set({QelVariant("bright")});
    }

    std::printf("  a duplicate name is refused:\n");
    {
        QelDemoExpect expect(app, 1);
        lamp.CreateProperty("Brightness", eDataReal);
    }
    std::printf("  deleting the Glow property removes its three parts too: %d -> ", lamp.GetPropertyCount());
    lamp.DeleteProperty(lamp.m_pGlow);
    std::printf("%d properties\n", lamp.GetPropertyCount());
    std::printf("  %d calculations in all\n", lamp.m_nCalculations);
}

QelDemoSection s_section(30, "Properties: clamps, enumerations, buttons, colors and histories", Run);
} // namespace
