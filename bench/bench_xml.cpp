// The XML cursor beside raw libxml2 calls doing the same work: build a document of 100,000 float
// elements (10,000 objects of ten values) and 10,000 elements with attributes, save it to a string,
// memory blocks (plain and compressed) and a gzip file, load each back and read every value.
#include "qel/framework/QelSysApp.h"
#include "qel/xml/QelMasterXMLInterface.h"
#include "tests/support/QelSilentApp.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <unistd.h>

namespace
{
using SilentApp = QelSilentApp;

const int kObjects = 10000;
const int kValuesPerObject = 10;
const int kItems = 10000;
const std::string kValueNames[kValuesPerObject] = {"f0", "f1", "f2", "f3", "f4", "f5", "f6", "f7", "f8", "f9"};

float ValueOf(int i, int k)
{
    return static_cast<float>(i) * 0.37f + static_cast<float>(k) * 1.125f;
}

std::string GzipPath(const char* pWho)
{
    return "/tmp/qel_bench_xml_" + std::to_string(::getpid()) + "_" + pWho + ".xml.gz";
}

// ---- the cursor ----

void BuildCursor(QelMasterXMLInterface& x)
{
    x.NewData("Scene", "");
    x.AddAndMoveToChildNode("Objects");
    for (int i = 0; i < kObjects; ++i)
    {
        x.AddAndMoveToChildNode("Object");
        for (int k = 0; k < kValuesPerObject; ++k)
            x.WriteFloat(kValueNames[k], ValueOf(i, k));
        x.MoveToParent();
    }
    x.MoveToParent();
    x.AddAndMoveToChildNode("Items");
    for (int i = 0; i < kItems; ++i)
    {
        x.AddAndMoveToChildNode("Item");
        x.WriteIntAttribute("id", i);
        x.WriteFloatAttribute("weight", ValueOf(i, 3));
        x.WriteStringAttribute("kind", "box");
        x.MoveToParent();
    }
    x.MoveToRootNode();
}

double ReadCursor(QelMasterXMLInterface& x)
{
    double fSum = 0;
    x.MoveToRootNode();
    if (x.MoveToChildNode("Objects") && x.MoveToFirstChildNode())
    {
        do
        {
            for (int k = 0; k < kValuesPerObject; ++k)
                fSum += x.ReadFloat(kValueNames[k], 0.0f);
        } while (x.MoveToNextSibling());
        x.MoveToParent();
        x.MoveToParent();
    }
    if (x.MoveToChildNode("Items") && x.MoveToFirstChildNode())
    {
        do
        {
            fSum += x.ReadIntAttribute("id", 0) + x.ReadFloatAttribute("weight", 0.0f);
            fSum += static_cast<double>(x.ReadStringAttribute("kind", "").size());
        } while (x.MoveToNextSibling());
    }
    x.MoveToRootNode();
    return fSum;
}

// ---- the same with raw libxml2 ----

const xmlChar* X(const char* p)
{
    return reinterpret_cast<const xmlChar*>(p);
}

xmlDoc* BuildRaw()
{
    xmlDoc* pDoc = xmlNewDoc(X("1.0"));
    xmlNode* pRoot = xmlNewDocNode(pDoc, nullptr, X("Scene"), nullptr);
    xmlDocSetRootElement(pDoc, pRoot);
    xmlNode* pObjects = xmlNewChild(pRoot, nullptr, X("Objects"), nullptr);
    char sz[64];
    for (int i = 0; i < kObjects; ++i)
    {
        xmlNode* pObject = xmlNewChild(pObjects, nullptr, X("Object"), nullptr);
        for (int k = 0; k < kValuesPerObject; ++k)
        {
            std::snprintf(sz, sizeof(sz), "%g", static_cast<double>(ValueOf(i, k)));
            xmlNewTextChild(pObject, nullptr, X(kValueNames[k].c_str()), X(sz));
        }
    }
    xmlNode* pItems = xmlNewChild(pRoot, nullptr, X("Items"), nullptr);
    for (int i = 0; i < kItems; ++i)
    {
        xmlNode* pItem = xmlNewChild(pItems, nullptr, X("Item"), nullptr);
        std::snprintf(sz, sizeof(sz), "%i", i);
        xmlSetProp(pItem, X("id"), X(sz));
        std::snprintf(sz, sizeof(sz), "%f", static_cast<double>(ValueOf(i, 3)));
        xmlSetProp(pItem, X("weight"), X(sz));
        xmlSetProp(pItem, X("kind"), X("box"));
    }
    return pDoc;
}

xmlNode* RawChild(xmlNode* pParent, const char* pName)
{
    for (xmlNode* p = pParent->children; p; p = p->next)
        if (p->type == XML_ELEMENT_NODE && std::strcmp(reinterpret_cast<const char*>(p->name), pName) == 0)
            return p;
    return nullptr;
}

xmlNode* RawNextElement(xmlNode* p)
{
    while (p && p->type != XML_ELEMENT_NODE)
        p = p->next;
    return p;
}

double RawReadAttribute(xmlNode* p, const char* pName, bool bFloat)
{
    xmlChar* pValue = xmlGetProp(p, X(pName));
    if (!pValue)
        return 0;
    double f = bFloat ? static_cast<float>(std::atof(reinterpret_cast<const char*>(pValue)))
                      : std::atoi(reinterpret_cast<const char*>(pValue));
    xmlFree(pValue);
    return f;
}

double ReadRaw(xmlDoc* pDoc)
{
    double fSum = 0;
    xmlNode* pRoot = xmlDocGetRootElement(pDoc);
    if (xmlNode* pObjects = RawChild(pRoot, "Objects"))
        for (xmlNode* pObject = RawNextElement(pObjects->children); pObject; pObject = RawNextElement(pObject->next))
            for (int k = 0; k < kValuesPerObject; ++k)
            {
                xmlNode* pValue = RawChild(pObject, kValueNames[k].c_str());
                if (!pValue || !pValue->children)
                    continue;
                xmlChar* pText = xmlNodeListGetString(pDoc, pValue->children, 1);
                if (!pText)
                    continue;
                fSum += static_cast<float>(std::atof(reinterpret_cast<const char*>(pText)));
                xmlFree(pText);
            }
    if (xmlNode* pItems = RawChild(pRoot, "Items"))
        for (xmlNode* pItem = RawNextElement(pItems->children); pItem; pItem = RawNextElement(pItem->next))
        {
            fSum += RawReadAttribute(pItem, "id", false) + RawReadAttribute(pItem, "weight", true);
            xmlChar* pKind = xmlGetProp(pItem, X("kind"));
            if (pKind)
            {
                fSum += static_cast<double>(std::strlen(reinterpret_cast<const char*>(pKind)));
                xmlFree(pKind);
            }
        }
    return fSum;
}

xmlDoc* RawParse(const char* pText, size_t nLength)
{
    return xmlReadMemory(pText, static_cast<int>(nLength), "QelXML.xml", nullptr,
                         XML_PARSE_RECOVER | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
}

std::string RawDumpNode(xmlDoc* pDoc)
{
    xmlBuffer* pBuffer = xmlBufferCreate();
    xmlNodeDump(pBuffer, pDoc, xmlDocGetRootElement(pDoc), 1, 1);
    std::string str(reinterpret_cast<const char*>(xmlBufferContent(pBuffer)), xmlBufferLength(pBuffer));
    xmlBufferFree(pBuffer);
    return str;
}

std::string RawMemoryBlock(xmlDoc* pDoc, bool bCompress)
{
    xmlChar* pText = nullptr;
    int n = 0;
    xmlDocDumpMemory(pDoc, &pText, &n);
    std::string strBlock;
    if (!bCompress)
    {
        strBlock.assign(1, '\0');
        strBlock.append(reinterpret_cast<const char*>(pText), n);
    }
    else
    {
        uLongf nPacked = compressBound(n);
        strBlock.assign(5 + nPacked, '\0');
        compress2(reinterpret_cast<Bytef*>(&strBlock[5]), &nPacked, pText, n, 9);
        strBlock.resize(5 + nPacked);
        strBlock[0] = 1;
        for (int i = 0; i < 4; ++i)
            strBlock[1 + i] = static_cast<char>(static_cast<unsigned int>(n) >> (8 * i));
    }
    xmlFree(pText);
    return strBlock;
}

xmlDoc* RawLoadBlock(const std::string& strBlock)
{
    if (strBlock[0] == 0)
        return RawParse(strBlock.data() + 1, strBlock.size() - 1);
    const unsigned char* p = reinterpret_cast<const unsigned char*>(strBlock.data());
    uLongf n = p[1] | p[2] << 8 | p[3] << 16 | static_cast<uLongf>(p[4]) << 24;
    std::unique_ptr<char[]> pText(new char[n]);
    uncompress(reinterpret_cast<Bytef*>(pText.get()), &n, p + 5, strBlock.size() - 5);
    return RawParse(pText.get(), n);
}

// Shared fixtures: the text of the document in each form, made once.
struct Forms
{
    Forms()
    {
        QelMasterXMLInterface x;
        BuildCursor(x);
        strString = x.SaveDataToString();
        unsigned int n = 0;
        std::unique_ptr<char[]> p(x.SaveDataToMemory(n, false));
        strPlain.assign(p.get(), n);
        p.reset(x.SaveDataToMemory(n, true));
        strPacked.assign(p.get(), n);
        strGzip = GzipPath("fixture");
        x.SaveDataToFile(strGzip, true);
    }
    ~Forms() { std::remove(strGzip.c_str()); }
    std::string strString, strPlain, strPacked, strGzip;
};

const Forms& GetForms()
{
    static Forms s_forms;
    return s_forms;
}

int64_t DocBytes()
{
    return static_cast<int64_t>(GetForms().strPlain.size() - 1);
}

// ---- build ----

void BM_Build_Cursor(benchmark::State& state)
{
    QelMasterXMLInterface x;
    for (auto _ : state)
    {
        BuildCursor(x);
        benchmark::DoNotOptimize(x.IsValid());
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_Build_Raw(benchmark::State& state)
{
    for (auto _ : state)
    {
        xmlDoc* pDoc = BuildRaw();
        benchmark::DoNotOptimize(pDoc);
        xmlFreeDoc(pDoc);
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

// ---- save ----

void BM_SaveString_Cursor(benchmark::State& state)
{
    QelMasterXMLInterface x;
    BuildCursor(x);
    for (auto _ : state)
        benchmark::DoNotOptimize(x.SaveDataToString());
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_SaveString_Raw(benchmark::State& state)
{
    xmlDoc* pDoc = BuildRaw();
    for (auto _ : state)
        benchmark::DoNotOptimize(RawDumpNode(pDoc));
    xmlFreeDoc(pDoc);
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_SaveMemory_Cursor(benchmark::State& state)
{
    QelMasterXMLInterface x;
    BuildCursor(x);
    for (auto _ : state)
    {
        unsigned int n = 0;
        char* p = x.SaveDataToMemory(n, state.range(0) != 0);
        benchmark::DoNotOptimize(p);
        delete[] p;
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_SaveMemory_Raw(benchmark::State& state)
{
    xmlDoc* pDoc = BuildRaw();
    for (auto _ : state)
        benchmark::DoNotOptimize(RawMemoryBlock(pDoc, state.range(0) != 0));
    xmlFreeDoc(pDoc);
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_SaveGzipFile_Cursor(benchmark::State& state)
{
    QelMasterXMLInterface x;
    BuildCursor(x);
    std::string strPath = GzipPath("cursor");
    for (auto _ : state)
        benchmark::DoNotOptimize(x.SaveDataToFile(strPath, true));
    std::remove(strPath.c_str());
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_SaveGzipFile_Raw(benchmark::State& state)
{
    xmlDoc* pDoc = BuildRaw();
    std::string strPath = GzipPath("raw");
    for (auto _ : state)
    {
        xmlSetDocCompressMode(pDoc, 9);
        benchmark::DoNotOptimize(xmlSaveFormatFileEnc(strPath.c_str(), pDoc, "UTF-8", 1));
    }
    xmlFreeDoc(pDoc);
    std::remove(strPath.c_str());
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

// ---- load and read every value ----

void BM_LoadRead_String_Cursor(benchmark::State& state)
{
    const std::string& str = GetForms().strString;
    QelMasterXMLInterface x;
    for (auto _ : state)
    {
        x.LoadDataFromString(str);
        benchmark::DoNotOptimize(ReadCursor(x));
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_LoadRead_String_Raw(benchmark::State& state)
{
    const std::string& str = GetForms().strString;
    for (auto _ : state)
    {
        xmlDoc* pDoc = RawParse(str.data(), str.size());
        benchmark::DoNotOptimize(ReadRaw(pDoc));
        xmlFreeDoc(pDoc);
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_LoadRead_Memory_Cursor(benchmark::State& state)
{
    std::string strBlock = state.range(0) ? GetForms().strPacked : GetForms().strPlain;
    QelMasterXMLInterface x;
    for (auto _ : state)
    {
        x.LoadDataFromMemory(&strBlock[0], static_cast<unsigned int>(strBlock.size()));
        benchmark::DoNotOptimize(ReadCursor(x));
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_LoadRead_Memory_Raw(benchmark::State& state)
{
    const std::string& strBlock = state.range(0) ? GetForms().strPacked : GetForms().strPlain;
    for (auto _ : state)
    {
        xmlDoc* pDoc = RawLoadBlock(strBlock);
        benchmark::DoNotOptimize(ReadRaw(pDoc));
        xmlFreeDoc(pDoc);
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_LoadRead_GzipFile_Cursor(benchmark::State& state)
{
    const std::string& strPath = GetForms().strGzip;
    QelMasterXMLInterface x;
    for (auto _ : state)
    {
        x.LoadDataFromFile(strPath);
        benchmark::DoNotOptimize(ReadCursor(x));
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

void BM_LoadRead_GzipFile_Raw(benchmark::State& state)
{
    const std::string& strPath = GetForms().strGzip;
    for (auto _ : state)
    {
        xmlDoc* pDoc = xmlParseFile(strPath.c_str());
        benchmark::DoNotOptimize(ReadRaw(pDoc));
        xmlFreeDoc(pDoc);
    }
    state.SetBytesProcessed(state.iterations() * DocBytes());
}

// ---- reading alone, on a loaded document ----

void BM_ReadOnly_Cursor(benchmark::State& state)
{
    QelMasterXMLInterface x;
    x.LoadDataFromString(GetForms().strString);
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadCursor(x));
    state.SetItemsProcessed(state.iterations() * (kObjects * kValuesPerObject + 3 * kItems));
}

void BM_ReadOnly_Raw(benchmark::State& state)
{
    const std::string& str = GetForms().strString;
    xmlDoc* pDoc = RawParse(str.data(), str.size());
    for (auto _ : state)
        benchmark::DoNotOptimize(ReadRaw(pDoc));
    xmlFreeDoc(pDoc);
    state.SetItemsProcessed(state.iterations() * (kObjects * kValuesPerObject + 3 * kItems));
}
} // namespace

BENCHMARK(BM_Build_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Build_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveString_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveString_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveMemory_Cursor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveMemory_Raw)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveGzipFile_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SaveGzipFile_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_String_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_String_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_Memory_Cursor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_Memory_Raw)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_GzipFile_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadRead_GzipFile_Raw)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadOnly_Cursor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadOnly_Raw)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    SilentApp app;
    // One cursor lives for the whole run, so the parser is not cleaned up between iterations.
    QelMasterXMLInterface keepAlive;
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
