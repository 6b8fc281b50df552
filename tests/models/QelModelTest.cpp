#include "qel/models/QelModel.h"
#include "qel/properties/QelProperty.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/models/QelModelTestSupport.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>

namespace
{
const char* const kTriangle = "v -1 -2 0\nv 1 0 0\nv 0 2 3\nf 1 2 3\n";
}

TEST(QelModel, LoadsByFileNameAndTakesItsExtentsFromTheBounds)
{
    QelModelTempDir dir;
    std::string strFile = dir.Write("t.obj", kTriangle);
    QelCapture cap;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(strFile));
    EXPECT_TRUE(cap.Messages().empty()) << cap.Joined();
    EXPECT_EQ(model.GetFilename(), strFile);
    EXPECT_EQ(model.GetModelData().NumTriangles(), 1u);
    EXPECT_EQ(model.GetExtents(), QelBox3(QelVec3(-1, -2, 0), QelVec3(1, 2, 3)));
    EXPECT_FLOAT_EQ(model.GetCullRadius(), std::sqrt(14.0f));
    EXPECT_EQ(model.GetPropertyFilenameFilter(model.GetProperty("Filename")), QelModel::GetFilenameFilters());
}

TEST(QelModel, UnknownExtensionsAndBadFilesLeaveItEmpty)
{
    QelModelTempDir dir;
    QelModel model;
    ASSERT_TRUE(model.LoadFile(dir.Write("t.obj", kTriangle)));
    {
        QelCapture cap;
        std::string strFile = dir.Write("t.xyz", kTriangle);
        EXPECT_FALSE(model.LoadFile(strFile));
        EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> QelModel - No loader found for file [" + strFile + "]\n"});
        EXPECT_TRUE(model.GetModelData().Empty());
        EXPECT_EQ(model.GetCullRadius(), 0.0f);
    }
    {
        QelCapture cap;
        EXPECT_FALSE(model.LoadFile(dir.File("none.obj")));
        EXPECT_EQ(cap.Errors(), 1u);
        EXPECT_EQ(model.GetFilename(), dir.File("none.obj"));
    }
}

TEST(QelModel, FilenameIsSavedAndTheFileReloadedWithTheDocument)
{
    QelModelTempDir dir;
    std::string strFile = dir.Write("t.obj", kTriangle);
    QelMasterXMLInterface xml;
    {
        QelModel model;
        model.LoadFile(strFile);
        xml.NewData("Document", "");
        xml.AddAndMoveToChildNode("Object");
        ASSERT_TRUE(model.Save(&xml));
        EXPECT_EQ(xml.ReadString("Filename", ""), strFile);
    }
    QelModel loaded;
    ASSERT_TRUE(xml.MoveToRootNode() && xml.MoveToChildNode("Object"));
    ASSERT_TRUE(loaded.Load(&xml));
    EXPECT_EQ(loaded.GetFilename(), strFile);
    EXPECT_EQ(loaded.GetModelData().NumTriangles(), 1u);
}

TEST(QelModel, EditingTheFilenamePropertyLoadsTheOtherFile)
{
    QelModelTempDir dir;
    QelModel model;
    model.LoadFile(dir.Write("a.obj", kTriangle));
    model.GetProperty("Filename")->SetAsString(dir.Write("b.obj", std::string(kTriangle) + "f 1 3 2\n"));
    model.InvokeCalculate();
    EXPECT_EQ(model.GetModelData().NumTriangles(), 2u);
}

TEST(QelModel, TwoModelsOfOneFileShareNothing)
{
    QelModelTempDir dir;
    std::string strFile = dir.Write("t.obj", kTriangle);
    auto pFirst = std::make_unique<QelModel>();
    QelModel second;
    pFirst->LoadFile(strFile);
    second.LoadFile(strFile);
    EXPECT_NE(&pFirst->GetModelData(), &second.GetModelData());
    pFirst.reset();
    ASSERT_EQ(second.GetModelData().NumTriangles(), 1u);
    EXPECT_EQ(second.GetModelData().m_vMeshes[0].m_vPositions[2], QelVec3(0, 2, 3));
}
