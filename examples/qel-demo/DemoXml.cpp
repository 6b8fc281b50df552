#include "QelDemo.h"

#include "qel/xml/QelMasterXMLInterface.h"

#include <cstdio>
#include <memory>
#include <string>

namespace
{
/// A small scene document: objects with attributes, typed values and a binary block.
void BuildScene(QelMasterXMLInterface& x)
{
    x.NewData("Scene", "Saved by qel-demo");
    x.WriteInt("Version", 2);
    const char* apNames[] = {"Box01", "Sphere01", "Light01"};
    for (int i = 0; i < 3; ++i)
    {
        x.AddAndMoveToChildNode("Object");
        x.WriteStringAttribute("name", apNames[i]);
        x.WriteBoolAttribute("visible", i != 1);
        x.WriteFloat("Size", 0.5f + static_cast<float>(i));
        x.WriteDouble("Mass", 1.0 / 3.0 * (i + 1));
        const char acColor[4] = {static_cast<char>(40 * i), 100, static_cast<char>(255 - 40 * i), -1};
        x.WriteData("Color", acColor, sizeof(acColor));
        x.MoveToParent();
    }
}

/// Reads the document back and prints what it holds on one line.
void Describe(const char* pForm, QelMasterXMLInterface& x)
{
    if (!x.IsValid())
    {
        std::printf("  %-22s did not load\n", pForm);
        return;
    }
    x.MoveToRootNode();
    std::printf("  %-22s loaded: <%s> version %d,", pForm, x.GetRootNodeName().c_str(), x.ReadInt("Version", 0));
    for (bool b = x.MoveToChildNode("Object"); b; b = x.MoveToNextSibling())
    {
        unsigned char acColor[4] = {};
        x.ReadData("Color", reinterpret_cast<char*>(acColor), sizeof(acColor));
        std::printf(" %s(size %g, rgb %u/%u/%u%s)", x.ReadStringAttribute("name", "?").c_str(), x.ReadFloat("Size", 0),
                    acColor[0], acColor[1], acColor[2], x.ReadBoolAttribute("visible", true) ? "" : ", hidden");
    }
    std::printf("\n");
    x.MoveToRootNode();
}

void Run(QelDemoApp& app)
{
    QelMasterXMLInterface scene;
    BuildScene(scene);
    std::string strDir = QelDemoOutputDir();
    std::string strPlain = strDir + "/scene.xml";
    std::string strPacked = strDir + "/scene.xml.gz";

    std::printf("  saved %s: %s\n", strPlain.c_str(), scene.SaveDataToFile(strPlain, false) ? "yes" : "no");
    std::printf("  saved %s: %s\n", strPacked.c_str(), scene.SaveDataToFile(strPacked, true) ? "yes" : "no");
    std::string strText = scene.SaveDataToString();
    std::printf("  saved to a string of %zu bytes\n", strText.size());
    unsigned int nPlain = 0, nPacked = 0;
    std::unique_ptr<char[]> pPlain(scene.SaveDataToMemory(nPlain, false));
    std::unique_ptr<char[]> pPacked(scene.SaveDataToMemory(nPacked, true));
    std::printf("  saved to memory blocks of %u bytes plain and %u bytes compressed\n", nPlain, nPacked);

    QelMasterXMLInterface back;
    back.LoadDataFromFile(strPlain);
    Describe("file", back);
    back.LoadDataFromFile(strPacked);
    Describe("gzip file", back);
    back.LoadDataFromString(strText);
    Describe("string", back);
    // The memory loader answers false even when it loads; IsValid tells.
    back.LoadDataFromMemory(pPacked.get(), nPacked);
    Describe("compressed memory", back);

    std::printf("  the cursor on the second object saves just that sub-tree:\n");
    back.MoveToChildNode(2u); // element 0 is Version
    std::string strPart = back.SaveDataToString();
    std::printf("%s\n", strPart.c_str());

    std::printf("  a damaged block is refused with a message:\n");
    pPacked[3] = 0x7F; // the stored length no longer fits the data
    {
        QelDemoExpect expect(app, 1);
        back.LoadDataFromMemory(pPacked.get(), nPacked);
    }
    std::printf("  valid after the damaged block: %s\n", back.IsValid() ? "yes" : "no");
}

QelDemoSection s_section(40, "XML documents: files, strings and memory blocks", Run);
} // namespace
