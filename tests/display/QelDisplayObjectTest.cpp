#include "qel/display/QelDisplayObject.h"
#include "qel/display/QelDisplaySystem.h"
#include "qel/properties/QelProperty.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{
std::unique_ptr<QelDisplayObject> Make(const char* pName)
{
    auto p = std::make_unique<QelDisplayObject>();
    p->SetName(pName);
    return p;
}

std::string Names(const QelDisplayObject& o)
{
    std::string s;
    for (QelDisplayObject* p : o.GetChildren())
        s += p->GetName() + " ";
    return s;
}

size_t HolderCount(const QelDisplayObject& o)
{
    std::vector<QelBase*> v;
    o.GetAllObjectsHolding(v);
    return v.size();
}

class Group : public QelDisplayObject
{
public:
    bool AreChildrenHiddenWithParent() const override { return true; }
};
} // namespace

TEST(QelDisplayObject, ChildrenKeepTheirOrderMoveBetweenParentsAndRefuseCycles)
{
    QelCapture cap;
    auto a = Make("A"), b = Make("B"), c = Make("C"), d = Make("D"), other = Make("Other");
    a->AddChild(b.get());
    a->AddChild(c.get());
    a->AddChild(d.get(), 0);
    EXPECT_EQ(Names(*a), "D B C ");
    EXPECT_TRUE(a->AddChild(d.get())); // re-adding moves it to the end
    EXPECT_EQ(Names(*a), "B C D ");
    EXPECT_TRUE(other->AddChild(c.get()));
    EXPECT_TRUE(Names(*a) == "B D " && c->GetParent() == other.get() && HolderCount(*c) == 1);
    EXPECT_TRUE(a->RemoveChild(b.get()) && !a->RemoveChild(b.get()) && HolderCount(*b) == 0);
    EXPECT_TRUE(cap.Messages().empty());

    EXPECT_TRUE(a->AddChild(b.get(), 5)); // past the end: appended, with a warning
    EXPECT_EQ(Names(*a), "D B ");
    EXPECT_EQ(cap.Warnings(), 1u);

    b->AddChild(c.get());
    EXPECT_FALSE(a->AddChild(nullptr) || a->AddChild(a.get()) || c->AddChild(a.get()));
    EXPECT_EQ(cap.Errors(), 3u);
    EXPECT_NE(cap.Joined().find("<error>C - Cannot add [A] as a child"), std::string::npos) << cap.Joined();
    EXPECT_EQ(a->GetParent(), nullptr);
}

TEST(QelDisplayObject, DeletionAndDestructionKeepBothSidesConsistent)
{
    QelCapture cap;
    auto a = Make("A"), b = Make("B"), c = Make("C"), d = Make("D"), e = Make("E");
    a->AddChild(b.get());
    a->AddChild(c.get());
    c->AddChild(d.get());

    b->OnDelete(); // the parent hears of it and lets go
    EXPECT_TRUE(Names(*a) == "C " && b->GetParent() == nullptr);
    c->OnDelete(); // children are let go first, the parent hears of it
    EXPECT_TRUE(Names(*a).empty() && d->GetParent() == nullptr);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    EXPECT_FALSE(a->AddChild(b.get())); // deleted objects are refused
    EXPECT_EQ(cap.Errors(), 1u);

    // Destroying without OnDelete unlinks quietly too, from either side.
    QelCapture quiet;
    a->AddChild(d.get());
    d->AddChild(e.get());
    d.reset();
    EXPECT_TRUE(a->GetChildCount() == 0 && e->GetParent() == nullptr && HolderCount(*e) == 0);
    a->AddChild(e.get());
    e.reset();
    EXPECT_EQ(a->GetChildCount(), 0u);
    EXPECT_TRUE(quiet.Messages().empty()) << quiet.Joined();

    QelDisplayObject copy(*a); // copies start unlinked
    EXPECT_EQ(copy.GetParent(), nullptr);
}

TEST(QelDisplayObject, TraversalComposesWorldMatricesAndSkipsHiddenObjects)
{
    auto root = Make("Root"), arm = Make("Arm"), hand = Make("Hand"), ghost = Make("Ghost"), inner = Make("Inner");
    Group group; // hides its children along with itself
    auto member = Make("Member");
    root->AddTransformProperties(true, true, true); // the default quarter turn about Z
    arm->AddTransformProperties(true, true, false);
    arm->SetTransform(QelVec3(2, 0, 0), QelVec4(0, 0, 1, 0), QelVec3(1, 1, 1));
    hand->AddTransformProperties(true, false, false);
    hand->SetTranslation(QelVec3(1, 0, 0));
    EXPECT_TRUE(root->AddChild(arm.get()) && arm->AddChild(hand.get()) && root->AddChild(ghost.get()) &&
                ghost->AddChild(inner.get()) && root->AddChild(&group) && group.AddChild(member.get()));
    ghost->Hide(true);
    group.Hide(true);
    std::string strOrder;
    QelVec3 vHand;
    root->Traverse(QelMatrix4(true), [&](QelDisplayObject& o, const QelMatrix4& m) {
        strOrder += o.GetName() + " ";
        vHand = &o == hand.get() ? m * QelVec3(0, 0, 0) : vHand;
    });
    EXPECT_EQ(strOrder, "Root Arm Hand Inner "); // a plain hidden object only hides itself
    QelMatrix4 mWorld;
    hand->GetWorldTransform(mWorld);
    EXPECT_TRUE(vHand.Equals(QelVec3(0, 3, 0), 1e-5f)) << vHand.x << ", " << vHand.y; // +X of the arm is +Y
    EXPECT_TRUE((mWorld * QelVec3(0, 0, 0)).Equals(vHand, 1e-5f));
    group.RemoveChild(member.get());
}

TEST(QelDisplaySystem, ReservedThisClearBitAndScreenCoordinates)
{
    QelCapture cap;
    QelDisplaySystem ds;
    EXPECT_EQ(ds.GetClearBit(), 17664u);
    QelProperty* p = ds.GetProperty("Reserved:This");
    ASSERT_NE(p, nullptr);
    EXPECT_TRUE(p->GetDataType() == eDataDisplaySystem && !p->WillAutoSave());
    // Each copy's property points at the copy itself.
    QelDisplaySystem copy(ds), assigned;
    assigned = ds;
    for (QelDisplaySystem* pOne : {&ds, &copy, &assigned})
        EXPECT_TRUE(pOne->GetPropertyCount() == 1 && pOne->GetProperty("Reserved:This")->GetAsDisplaySystem() == pOne);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();

    // Viewport-relative to window-relative, whatever the flags.
    int x = 0, y = 0;
    QelDisplaySystem::SetCurrentViewportInfo(100, 50, 640, 480, 1, 1);
    QelDisplaySystem::GetScreenCoordinate(10, 20, x, y);
    EXPECT_TRUE(x == 110 && y == 70);
    QelDisplaySystem::SetCurrentViewportInfo(-5, 7, 0, 0, 0, 0);
    QelDisplaySystem::GetScreenCoordinate(10, 20, x, y);
    EXPECT_TRUE(x == 5 && y == 27);
}
