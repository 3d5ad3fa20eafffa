/* What the C side of the contract's test tells the C++ side. */
#ifndef CONTRACT_C_TEST_H
#define CONTRACT_C_TEST_H

#include <stddef.h>

#include "transapi/callback_table.h"

#ifdef __cplusplus
extern "C" {
#endif

struct contract_size {
    const char* what;
    size_t actual;
    size_t promised;
};

struct contract_value {
    const char* what;
    int actual;
    int promised;
};

const struct contract_size* contract_sizes(size_t* count);
const struct contract_value* contract_values(size_t* count);

int contract_callback_in_c(void** data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err** error);

#ifdef __cplusplus
}
#endif

#endif
