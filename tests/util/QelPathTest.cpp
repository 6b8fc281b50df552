#include "qel/util/QelFileFinder.h"
#include "qel/util/QelPath.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/// A folder tree of this test: Models/Textures/Wood.PNG, Models/scene.obj, Models/Other.OBJ, Models/sub/.
struct Tree
{
    std::string m_strRoot = (fs::temp_directory_path() / ("qel_path_test_" + std::to_string(::getpid()))).string();
    Tree()
    {
        fs::create_directories(m_strRoot + "/Models/Textures");
        fs::create_directories(m_strRoot + "/Models/sub");
        for (const char* p : {"/Models/Textures/Wood.PNG", "/Models/scene.obj", "/Models/Other.OBJ", "/Models/notes.txt"})
            std::ofstream(m_strRoot + p) << "x";
    }
    ~Tree()
    {
        std::error_code ec;
        fs::remove_all(m_strRoot, ec);
    }
};
} // namespace

TEST(QelPath, SplitsAndJoinsPathsOfEitherSeparator)
{
    struct Row
    {
        const char* m_pPath;
        const char* m_pFolder;
        const char* m_pName;
        const char* m_pExtension;
        bool m_bAbsolute;
    };
    const Row kRows[] = {{"C:\\models\\car.OBJ", "C:\\models", "car.OBJ", "OBJ", true},
                         {"/data/plan.v2.dxf", "/data", "plan.v2.dxf", "dxf", true},
                         {"textures/a", "textures", "a", "", false},
                         {"README", "", "README", "", false},
                         {"/top", "/", "top", "", true},
                         {"dir.d/file", "dir.d", "file", "", false}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pPath);
        EXPECT_EQ(QelPath::Folder(row.m_pPath), row.m_pFolder);
        EXPECT_EQ(QelPath::FileName(row.m_pPath), row.m_pName);
        EXPECT_EQ(QelPath::Extension(row.m_pPath), row.m_pExtension);
        EXPECT_EQ(QelPath::IsAbsolute(row.m_pPath), row.m_bAbsolute);
    }
    EXPECT_EQ(QelPath::Normalize("a/./b/../c//d\\e"), "a/c/d/e");
    EXPECT_EQ(QelPath::Normalize("/../x/.."), "/");
    EXPECT_EQ(QelPath::Normalize("../../x"), "../../x");
    EXPECT_EQ(QelPath::Normalize("C:\\a\\..\\b"), "C:/b");
    EXPECT_EQ(QelPath::Join("a/", "b"), "a/b");
    EXPECT_EQ(QelPath::Join("a", "/b"), "/b");
}

TEST(QelPath, RelativePathsRoundTripThroughTheBaseFile)
{
    struct Row
    {
        const char* m_pPath;
        const char* m_pBase;
        const char* m_pRelative;
    };
    const Row kRows[] = {{"/p/models/tex/a.png", "/p/models/m.zmf", "tex/a.png"},
                         {"/p/tex/a.png", "/p/models/m.zmf", "../tex/a.png"},
                         {"/q/a.png", "/p/models/deep/m.zmf", "../../../q/a.png"},
                         {"C:\\p\\a.png", "C:/p/x/m.zmf", "../a.png"},
                         {"D:/a.png", "C:/p/m.zmf", "D:/a.png"},
                         {"rel/a.png", "/p/m.zmf", "rel/a.png"}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(row.m_pPath);
        std::string strRelative = QelPath::MakeRelative(row.m_pPath, row.m_pBase);
        EXPECT_EQ(strRelative, row.m_pRelative);
        if (QelPath::IsAbsolute(row.m_pPath) && strRelative != row.m_pPath)
        {
            EXPECT_EQ(QelPath::MakeAbsolute(strRelative, row.m_pBase), QelPath::Normalize(row.m_pPath));
        }
    }
}

TEST(QelPath, FindsFilesWhateverTheCaseOfTheirNames)
{
    Tree tree;
    const std::string strModels = tree.m_strRoot + "/Models";
    EXPECT_EQ(QelPath::FindIgnoringCase(tree.m_strRoot + "/models/TEXTURES/wood.png"), strModels + "/Textures/Wood.PNG");
    EXPECT_EQ(QelPath::FindIgnoringCase(tree.m_strRoot + "\\Models\\scene.obj"), strModels + "/scene.obj");
    EXPECT_EQ(QelPath::FindIgnoringCase(tree.m_strRoot + "/models/missing.png"), "");
    // Names as a Windows material library gives them, relative to its folder.
    EXPECT_EQ(QelPath::FindFile("textures\\WOOD.png", strModels), strModels + "/Textures/Wood.PNG");
    EXPECT_EQ(QelPath::FindFile("C:\\Users\\me\\Desktop\\wood.png", strModels + "/Textures"), strModels + "/Textures/Wood.PNG");
    EXPECT_EQ(QelPath::FindFile("sub", strModels), ""); // a folder is not a file
    EXPECT_EQ(QelPath::FindFile("", strModels), "");
    EXPECT_TRUE(QelPath::IsDirectory(strModels + "/sub"));
    EXPECT_TRUE(QelPath::IsRegularFile(strModels + "/scene.obj"));
    EXPECT_FALSE(QelPath::Exists(strModels + "/nothing"));
}

TEST(QelFileFinder, ListsMatchingNamesSortedIgnoringCase)
{
    Tree tree;
    const std::string strModels = tree.m_strRoot + "/Models";
    EXPECT_EQ(QelFileFinder::List(strModels, "*.obj"), (std::vector<std::string>{"Other.OBJ", "scene.obj"}));
    EXPECT_EQ(QelFileFinder::List(strModels, "*"), (std::vector<std::string>{"Other.OBJ", "notes.txt", "scene.obj"}));
    EXPECT_EQ(QelFileFinder::List(strModels, "*", QelFileFinder::eEntryFolders), (std::vector<std::string>{"Textures", "sub"}));
    EXPECT_EQ(QelFileFinder::List(strModels, "s?ene.*"), std::vector<std::string>{"scene.obj"});
    EXPECT_TRUE(QelFileFinder::List(strModels + "/none", "*").empty());

    QelFileFinder finder;
    std::vector<std::string> vFound;
    std::string strName;
    ASSERT_TRUE(finder.FindFirst(strModels, "*.OBJ"));
    while (finder.FindNext(strName))
        vFound.push_back(strName);
    EXPECT_EQ(vFound, (std::vector<std::string>{"Other.OBJ", "scene.obj"}));
    EXPECT_FALSE(finder.FindFirst(strModels, "*.dxf"));

    struct Row
    {
        const char* m_pName;
        const char* m_pPattern;
        bool m_bMatch;
    };
    const Row kRows[] = {{"a.obj", "*.OBJ", true},   {"a.obj.gz", "*.obj", false}, {"abc", "a*c", true},
                         {"ac", "a*?c", false},      {"", "*", true},              {"x", "", false},
                         {"aaaaaaaaaaaaaaaaaaaaaaaaaaaaab", "*a*a*a*a*a*a*a*a*c", false}};
    for (const Row& row : kRows)
    {
        SCOPED_TRACE(std::string(row.m_pName) + " ~ " + row.m_pPattern);
        EXPECT_EQ(QelFileFinder::Matches(row.m_pName, row.m_pPattern), row.m_bMatch);
    }
}
