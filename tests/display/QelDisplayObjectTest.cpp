#include "qel/display/QelDisplayObject.h"
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

std::string Visit(QelDisplayObject& root)
{
    std::string s;
    root.Traverse(QelMatrix4(true), [&](QelDisplayObject& o, const QelMatrix4&) { s += o.GetName() + " "; });
    return s;
}

/// Hides its children along with itself.
class Group : public QelDisplayObject
{
public:
    bool AreChildrenHiddenWithParent() const override { return true; }
};
} // namespace

TEST(QelDisplayObject, ChildrenKeepTheirOrderAndMoveBetweenParents)
{
    QelCapture cap;
    auto a = Make("A"), b = Make("B"), c = Make("C"), d = Make("D"), other = Make("Other");
    EXPECT_EQ(int(a->GetCategory()), int(QelSandboxIcon::eCategoryDisplayObject));
    EXPECT_TRUE(a->AddChild(b.get()));
    EXPECT_TRUE(a->AddChild(c.get()));
    EXPECT_TRUE(a->AddChild(d.get(), 0));
    EXPECT_EQ(Names(*a), "D B C ");
    EXPECT_EQ(b->GetParent(), a.get());
    EXPECT_EQ(a->GetChild(2), c.get());
    EXPECT_EQ(a->GetChild(3), nullptr);
    EXPECT_TRUE(a->IsAncestorOf(b.get()));
    EXPECT_FALSE(b->IsAncestorOf(a.get()));
    EXPECT_FALSE(a->IsAncestorOf(a.get()));

    // Re-adding moves within the list; adding to another parent takes the child away.
    EXPECT_TRUE(a->AddChild(d.get()));
    EXPECT_EQ(Names(*a), "B C D ");
    EXPECT_TRUE(other->AddChild(c.get()));
    EXPECT_EQ(Names(*a), "B D ");
    EXPECT_EQ(c->GetParent(), other.get());
    std::vector<QelBase*> vHolders;
    c->GetAllObjectsHolding(vHolders);
    ASSERT_EQ(vHolders.size(), 1u);
    EXPECT_EQ(vHolders[0], other.get());

    EXPECT_TRUE(a->RemoveChild(b.get()));
    EXPECT_FALSE(a->RemoveChild(b.get()));
    EXPECT_EQ(b->GetParent(), nullptr);
    vHolders.clear();
    b->GetAllObjectsHolding(vHolders);
    EXPECT_TRUE(vHolders.empty());
    EXPECT_TRUE(cap.Messages().empty());

    // An index past the end appends with a warning.
    EXPECT_TRUE(a->AddChild(b.get(), 5));
    EXPECT_EQ(Names(*a), "D B ");
    EXPECT_EQ(cap.Warnings(), 1u);
}

TEST(QelDisplayObject, RefusesNullSelfAndCycles)
{
    QelCapture cap;
    auto a = Make("A"), b = Make("B"), c = Make("C");
    a->AddChild(b.get());
    b->AddChild(c.get());
    EXPECT_FALSE(a->AddChild(nullptr));
    EXPECT_FALSE(a->AddChild(a.get()));
    EXPECT_FALSE(c->AddChild(a.get()));
    EXPECT_EQ(cap.Errors(), 3u);
    EXPECT_NE(cap.Joined().find("<error>C - Cannot add [A] as a child"), std::string::npos) << cap.Joined();
    EXPECT_EQ(c->GetParent(), b.get());
    EXPECT_EQ(a->GetParent(), nullptr);
    EXPECT_EQ(Names(*c), "");
}

TEST(QelDisplayObject, DeletionKeepsBothSidesConsistent)
{
    QelCapture cap;
    auto a = Make("A"), b = Make("B"), c = Make("C"), d = Make("D");
    a->AddChild(b.get());
    a->AddChild(c.get());
    c->AddChild(d.get());

    // Deleting a child: the parent hears of it and lets go.
    b->OnDelete();
    EXPECT_EQ(Names(*a), "C ");
    EXPECT_EQ(b->GetParent(), nullptr);
    EXPECT_TRUE(b->IsDeleted());
    EXPECT_FALSE(a->AddChild(b.get()));

    // Deleting a parent: its children are let go first, its own parent hears of it.
    c->OnDelete();
    EXPECT_EQ(Names(*a), "");
    EXPECT_EQ(d->GetParent(), nullptr);
    EXPECT_EQ(Names(*c), "");
    EXPECT_EQ(cap.Errors(), 1u); // only the refused AddChild above

    // Destroying without OnDelete unlinks quietly too.
    cap = QelCapture();
    auto e = Make("E");
    a->AddChild(d.get());
    d->AddChild(e.get());
    d.reset();
    EXPECT_EQ(Names(*a), "");
    EXPECT_EQ(e->GetParent(), nullptr);
    std::vector<QelBase*> vHolders;
    e->GetAllObjectsHolding(vHolders);
    EXPECT_TRUE(vHolders.empty());
    a->AddChild(e.get());
    e.reset();
    EXPECT_EQ(a->GetChildCount(), 0u);
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
}

TEST(QelDisplayObject, CopiesStartUnlinked)
{
    auto a = Make("A"), b = Make("B");
    a->AddChild(b.get());
    a->Hide(true);
    QelDisplayObject copyOfA(*a);
    EXPECT_EQ(copyOfA.GetChildCount(), 0u);
    EXPECT_TRUE(copyOfA.IsHidden());
    QelDisplayObject copyOfB(*b);
    EXPECT_EQ(copyOfB.GetParent(), nullptr);
    EXPECT_EQ(a->GetChildCount(), 1u);

    auto c = Make("C");
    *c = *a;
    EXPECT_EQ(c->GetChildCount(), 0u);
    EXPECT_EQ(b->GetParent(), a.get());
}

TEST(QelDisplayObject, TraversalComposesWorldMatricesAndSkipsHiddenObjects)
{
    auto root = Make("Root"), arm = Make("Arm"), hand = Make("Hand"), ghost = Make("Ghost"), inner = Make("Inner");
    root->AddTransformProperties(true, true, true); // the default quarter turn about Z
    arm->AddTransformProperties(true, true, false);
    arm->SetTranslation(QelVec3(2, 0, 0));
    arm->SetRotation(QelVec4(0, 0, 1, 0));
    hand->AddTransformProperties(true, false, false);
    hand->SetTranslation(QelVec3(1, 0, 0));
    root->AddChild(arm.get());
    arm->AddChild(hand.get());
    root->AddChild(ghost.get());
    ghost->AddChild(inner.get());
    ghost->Hide(true);

    std::vector<QelVec3> vOrigins;
    std::string strOrder;
    root->Traverse(QelMatrix4(true), [&](QelDisplayObject& o, const QelMatrix4& m) {
        strOrder += o.GetName() + " ";
        vOrigins.push_back(m * QelVec3(0, 0, 0));
    });
    // A hidden object only hides itself: its child is still visited.
    EXPECT_EQ(strOrder, "Root Arm Hand Inner ");
    ASSERT_EQ(vOrigins.size(), 4u);
    EXPECT_NEAR(vOrigins[1].y, 2.0f, 1e-5f); // +X of the arm is +Y of the world
    EXPECT_NEAR(vOrigins[2].x, 0.0f, 1e-5f);
    EXPECT_NEAR(vOrigins[2].y, 3.0f, 1e-5f);

    QelMatrix4 mWorld;
    hand->GetWorldTransform(mWorld);
    QelVec3 v = mWorld * QelVec3(0, 0, 0);
    EXPECT_NEAR(v.y, 3.0f, 1e-5f);

    // A group that hides its children with it.
    Group group;
    group.SetName("Group");
    auto member = Make("Member");
    group.AddChild(member.get());
    EXPECT_EQ(Visit(group), "Group Member ");
    group.Hide(true);
    EXPECT_EQ(Visit(group), "");
    group.RemoveChild(member.get());

    // A traversal without a visitor does nothing.
    root->Traverse(QelMatrix4(true), QelDisplayObject::Visitor());
}
