/* The payload of the IPS module's own query (API_DP2ZELL_ANONYM_MSG): the name of a profile's first signature set. */
#ifndef TRANSAPI_FIRST_SIGNATURE_SET_H
#define TRANSAPI_FIRST_SIGNATURE_SET_H

#include <stddef.h>
#include <stdint.h>

#include "transapi/static_check.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum enIPS_ApiAnonym_MsgType {
    IPS_GET_FIRST_SIGSET_NAME = 1,
    IPS_ANONYM_MSG_TYPE_MAX = 2
} IPS_ApiAnonym_MsgType;

typedef struct stIPS_ApiAnonym {
    uint32_t uiMsgTtype; /* IPS_ApiAnonym_MsgType */
    char acVsysName[32];
    char acProfileName[64];
    char acFirstSigSetName[64]; /* zero: the name comes as the reply's payload, a terminated text */
    uint8_t ucFirstSigSetNameLen;
} IPS_ApiAnonym_ST;

TRANSAPI_STATIC_CHECK(sizeof(IPS_ApiAnonym_ST) == 168, "the query is 168 bytes");
TRANSAPI_STATIC_CHECK(offsetof(IPS_ApiAnonym_ST, uiMsgTtype) == 0, "uiMsgTtype");
TRANSAPI_STATIC_CHECK(offsetof(IPS_ApiAnonym_ST, acVsysName) == 4, "acVsysName");
TRANSAPI_STATIC_CHECK(offsetof(IPS_ApiAnonym_ST, acProfileName) == 36, "acProfileName");
TRANSAPI_STATIC_CHECK(offsetof(IPS_ApiAnonym_ST, acFirstSigSetName) == 100, "acFirstSigSetName");
TRANSAPI_STATIC_CHECK(offsetof(IPS_ApiAnonym_ST, ucFirstSigSetNameLen) == 164, "ucFirstSigSetNameLen");

#ifdef __cplusplus
}
#endif

#endif
