/* The edit operation that a callback receives: a set of bits. */
#ifndef TRANSAPI_EDIT_OPERATION_H
#define TRANSAPI_EDIT_OPERATION_H

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    XMLDIFF_ERR = -1,        /* all bits: asked for a node that does not exist */
    XMLDIFF_NONE = 0,        /* the node exists and takes no part in the edit */
    XMLDIFF_ADD = 1,         /* the node is created */
    XMLDIFF_REM = 2,         /* the node is removed */
    XMLDIFF_MOD = 4,         /* the leaf gets another value */
    XMLDIFF_CHAIN = 8,       /* something below the node changes */
    XMLDIFF_SIBLING = 16,    /* the entry of a user-ordered list gets another place */
    XMLDIFF_REORDER = 32,    /* the node's children get another order */
    XMLDIFF_CFGR = 16384,    /* a stored configuration is being restored */
    XMLDIFF_ROLLBACK = 32768 /* the operation beside it is being taken back */
} XMLDIFF_OP;

#ifdef __cplusplus
}
#endif

#endif
