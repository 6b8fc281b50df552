#include "qel/models/CObjLoader.h"
#include "qel/models/QelModel.h"
#include "qel/models/QelModelData.h"
#include "qel/models/QelModelFormat.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
/// A loader that only registers extensions: valid, if useless.
class BareLoader : public QelModelFormat
{
public:
    explicit BareLoader(const std::vector<std::string>& vExtensions)
    {
        for (const std::string& s : vExtensions)
            Register(s);
    }
};

class LabelledLoader : public BareLoader
{
public:
    LabelledLoader(const std::vector<std::string>& vExtensions, const std::string& strLabel)
        : BareLoader(vExtensions), m_strLabel(strLabel)
    {
    }
    std::string GetLabel() const override { return m_strLabel; }

private:
    std::string m_strLabel;
};
} // namespace

TEST(QelModelFormat, ExtensionsAreRegisteredOnceWhateverTheirCase)
{
    QelCapture cap;
    QelModelFormat* pObj = QelModelFormat::GetFileHandlerForFilename("a.obj");
    ASSERT_NE(pObj, nullptr);
    EXPECT_EQ(pObj->GetLabel(), "Wavefront Object Files");
    {
        BareLoader late({"OBJ", "Zmf"});
        EXPECT_EQ(cap.Messages(), (std::vector<std::string>{"<error> QelModel - file extension [OBJ] is already registered.\n",
                                                            "<error> QelModel - file extension [Zmf] is already registered.\n"}));
        EXPECT_EQ(QelModelFormat::GetFileHandlerForFilename("a.OBJ"), pObj);
    }
    // The refused loader took nothing with it when it went.
    EXPECT_EQ(QelModelFormat::GetFileHandlerForFilename("a.obj"), pObj);
}

TEST(QelModelFormat, LookupTakesTheTextAfterTheLastPoint)
{
    struct Row
    {
        const char* m_pFile;
        const char* m_pLabel; // null: no loader
    };
    const Row kRows[] = {{"Model.Obj", "Wavefront Object Files"},
                         {"C:\\models\\part.OBJ", "Wavefront Object Files"},
                         {"plan.v2.dxf", "AutoCAD DXF Files"},
                         {"saved.ZMF", "ZUB Model Files"},
                         {"README", nullptr},
                         {"archive.obj.gz", nullptr},
                         {"trailing.", nullptr},
                         {"dir.obj/file", nullptr}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pFile);
        QelModelFormat* p = QelModelFormat::GetFileHandlerForFilename(row.m_pFile);
        if (!row.m_pLabel)
            EXPECT_EQ(p, nullptr);
        else
        {
            ASSERT_NE(p, nullptr);
            EXPECT_EQ(p->GetLabel(), row.m_pLabel);
        }
    }
}

TEST(QelModelFormat, SupportedTypesAndTheDialogFilter)
{
    std::vector<QelModelFormat::SFileType> vTypes;
    QelModelFormat::GetSupportedFileTypes(vTypes);
    ASSERT_EQ(vTypes.size(), 6u);
    EXPECT_EQ(vTypes[0].m_strExtension + "|" + vTypes[0].m_strLabel, "3ds|3D Studio MAX Files");
    EXPECT_EQ(vTypes[1].m_strExtension + "|" + vTypes[1].m_strLabel, "dae|Collada Files");
    EXPECT_EQ(vTypes[2].m_strExtension + "|" + vTypes[2].m_strLabel, "dxf|AutoCAD DXF Files");
    EXPECT_EQ(vTypes[3].m_strExtension + "|" + vTypes[3].m_strLabel, "obj|Wavefront Object Files");
    EXPECT_EQ(vTypes[4].m_strExtension + "|" + vTypes[4].m_strLabel, "shp|Shapefiles");
    EXPECT_EQ(vTypes[5].m_strExtension + "|" + vTypes[5].m_strLabel, "zmf|ZUB Model Files");
    EXPECT_EQ(QelModel::GetFilenameFilters(),
              "Common Model Formats|*.3ds;*.dae;*.dxf;*.obj|3D Studio MAX Files (*.3ds)|*.3ds|"
              "AutoCAD DXF Files (*.dxf)|*.dxf|Collada Files (*.dae)|*.dae|Shapefiles (*.shp)|*.shp|"
              "Wavefront Object Files (*.obj)|*.obj|ZUB Model Files (*.zmf)|*.zmf|All Files (*.*)|*.*|||");

    LabelledLoader dxf2({"DXF2"}, "AutoCAD DXF Files");
    BareLoader bare({"raw"});
    EXPECT_EQ(QelModel::GetFilenameFilters(),
              "Common Model Formats|*.3ds;*.dae;*.dxf;*.obj|"
              " (*.raw)|*.raw|3D Studio MAX Files (*.3ds)|*.3ds|"
              "AutoCAD DXF Files (*.dxf)|*.dxf|AutoCAD DXF Files (*.DXF2)|*.DXF2|Collada Files (*.dae)|*.dae|"
              "Shapefiles (*.shp)|*.shp|"
              "Wavefront Object Files (*.obj)|*.obj|ZUB Model Files (*.zmf)|*.zmf|All Files (*.*)|*.*|||");
}

TEST(QelModelFormat, ALoaderThatOverridesNothingReadsNothing)
{
    BareLoader bare({"nil"});
    QelModelFormat* p = QelModelFormat::GetFileHandlerForFilename("x.NIL");
    ASSERT_EQ(p, &bare);
    EXPECT_EQ(p->GetLabel(), "");
    EXPECT_FALSE(p->CanSave());
    QelCapture cap;
    QelModelData data;
    EXPECT_FALSE(p->Load("x.nil", data));
    EXPECT_FALSE(p->Save("x.nil", data));
    EXPECT_EQ(cap.Messages(), std::vector<std::string>{"<error> QelModel - The loader for file [x.nil] reads nothing\n"});
}
