/* Elements of the edit's tree by their names. Not exported. */
#ifndef QN_IPS_ELEMENT_H
#define QN_IPS_ELEMENT_H

#include <libxml/tree.h>

static inline bool ips_is_element(const xmlNode *pstNode, const char *pcName)
{
    return pstNode->type == XML_ELEMENT_NODE &&
           xmlStrcmp(pstNode->name, reinterpret_cast<const xmlChar *>(pcName)) == 0;
}

/* The first child element of that name, else null. */
static inline xmlNodePtr ips_child_find(xmlNodePtr pstNode, const char *pcName)
{
    for (xmlNodePtr pstChild = pstNode->children; pstChild != nullptr; pstChild = pstChild->next) {
        if (ips_is_element(pstChild, pcName))
            return pstChild;
    }
    return nullptr;
}

#endif
