// Feeds arbitrary bytes to the viewer's readers of outside data: the scene document reader (and,
// when a document opens, the undo state round trip of each object) and the script line splitter.
// Scenes hold only what the reader makes; nothing is written to disk.
#include "ViewerApp.h"
#include "ViewerDocument.h"
#include "ViewerScript.h"
#include "ViewerSession.h"

#include "qel/display/QelDisplayObject.h"

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pData, size_t nSize)
{
    static ViewerApp s_cApp(false);
    std::string strText(reinterpret_cast<const char*>(pData), nSize);

    ViewerSession cSession(s_cApp);
    if (ViewerDocument::OpenFromString(strText, "fuzz", cSession.Scene(), cSession.View()))
        for (QelDisplayObject* pObject : cSession.Scene().Objects())
            ViewerDocument::RestoreState(*pObject, ViewerDocument::SaveState(*pObject));

    std::istringstream cLines(strText);
    std::string strLine;
    std::vector<std::string> vWords;
    while (std::getline(cLines, strLine))
        ViewerScript::Split(strLine, vWords);
    s_cApp.ClearLog();
    return 0;
}
