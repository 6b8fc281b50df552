#include "qel/properties/QelProperty.h"
#include "qel/text/QelBitmapText.h"
#include "qel/text/QelFontCache.h"
#include "qel/text/QelPolygonText.h"
#include "qel/text/QelTextureText.h"
#include "tests/support/QelTestApp.h"

#include <gtest/gtest.h>

#include <cstdio>
// (mkstemp, close)
#include <unistd.h>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace
{
const char* const kSans = "DejaVu Sans";

std::string Basename(const std::string& strPath)
{
    return strPath.substr(strPath.find_last_of('/') + 1);
}

/// A scratch file with the given bytes, removed at the end of the test.
struct ScratchFile
{
    explicit ScratchFile(const std::string& strBytes)
    {
        char aName[] = "/tmp/qel_text_XXXXXX";
        int fd = mkstemp(aName);
        if (fd >= 0)
            close(fd);
        m_strPath = aName;
        std::ofstream(m_strPath, std::ios::binary) << strBytes;
    }
    ~ScratchFile() { std::remove(m_strPath.c_str()); }
    std::string m_strPath;
};

std::string FileBytes(const std::string& strPath)
{
    std::ifstream in(strPath, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

std::string SansFile()
{
    std::string strFile, strFamily;
    QelFontCache::ResolveFont(QelLogicalFont(kSans, 16), strFile, strFamily);
    return strFile;
}
} // namespace

TEST(QelFontCache, FamiliesWeightsAndSlantsResolveToTheirFiles)
{
    struct Row
    {
        const char* pName;
        QelLogicalFont cFont;
        const char* pFile;
    };
    const Row aRows[] = {
        {"regular", QelLogicalFont(kSans, 16), "DejaVuSans.ttf"},
        {"bold", QelLogicalFont(kSans, 16, QelLogicalFont::eWeightBold), "DejaVuSans-Bold.ttf"},
        {"italic", QelLogicalFont(kSans, 16, QelLogicalFont::eWeightNormal, true), "DejaVuSans-Oblique.ttf"},
        {"case of the family does not matter", QelLogicalFont("dejavu sans", 30), "DejaVuSans.ttf"},
        {"generic family", QelLogicalFont("monospace", 16), "DejaVuSansMono.ttf"},
        {"empty family is sans-serif", QelLogicalFont("", 16), "DejaVuSans.ttf"},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        QelCapture log;
        std::string strFile, strFamily;
        ASSERT_TRUE(QelFontCache::ResolveFont(r.cFont, strFile, strFamily));
        EXPECT_EQ(Basename(strFile), r.pFile);
        EXPECT_TRUE(log.Messages().empty()) << log.Joined();
    }
}

TEST(QelFontCache, AMissingFamilyFallsBackWithAWarningEachTimeItIsAskedFor)
{
    QelCapture log;
    std::string strFile, strFamily;
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_TRUE(QelFontCache::ResolveFont(QelLogicalFont("No Such Family", 20, 700), strFile, strFamily));
        EXPECT_EQ(strFamily, QelFontCache::GetFallbackFamily());
        EXPECT_EQ(Basename(strFile), "DejaVuSans-Bold.ttf"); // the weight still counts
    }
    const std::string strWarning = "<warning> Font family [No Such Family] was not found: using [DejaVu Sans] instead\n";
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{strWarning, strWarning}));

    // A text object in that family lays out exactly as the fallback does, and says so once per change.
    QelTestApp::Get().Clear();
    QelBitmapText label("Hello"), fallback("Hello");
    label.SetFont(QelLogicalFont("No Such Family", 20));
    fallback.SetFont(QelLogicalFont(kSans, 20));
    QelVec2 vSize, vFallback;
    EXPECT_TRUE(label.GetTextSize(vSize));
    EXPECT_TRUE(label.GetTextSize(vSize));
    QelBox2 cInk, cFallbackInk;
    ASSERT_TRUE(fallback.GetTextSize(vFallback) && label.GetInkBox(cInk) && fallback.GetInkBox(cFallbackInk));
    EXPECT_EQ(vSize, vFallback);
    EXPECT_EQ(cInk.m_vecMin, cFallbackInk.m_vecMin);
    EXPECT_EQ(cInk.m_vecMax, cFallbackInk.m_vecMax);
    EXPECT_EQ(log.Messages(),
              (std::vector<std::string>{"<warning> Font family [No Such Family] was not found: using [DejaVu Sans] instead\n"}));
}

TEST(QelFontCache, WithoutAFontConfigurationFamiliesFailButFilesStillLoad)
{
    const std::string strFile = SansFile();
    QelFontCache::Clear();
    setenv("FONTCONFIG_FILE", "/nonexistent/qel/fonts.conf", 1);
    QelCapture log;
    std::string strFound, strFamily;
    EXPECT_FALSE(QelFontCache::ResolveFont(QelLogicalFont(kSans, 16), strFound, strFamily));
    QelBitmapText byFamily("Hello"), byFile("Hello");
    byFile.SetFontFile(strFile);
    QelVec2 vSize;
    EXPECT_FALSE(byFamily.GetTextSize(vSize));
    EXPECT_TRUE(byFile.GetTextSize(vSize));
    const std::string strWarning =
        "<warning> Font family [DejaVu Sans] cannot be looked up: no font configuration could be loaded\n";
    EXPECT_EQ(log.Messages(), (std::vector<std::string>{strWarning, strWarning}));
    unsetenv("FONTCONFIG_FILE");
    QelFontCache::Clear();
    EXPECT_TRUE(byFamily.GetTextSize(vSize)); // the configuration is read again after Clear
}

TEST(QelFontCache, LabelsInOneFontShareItAndClearReloadsIt)
{
    QelFontCache::Clear();
    std::vector<std::unique_ptr<QelBitmapText>> vLabels;
    QelVec2 vSize;
    for (int i = 0; i < 1000; ++i)
    {
        vLabels.push_back(std::make_unique<QelBitmapText>("Label " + std::to_string(i)));
        ASSERT_TRUE(vLabels.back()->GetTextSize(vSize));
    }
    EXPECT_EQ(QelFontCache::GetFontCount(), 1u);
    // Another height is another font; texture text adds its own font and a metrics font.
    vLabels[0]->SetFont(QelLogicalFont(kSans, 40));
    QelTextureText cTexture("Texture");
    ASSERT_TRUE(vLabels[0]->GetTextSize(vSize) && cTexture.GetTextSize(vSize));
    EXPECT_EQ(QelFontCache::GetFontCount(), 4u);

    QelFontCache::Clear();
    EXPECT_EQ(QelFontCache::GetFontCount(), 0u);
    QelVec2 vAgain;
    ASSERT_TRUE(vLabels[5]->GetTextSize(vAgain));
    EXPECT_EQ(QelFontCache::GetFontCount(), 1u);
}

TEST(QelTextObject, MeasuresLinesInPixelsOrSceneUnits)
{
    QelBitmapText label;
    label.SetFont(QelLogicalFont(kSans, 24));
    QelVec2 vOne, vTwo, vWide, vEmpty;
    ASSERT_TRUE(label.MeasureString("Hello", vOne));
    // The widest line sets the width; each line adds one pitch; every line break counts.
    for (const char* p : {"Hello\nHi", "Hi\r\nHello", "Hello\rHi"})
    {
        SCOPED_TRACE(p);
        ASSERT_TRUE(label.MeasureString(p, vTwo));
        EXPECT_EQ(vTwo.x, vOne.x);
        EXPECT_EQ(vTwo.y, 2.0f * vOne.y);
    }
    ASSERT_TRUE(label.MeasureString("Hello Hello", vWide));
    EXPECT_GT(vWide.x, 2.0f * vOne.x);
    // DejaVu Sans at 24 pixels: 23 above the baseline and 6 below.
    EXPECT_EQ(vOne.y, 29.0f);
    ASSERT_TRUE(label.MeasureString("", vEmpty));
    EXPECT_EQ(vEmpty.x, 0.0f);

    // Scene text scales with its height; polygons and textures measure alike.
    QelPolygonText title;
    QelTextureText sign;
    title.SetFont(QelLogicalFont(kSans, 24));
    sign.SetFont(QelLogicalFont(kSans, 24));
    title.SetSceneHeight(2.0f);
    sign.SetSceneHeight(1.0f);
    QelVec2 vTitle, vSign;
    ASSERT_TRUE(title.MeasureString("Hello", vTitle) && sign.MeasureString("Hello", vSign));
    EXPECT_FLOAT_EQ(vTitle.x, 2.0f * vSign.x);
    EXPECT_FLOAT_EQ(vSign.y, 29.0f / 24.0f);
    EXPECT_NEAR(vSign.x * 24.0f, vOne.x, 3.0f); // unhinted advances stay close to the hinted ones
}

TEST(QelTextObject, PropertiesCarryTheTextFontColorAndAlignment)
{
    QelBitmapText label("Start");
    label.SetFont(QelLogicalFont("DejaVu Serif", 18, 700, true));
    label.SetColor(QelVec4(1.0f, 0.0f, 0.0f, 1.0f));
    label.SetAlignment(QelTextObject::eAlignRight, QelTextObject::eAlignMiddle);
    EXPECT_EQ(label.GetFont(), QelLogicalFont("DejaVu Serif", 18, 700, true));
    EXPECT_EQ(label.GetProperty("Text:Font:Family")->GetAsString(), "DejaVu Serif");
    EXPECT_EQ(label.GetProperty("Text:Color")->GetAsColor(), 0xFF0000FFu);
    EXPECT_EQ(label.GetHorizontalAlignment(), QelTextObject::eAlignRight);
    EXPECT_EQ(label.GetProperty("Text:Alignment:Vertical")->GetAsInt(), QelTextObject::eAlignMiddle);
    EXPECT_EQ(label.GetTextProperty(QelTextObject::eTextDepth), nullptr);
    EXPECT_EQ(label.GetSceneHeight(), 0.0f);

    // An edit through the property is seen by the next measure; a copy has its own layout.
    QelVec2 vBefore, vAfter, vCopy;
    ASSERT_TRUE(label.GetTextSize(vBefore));
    label.GetProperty("Text:String")->SetAsString("Start\nand more");
    ASSERT_TRUE(label.GetTextSize(vAfter));
    EXPECT_EQ(vAfter.y, 2.0f * vBefore.y);
    QelBitmapText copy(label);
    ASSERT_TRUE(copy.GetTextSize(vCopy));
    EXPECT_EQ(vCopy, vAfter);
    copy.SetText("S");
    ASSERT_TRUE(copy.GetTextSize(vCopy));
    EXPECT_LT(vCopy.x, vAfter.x);
    EXPECT_EQ(label.GetText(), "Start\nand more");
    // The alignment only accepts its three values.
    QelCapture log;
    label.GetProperty("Text:Alignment:Horizontal")->SetAsInt(7);
    EXPECT_EQ(label.GetHorizontalAlignment(), QelTextObject::eAlignRight);
    EXPECT_EQ(log.Warnings(), 1u);
}

TEST(QelTextObject, BadTextAndBadFontsWarnAndLeaveNothingToDraw)
{
    const std::string strSans = SansFile();
    ScratchFile cGarbage("This is not a font, only some words in a file.\n");
    ScratchFile cTruncated(FileBytes(strSans).substr(0, 3000));
    ScratchFile cEmpty("");
    struct Row
    {
        const char* pName;
        std::string strText;
        int nHeight;
        std::string strFile;
        std::string strMessage;
    };
    const std::string strTail = ": nothing is drawn or measured<flush>";
    const Row aRows[] = {
        {"lone continuation byte", "ab\x80", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 2 is 0x80)" + strTail},
        {"overlong slash", "\xC0\xAF", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 0 is 0xC0)" + strTail},
        {"overlong three bytes", "x\xE0\x80\xAF", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 1 is 0xE0)" + strTail},
        {"surrogate", "\xED\xA0\x80", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 0 is 0xED)" + strTail},
        {"past U+10FFFF", "\xF4\x90\x80\x80", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 0 is 0xF4)" + strTail},
        {"cut sequence", "ok\xC3", 16, "", "<warning>Label - Text is not valid UTF-8 (byte 2 is 0xC3)" + strTail},
        {"1 MB of text", std::string(1 << 20, 'x'), 16, "",
         "<warning>Label - Text of 1048576 bytes is longer than the 65536 bytes allowed" + strTail},
        {"zero height", "Hi", 0, "", "<warning>Label - Font height 0 is not positive" + strTail},
        {"negative height", "Hi", -12, "", "<warning>Label - Font height -12 is not positive" + strTail},
        {"not a font", "Hi", 16, cGarbage.m_strPath,
         "<warning> Font file [" + cGarbage.m_strPath + "] could not be loaded at height 16 (FreeType error 2)\n"},
        {"truncated font", "Hi", 16, cTruncated.m_strPath,
         "<warning> Font file [" + cTruncated.m_strPath + "] could not be loaded at height 16 (FreeType error 2)\n"},
        {"empty file", "Hi", 16, cEmpty.m_strPath,
         "<warning> Font file [" + cEmpty.m_strPath + "] could not be loaded at height 16 (FreeType error 2)\n"},
        {"missing file", "Hi", 16, "/nonexistent/font.ttf",
         "<warning> Font file [/nonexistent/font.ttf] could not be loaded at height 16 (FreeType error 1)\n"},
    };
    for (const Row& r : aRows)
    {
        SCOPED_TRACE(r.pName);
        for (auto pText : {static_cast<QelTextObject*>(new QelBitmapText), static_cast<QelTextObject*>(new QelTextureText)})
        {
            std::unique_ptr<QelTextObject> pOwn(pText);
            pText->SetName("Label");
            pText->SetText(r.strText);
            pText->SetFont(QelLogicalFont(kSans, r.nHeight));
            pText->SetFontFile(r.strFile);
            QelCapture log;
            QelVec2 vSize;
            QelBox2 cInk;
            EXPECT_FALSE(pText->GetTextSize(vSize));
            EXPECT_FALSE(pText->GetInkBox(cInk));
            EXPECT_EQ(log.Messages(), (std::vector<std::string>{r.strMessage}));
        }
    }
    // Measuring a bad string in a good font says what is wrong and leaves the object's own text be.
    QelBitmapText label("Fine");
    label.SetName("Label");
    QelCapture log;
    QelVec2 vSize;
    EXPECT_FALSE(label.MeasureString("\xFF", vSize));
    EXPECT_EQ(log.Messages(),
              (std::vector<std::string>{"<warning>Label - Text is not valid UTF-8 (byte 0 is 0xFF)" + strTail}));
    EXPECT_TRUE(label.GetTextSize(vSize));
}

TEST(QelTextObject, HugeHeightsAndWeightsAreClampedWithAWarning)
{
    QelBitmapText label("W");
    label.SetName("Label");
    label.SetFont(QelLogicalFont(kSans, 5000, 4000));
    QelCapture log;
    QelVec2 vSize;
    ASSERT_TRUE(label.GetTextSize(vSize));
    EXPECT_EQ(log.Messages(),
              (std::vector<std::string>{"<warning>Label - Font height 5000 is above 1024 pixels: using 1024<flush>",
                                        "<warning> Font weight 4000 of [DejaVu Sans] is outside 0..1000: using 1000\n"}));
    EXPECT_GT(vSize.y, 1000.0f);
}
