#include "qel/buffers/detail/QelInterleave.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace
{
/// Separate arrays of distinct bytes, so a byte copied to the wrong place shows.
struct Arrays
{
    std::vector<std::vector<unsigned char>> vData;
    std::vector<QelInterleaveStream> vStreams;
    size_t nStride = 0;

    Arrays(const std::vector<int>& vBytes, size_t nCount)
    {
        unsigned n = 1;
        for (int nBytes : vBytes)
        {
            std::vector<unsigned char> v(size_t(nBytes) * nCount);
            for (auto& c : v)
                c = (unsigned char)(n++ * 37u);
            vData.push_back(std::move(v));
        }
        for (size_t i = 0; i < vBytes.size(); ++i)
        {
            vStreams.push_back({vData[i].data(), vBytes[i], int(nStride)});
            nStride += size_t(vBytes[i]);
        }
    }
};
} // namespace

// The row path must give byte for byte what the general path gives, for every layout it takes,
// at counts around the general path's block size; any other layout is left to the general path.
TEST(QelInterleave, RowPathMatchesColumnPath)
{
    struct Row
    {
        const char* pName;
        std::vector<int> vBytes;
        bool bRows;
    };
    const Row rows[] = {
        {"position", {12}, true},
        {"position color", {12, 4}, true},
        {"position normal", {12, 12}, true},
        {"position normal color", {12, 12, 4}, true},
        {"position texture", {12, 8}, true},
        {"position texture color", {12, 8, 4}, true},
        {"position texture normal", {12, 8, 12}, true},
        {"position texture normal color", {12, 8, 12, 4}, true},
        {"2D position", {8, 12}, false},
        {"two texture layers", {12, 8, 8, 12, 4}, false},
        {"4D texture", {12, 16, 12}, false},
    };
    for (const Row& r : rows)
        for (size_t nCount : {size_t(1), size_t(255), size_t(256), size_t(513)})
        {
            SCOPED_TRACE(std::string(r.pName) + ", " + std::to_string(nCount) + " vertices");
            Arrays a(r.vBytes, nCount);
            std::vector<unsigned char> vRows(a.nStride * nCount + 1, 0xEE), vColumns(vRows);
            ASSERT_EQ(QelInterleave::Rows(a.vStreams.data(), int(a.vStreams.size()), vRows.data(), a.nStride, nCount),
                      r.bRows);
            QelInterleave::Columns(a.vStreams.data(), int(a.vStreams.size()), vColumns.data(), a.nStride, nCount);
            if (r.bRows)
                EXPECT_EQ(vRows, vColumns);
            else
                EXPECT_EQ(vRows, std::vector<unsigned char>(vRows.size(), 0xEE));
            EXPECT_EQ(vColumns.back(), 0xEE); // nothing past the last vertex
            // The last vertex's last attribute comes from the end of its array.
            const auto& vLast = a.vData.back();
            EXPECT_EQ(vColumns[a.nStride * nCount - 1], vLast.back());
        }
}

// A layout whose streams are not packed one after another (a gap) is not the row path's.
TEST(QelInterleave, RowPathRefusesGaps)
{
    Arrays a({12, 4}, 4);
    a.vStreams[1].nOffset = 16;
    std::vector<unsigned char> v(20 * 4);
    EXPECT_FALSE(QelInterleave::Rows(a.vStreams.data(), 2, v.data(), 20, 4));
}
