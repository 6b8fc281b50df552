#include "qel/xml/detail/QelXMLText.h"

#include "qel/framework/QelSysApp.h"
#include "qel/platform/QelMessageQuote.h"

#include <libxml/entities.h>
#include <libxml/tree.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{
/// Entities that refer to entities nest; real documents nest a handful.
const size_t kMaxEntityNesting = 40;

const char* ParentName(const xmlNode* p)
{
    return p && p->parent && p->parent->name ? reinterpret_cast<const char*>(p->parent->name) : "";
}
} // namespace

unsigned char* QelXMLTakeText(xmlDoc* pDoc, const xmlNode* pFirst)
{
    std::string strText;
    // Where to go on after each entity's content: the reference that led into it.
    std::vector<const xmlNode*> vecReturn;
    size_t nExpanded = 0;
    bool bCut = false;
    bool bAnyText = false;
    const xmlNode* p = pFirst;
    while (p || !vecReturn.empty())
    {
        if (!p)
        {
            p = vecReturn.back()->next;
            vecReturn.pop_back();
            continue;
        }
        if (p->type == XML_TEXT_NODE || p->type == XML_CDATA_SECTION_NODE)
        {
            const size_t n = p->content ? std::strlen(reinterpret_cast<const char*>(p->content)) : 0;
            if (!vecReturn.empty())
            {
                // Inside an entity every node costs, so that empty expansions are bounded too.
                nExpanded += n + 1;
                if (nExpanded > kQelXMLMaxEntityExpansion)
                {
                    bCut = true;
                    break;
                }
            }
            strText.append(reinterpret_cast<const char*>(p->content ? p->content : BAD_CAST ""), n);
            bAnyText = true;
        }
        else if (p->type == XML_ENTITY_REF_NODE)
        {
            xmlEntity* pEntity = xmlGetDocEntity(pDoc, p->name);
            if (!vecReturn.empty() && ++nExpanded > kQelXMLMaxEntityExpansion)
            {
                bCut = true;
                break;
            }
            if (pEntity && pEntity->children)
            {
                if (vecReturn.size() >= kMaxEntityNesting)
                {
                    bCut = true;
                    break;
                }
                vecReturn.push_back(p);
                p = pEntity->children;
                continue;
            }
        }
        p = p->next;
    }
    if (bCut)
        QelSysApp::App().PrintToConsole(
            "<warning> QelXMLInterface - entity references in element [%s] expand beyond %zu bytes or %zu levels; "
            "the value is cut there\n",
            QelQuoteInput(ParentName(pFirst), std::strlen(ParentName(pFirst))).c_str(), kQelXMLMaxEntityExpansion,
            kMaxEntityNesting);
    if (!bAnyText)
        return nullptr;
    return xmlStrndup(reinterpret_cast<const xmlChar*>(strText.data()), static_cast<int>(strText.size()));
}
