/* Leaves beside the changed one. Not exported. */
#ifndef QN_IPS_SIBLING_H
#define QN_IPS_SIBLING_H

#include <stddef.h>

#include "adapter/api_adp_libnetconf.h"

/* Reads the leaf `pcName` beside the changed one into a zeroed array. False, with the array left empty, when it is
 * absent, empty or does not fit. Callers that then ask whether the array is empty do so for an adapter that counts an
 * empty text as read. */
template <size_t SIZE>
static inline bool ips_sibling_get(API_ENV_S *env, const char *pcName, char (&acValue)[SIZE])
{
    return api_find_parent_key_node_content(env, 1, pcName, acValue, SIZE) == 0;
}

#endif
