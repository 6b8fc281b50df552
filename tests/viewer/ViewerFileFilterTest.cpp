#include "ViewerFileFilter.h"

#include "qel/models/QelModel.h"

#include <gtest/gtest.h>

namespace
{
TEST(ViewerFileFilter, TheLibrarysFilterStringsBecomeTheDialogsTypes)
{
    std::vector<ViewerFileFilter::SFilter> vFilters =
        ViewerFileFilter::Parse("Scenes|*.qvs;*.qvs.gz|Broken||Meshes (*.obj)|*.obj|All Files (*.*)|*.*|||ignored|*.x");
    ASSERT_EQ(vFilters.size(), 3u); // the label without patterns is dropped; the list ends at "||"
    EXPECT_EQ(vFilters[0].m_strLabel, "Scenes");
    EXPECT_EQ(vFilters[0].m_vPatterns, (std::vector<std::string>{"*.qvs", "*.qvs.gz"}));
    struct SRow
    {
        size_t m_nFilter;
        const char* m_pFile;
        bool m_bMatches;
    };
    const SRow kRows[] = {
        {0, "scene.qvs", true},  {0, "scene.QVS.GZ", true}, {0, "scene.gz", false}, {0, ".qvs", false},
        {1, "teapot.obj", true}, {1, "teapot.objx", false}, {1, "obj", false},     {2, "anything", true},
    };
    for (const SRow& cRow : kRows)
    {
        SCOPED_TRACE(cRow.m_pFile);
        EXPECT_EQ(ViewerFileFilter::Matches(vFilters[cRow.m_nFilter], cRow.m_pFile), cRow.m_bMatches);
    }
    EXPECT_TRUE(ViewerFileFilter::Parse("").empty());
    EXPECT_TRUE(ViewerFileFilter::Parse("|||").empty());

    // Every registered model type gets an entry that shows its files.
    std::vector<ViewerFileFilter::SFilter> vModels = ViewerFileFilter::Parse(QelModel::GetFilenameFilters());
    bool bObj = false, bZmf = false;
    for (const ViewerFileFilter::SFilter& cFilter : vModels)
        if (cFilter.m_vPatterns.size() == 1)
        {
            bObj |= ViewerFileFilter::Matches(cFilter, "a.obj");
            bZmf |= ViewerFileFilter::Matches(cFilter, "a.zmf") && cFilter.m_vPatterns[0] != "*.*";
        }
    EXPECT_TRUE(bObj);
    EXPECT_TRUE(bZmf);
}
} // namespace
