#include "qel/properties/QelProperty.h"
#include "qel/properties/QelPropertyContainer.h"
#include "qel/properties/QelPropertyHistory.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

namespace
{
class Recorder : public QelPropertyContainer
{
public:
    Recorder() { SetName("Rec"); }
};
} // namespace

TEST(QelPropertyHistory, FillAndReadItsOrdering)
{
    Recorder r;
    QelProperty* p = r.CreateProperty("Speed", eDataReal);
    QelPropertyHistory& h = p->History();
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered);
    h.Clear();
    r.SetAnyHistoryHasChanged(false);
    p->SetHistoryChangedFlag(false);

    EXPECT_TRUE(p->AppendHistory(QelVariant(5.0f)));
    EXPECT_TRUE(r.HasAnyHistoryChanged());
    EXPECT_TRUE(p->HistoryHasChanged());
    h.Append(QelVariant(2.0f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);
    p->ClearHistory();
    h.Append(QelVariant(2.0f));
    h.Append(QelVariant(5.0f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered);
    h.Append(QelVariant(5.0f));
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered);

    h.Append(QelVariant(10.0f));
    h.Append(QelVariant(20.0f));
    double dMin, dMax;
    EXPECT_TRUE(h.GetRange(dMin, dMax));
    EXPECT_EQ(dMin, 0.0);
    EXPECT_EQ(dMax, 1.0);
    h.GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMin, 2.0);
    EXPECT_EQ(dMax, 20.0);
    EXPECT_EQ(h.GetType(true), QelPropertyHistory::eTypeEmpty);
    EXPECT_EQ(h.GetState(false), QelPropertyHistory::eStateValid);
    EXPECT_EQ(h.Get(true), nullptr);
    EXPECT_EQ(h.Get(false), nullptr);
    EXPECT_EQ(h.GetRaw()->size(), 5u);
    h.SetType(QelPropertyHistory::eTypeManual);
    h.SetState(QelPropertyHistory::eStateStale);
    EXPECT_EQ(h.GetState(true), QelPropertyHistory::eStateStale);
    EXPECT_FALSE(p->IsDerivedHistoryAllowed());
    p->SetAllowDerivedHistoryFlag(true);
    EXPECT_TRUE(h.AllowDerived());

    h.Clear();
    EXPECT_EQ(h.GetRaw()->size(), 0u);
    h.GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMax, 1.0);
}

TEST(QelPropertyHistory, SetChecksTypes)
{
    QelCapture cap;
    Recorder r;
    QelProperty* p = r.CreateProperty("Speed", eDataReal);
    QelPropertyHistory& h = p->History();
    EXPECT_TRUE(p->SetHistory({QelVariant(3.0f), QelVariant(-1.0f)}));
    double dMin, dMax;
    h.GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMin, -1.0);
    EXPECT_EQ(dMax, 3.0);
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);
    EXPECT_FALSE(h.Set({QelVariant(1.0f), QelVariant("fast")}));
    EXPECT_EQ(h.GetRaw()->size(), 2u);
    ASSERT_EQ(cap.Messages().size(), 1u);
    EXPECT_EQ(cap.Messages()[0],
              "<warning> Property Rec.Speed is of type Real, but an attempt was made to set history of type String\n");
    EXPECT_TRUE(h.Set({}));
    h.GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMin, 0.0);
    EXPECT_EQ(dMax, 1.0);

    // Append takes anything.
    EXPECT_TRUE(h.Append(QelVariant("text")));
    QelProperty* pName = r.CreateProperty("Name", eDataString);
    EXPECT_TRUE(pName->SetHistory({QelVariant("b"), QelVariant("a")}));
    pName->History().GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMax, 1.0);
}

TEST(QelPropertyHistory, FastBulkFill)
{
    QelCapture cap;
    Recorder r;
    QelProperty* p = r.CreateProperty("Time", eDataReal);
    QelPropertyHistory& h = p->History();
    h.FastReserve(100);
    r.SetAnyHistoryHasChanged(false);
    for (int i = 0; i < 100; ++i)
        h.FastAppend(QelVariant(float(i)));
    EXPECT_FALSE(r.HasAnyHistoryChanged()); // nothing told until completion
    h.FastSetAt(QelVariant(-5.0f), 50);
    h.FastSetAt(QelVariant(1.0f), 100);
    h.FastSetAt(QelVariant(1.0f), -1);
    EXPECT_EQ(cap.Warnings(), 2u);
    EXPECT_EQ(cap.Messages()[0], "<warning> History index [100] is out of range [0, 100) in QelPropertyHistory::FastSetAt()\n");
    EXPECT_TRUE(h.FastComplete());
    EXPECT_TRUE(r.HasAnyHistoryChanged());
    double dMin, dMax;
    h.GetStoredRange(dMin, dMax);
    EXPECT_EQ(dMin, -5.0);
    EXPECT_EQ(dMax, 99.0);
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingUnordered);

    h.FastSetAt(QelVariant(50.0f), 50);
    EXPECT_TRUE(h.FastComplete());
    EXPECT_EQ(h.CheckOrdering(), QelPropertyHistory::eOrderingOrdered); // completion resets the cache

    h.FastAppend(QelVariant(7));
    EXPECT_FALSE(h.FastComplete());
    EXPECT_EQ(cap.Messages().back(), "<warning> AppendFastComplete: property Rec.Time is of type Real, but an attempt "
                                     "was made to set history of type Integer\n");
    h.FastResize(3);
    EXPECT_EQ(h.GetRaw()->size(), 3u);
    h.FastResize(5);
    EXPECT_EQ((*h.GetRaw())[4].GetDataType(), eDataUninitialized);

    // Copies take the values, not the owner.
    QelPropertyHistory copy(h);
    EXPECT_EQ(copy.GetRaw()->size(), 5u);
    copy.Append(QelVariant(1.0f)); // no owner: nobody to tell, no type rules
    EXPECT_EQ(h.GetRaw()->size(), 5u);
}
