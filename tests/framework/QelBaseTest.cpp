#include "qel/framework/QelBase.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

namespace
{
/// Exposes the protected holding calls and records deletion callbacks.
class Holder : public QelBase
{
public:
    explicit Holder(const std::string& strName, bool bReleaseOnNotice = false)
        : QelBase(strName), m_bReleaseOnNotice(bReleaseOnNotice)
    {
    }
    void Hold(QelBase* p) { HoldObject(p); }
    void Release(QelBase* p) { ReleaseObject(p); }
    size_t HeldCount() const { return GetHeldObjects().size(); }
    void OnObjectDeletion(QelBase* pDeleted) override
    {
        ++m_nNotices;
        if (m_bReleaseOnNotice)
            ReleaseObject(pDeleted);
    }
    int m_nNotices = 0;
    bool m_bReleaseOnNotice;
};
} // namespace

TEST(QelBase, SetNameReplacesBytesOutsidePrintableAscii)
{
    QelCapture cap;
    Holder obj("start");
    EXPECT_TRUE(obj.SetName("a\tb"));
    EXPECT_EQ(obj.GetName(), "a_b");
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<warning> Invalid name [a\tb] has been changed to [a_b].\n");

    EXPECT_TRUE(obj.SetName("caf\xE9\x7F~ "));
    EXPECT_EQ(obj.GetName(), "caf__~ ");
    EXPECT_EQ(cap.Messages().size(), 2u);

    EXPECT_TRUE(obj.SetName("Box01 (printable)"));
    EXPECT_EQ(obj.GetName(), "Box01 (printable)");
    EXPECT_EQ(cap.Messages().size(), 2u);

    // The constructor keeps whatever it is given.
    Holder raw("x\ty");
    EXPECT_EQ(raw.GetName(), "x\ty");
}

TEST(QelBase, CopiesTakeTheNameButNotTheIdentity)
{
    Holder a("alpha"), b("beta");
    GUID gb = b.GetGuid();
    b = a;
    EXPECT_EQ(b.GetName(), "alpha");
    EXPECT_EQ(b.GetGuid(), gb);
    EXPECT_NE(a.GetGuid(), b.GetGuid());
    QelBase& self = b;
    static_cast<QelBase&>(b) = self;
    EXPECT_EQ(b.GetName(), "alpha");

    a.OnDelete();
    Holder c(a);
    EXPECT_EQ(c.GetName(), "alpha");
    EXPECT_NE(c.GetGuid(), a.GetGuid());
    EXPECT_FALSE(c.IsDeleted());

    GUID fixed = {1, 2, 3, {4, 5, 6, 7, 8, 9, 10, 11}};
    c.SetGuid(fixed);
    EXPECT_EQ(c.GetGuid(), fixed);
}

TEST(QelBase, HoldingIsASetOfLinksBothWays)
{
    Holder a("a"), x("x");
    a.Hold(&x);
    a.Hold(&x);
    std::vector<QelBase*> holders;
    x.GetAllObjectsHolding(holders);
    ASSERT_EQ(holders.size(), 1u);
    EXPECT_EQ(holders[0], &a);
    a.Release(&x);
    holders.clear();
    x.GetAllObjectsHolding(holders);
    EXPECT_TRUE(holders.empty());
    EXPECT_EQ(a.HeldCount(), 0u);
    a.Release(&x); // not held: nothing happens
    a.Hold(nullptr);
    a.Release(nullptr);

    // Holders come back in ascending pointer order, appended to what the vector had.
    Holder h[3] = {Holder("h0"), Holder("h1"), Holder("h2")};
    for (auto& hh : h)
        hh.Hold(&x);
    holders.assign(1, nullptr);
    x.GetAllObjectsHolding(holders);
    ASSERT_EQ(holders.size(), 4u);
    EXPECT_TRUE(holders[1] < holders[2] && holders[2] < holders[3]);
    for (auto& hh : h)
        hh.Release(&x);
}

TEST(QelBase, DeletionTellsHoldersAndReleasesHeldObjects)
{
    QelCapture cap;
    Holder parent("parent");
    Holder child1("c1"), child2("c2");
    parent.Hold(&child1);
    parent.Hold(&child2);
    Holder watcher("watcher", true), lazy("lazy", false);
    watcher.Hold(&parent);
    lazy.Hold(&parent);

    parent.OnDelete();
    EXPECT_TRUE(parent.IsDeleted());
    EXPECT_EQ(watcher.m_nNotices, 1);
    EXPECT_EQ(lazy.m_nNotices, 1);
    ASSERT_EQ(cap.Errors(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error> Object [parent] was deleted without releasing held objects correctly.\n");
    std::vector<QelBase*> holders;
    child1.GetAllObjectsHolding(holders);
    child2.GetAllObjectsHolding(holders);
    EXPECT_TRUE(holders.empty());
    EXPECT_EQ(parent.HeldCount(), 0u);
    // The lazy holder did not release: that shows on destruction.
    cap.Messages();
    lazy.Release(&parent);
}

TEST(QelBase, DestructionReportsHoldersThatDidNotRelease)
{
    QelCapture cap;
    Holder holder("holder");
    {
        Holder victim("victim");
        holder.Hold(&victim);
    }
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0], "<error> Object [victim] was deleted without being released by holders correctly.\n");
    // The holder still lists the destroyed object, as reported; its count is all we may look at.
    EXPECT_EQ(holder.HeldCount(), 1u);
}
