#include "QelDemo.h"

#include "qel/framework/QelBase.h"
#include "qel/platform/QelGuid.h"
#include "qel/platform/QelRandom.h"

#include <cstdio>
#include <vector>

namespace
{
/// A scene object that holds others and hears about their deletion.
class DemoObject : public QelBase
{
public:
    explicit DemoObject(const std::string& strName) : QelBase(strName) {}
    void Hold(QelBase* p) { HoldObject(p); }
    void Release(QelBase* p) { ReleaseObject(p); }
    void OnObjectDeletion(QelBase* pDeleted) override
    {
        std::printf("  %s hears that %s is being deleted and releases it\n", GetName().c_str(),
                    pDeleted->GetName().c_str());
        ReleaseObject(pDeleted);
    }
};

void Run(QelDemoApp& app)
{
    DemoObject scene("Scene"), box("Box01"), light("Light01");
    for (DemoObject* p : {&scene, &box, &light})
        std::printf("  object %-8s id %s\n", p->GetName().c_str(), QelGuidToString(p->GetGuid()).c_str());

    scene.Hold(&box);
    scene.Hold(&light);
    std::vector<QelBase*> holders;
    box.GetAllObjectsHolding(holders);
    std::printf("  Box01 is held by %zu object(s): %s\n", holders.size(), holders[0]->GetName().c_str());

    std::printf("  renaming Box01 to a name with a tab and an accented byte:\n");
    {
        QelDemoExpect expect(app, 1);
        box.SetName("Box\t\xE9t\xE9");
    }
    std::printf("  Box01 is now called [%s]\n", box.GetName().c_str());

    std::printf("  deleting Light01 (its holder is told first):\n");
    light.OnDelete();
    std::printf("  deleting Scene while it still holds the box:\n");
    {
        QelDemoExpect expect(app, 1);
        scene.OnDelete();
    }

    std::printf("  an object destroyed while still held is reported:\n");
    DemoObject keeper("Keeper");
    {
        QelDemoExpect expect(app, 1);
        DemoObject temp("Temporary");
        keeper.Hold(&temp);
    }
    QelSRand(1);
    std::printf("  first random numbers after seeding with 1:");
    for (int i = 0; i < 5; ++i)
        std::printf(" %d", QelRand());
    std::printf("\n");
}

QelDemoSection s_section(10, "Named objects and the log", Run);
} // namespace
