/* The server contract as a C program sees it: every header on its own terms in C11, and the sizes at run time. */
#include "transapi/bounded_string.h"
#include "transapi/callback_table.h"
#include "transapi/command_platform.h"
#include "transapi/datastore.h"
#include "transapi/edit_operation.h"
#include "transapi/first_signature_set.h"
#include "transapi/handler_environment.h"
#include "transapi/module_type.h"
#include "transapi/netconf_error.h"
#include "transapi/server_services.h"
#include "transapi/static_check.h"
#include "transapi/transapi.h"

#include "module/contract_c_test.h"

static const struct contract_size sizes[] = {
    {"API_ENV_S", sizeof(API_ENV_S), 64},
    {"API_ENV_S.error", offsetof(API_ENV_S, error), 24},
    {"API_ENV_S.cmd_oper", offsetof(API_ENV_S, cmd_oper), 36},
    {"API_ENV_S.priority", offsetof(API_ENV_S, priority), 56},
    {"msg_dp_zell_head_t", sizeof(msg_dp_zell_head_t), 492},
    {"msg_dp_zell_head_t.user_msg", offsetof(msg_dp_zell_head_t, user_msg), 28},
    {"msg_dp_zell_head_t.vsys_msg", offsetof(msg_dp_zell_head_t, vsys_msg), 328},
    {"user_info_t", sizeof(user_info_t), 300},
    {"vsys_info_t", sizeof(vsys_info_t), 164},
    {"msg_to_dp_t.data", offsetof(msg_to_dp_t, data), 500},
    {"IPS_ApiAnonym_ST", sizeof(IPS_ApiAnonym_ST), 168},
    {"IPS_ApiAnonym_ST.acVsysName", offsetof(IPS_ApiAnonym_ST, acVsysName), 4},
    {"IPS_ApiAnonym_ST.acProfileName", offsetof(IPS_ApiAnonym_ST, acProfileName), 36},
    {"IPS_ApiAnonym_ST.acFirstSigSetName", offsetof(IPS_ApiAnonym_ST, acFirstSigSetName), 100},
    {"IPS_ApiAnonym_ST.ucFirstSigSetNameLen", offsetof(IPS_ApiAnonym_ST, ucFirstSigSetNameLen), 164},
    {"struct clbk", sizeof(struct clbk), 32},
    {"struct transapi_data_callbacks.callbacks", offsetof(struct transapi_data_callbacks, callbacks), 16},
    {"struct ns_pair", sizeof(struct ns_pair), 16},
    {"struct ncds_custom_funcs", sizeof(struct ncds_custom_funcs), 11 * sizeof(void*)},
};

static const struct contract_value values[] = {
    {"XMLDIFF_ERR", XMLDIFF_ERR, -1},
    {"XMLDIFF_NONE", XMLDIFF_NONE, 0},
    {"XMLDIFF_ADD", XMLDIFF_ADD, 1},
    {"XMLDIFF_REM", XMLDIFF_REM, 2},
    {"XMLDIFF_MOD", XMLDIFF_MOD, 4},
    {"XMLDIFF_CHAIN", XMLDIFF_CHAIN, 8},
    {"XMLDIFF_SIBLING", XMLDIFF_SIBLING, 16},
    {"XMLDIFF_REORDER", XMLDIFF_REORDER, 32},
    {"XMLDIFF_CFGR", XMLDIFF_CFGR, 16384},
    {"XMLDIFF_ROLLBACK", XMLDIFF_ROLLBACK, 32768},
    {"API_CMD_ADD", API_CMD_ADD, 0},
    {"API_CMD_DEL", API_CMD_DEL, 1},
    {"API_CMD_MOD", API_CMD_MOD, 2},
    {"CMD_ADD", CMD_ADD, 0},
    {"CMD_DEL", CMD_DEL, 1},
    {"CMD_MOD", CMD_MOD, 2},
    {"API_MODULE_QN_TYPE", API_MODULE_QN_TYPE, 0},
    {"API_MODULE_QN_SA", API_MODULE_QN_SA, 1},
    {"API_MODULE_QN_IPS", API_MODULE_QN_IPS, 2},
    {"API_MODULE_QN_AV", API_MODULE_QN_AV, 3},
    {"API_MODULE_QN_URL_FILTER", API_MODULE_QN_URL_FILTER, 4},
    {"API_MODULE_IETF_IF", API_MODULE_IETF_IF, 14},
    {"API_MODULE_MAX", API_MODULE_MAX, 90},
    {"IPS_GET_FIRST_SIGSET_NAME", IPS_GET_FIRST_SIGSET_NAME, 1},
    {"IPS_ANONYM_MSG_TYPE_MAX", IPS_ANONYM_MSG_TYPE_MAX, 2},
    {"API_DP2ZELL_CMD_CONFIG", API_DP2ZELL_CMD_CONFIG, 1},
    {"API_DP2ZELL_NC_STATE", API_DP2ZELL_NC_STATE, 2},
    {"API_DP2ZELL_ANONYM_MSG", API_DP2ZELL_ANONYM_MSG, 3},
    {"API_DP2ZELL_RPC_MSG", API_DP2ZELL_RPC_MSG, 4},
    {"API_ZELL2DP_MANUAL_CONFIG", API_ZELL2DP_MANUAL_CONFIG, 5},
    {"API_ZELL2DP_NOTIFICATION", API_ZELL2DP_NOTIFICATION, 6},
    {"API_DP2ZELL_GET_CONFIG", API_DP2ZELL_GET_CONFIG, 7},
    {"API_ZELL2DP_USER_AUTH", API_ZELL2DP_USER_AUTH, 8},
    {"API_DP2ZELL_LOG_MSG", API_DP2ZELL_LOG_MSG, 9},
    {"API_ZELL2DP_BOOT_CFG_MSG", API_ZELL2DP_BOOT_CFG_MSG, 10},
    {"API_DP2ZELL_GET_PUBKEY", API_DP2ZELL_GET_PUBKEY, 11},
    {"API_DP2ZELL_AUTH_PUBKEY", API_DP2ZELL_AUTH_PUBKEY, 12},
    {"API_ZELL2DP_AUTH_PUBKEY", API_ZELL2DP_AUTH_PUBKEY, 13},
    {"API_DPZELL_MAX_NUMBER", API_DPZELL_MAX_NUMBER, 14},
    {"TRANSAPI_CLBCKS_LEAF_TO_ROOT", TRANSAPI_CLBCKS_LEAF_TO_ROOT, 0},
    {"TRANSAPI_CLBCKS_ROOT_TO_LEAF", TRANSAPI_CLBCKS_ROOT_TO_LEAF, 1},
    {"TRANSAPI_CLBCKS_ORDER_DEFAULT", TRANSAPI_CLBCKS_ORDER_DEFAULT, 0},
    {"NC_EDIT_ERROPT_NOTSET", NC_EDIT_ERROPT_NOTSET, 0},
    {"NC_ERR_EMPTY", NC_ERR_EMPTY, 0},
    {"NC_ERR_OP_FAILED", NC_ERR_OP_FAILED, 1},
    {"NC_ERR_IN_USE", NC_ERR_IN_USE, 2},
    {"NC_ERR_INVALID_VALUE", NC_ERR_INVALID_VALUE, 3},
    {"NC_ERR_TOO_BIG", NC_ERR_TOO_BIG, 4},
    {"NC_ERR_MISSING_ATTR", NC_ERR_MISSING_ATTR, 5},
    {"NC_ERR_BAD_ATTR", NC_ERR_BAD_ATTR, 6},
    {"NC_ERR_UNKNOWN_ATTR", NC_ERR_UNKNOWN_ATTR, 7},
    {"NC_ERR_MISSING_ELEM", NC_ERR_MISSING_ELEM, 8},
    {"NC_ERR_BAD_ELEM", NC_ERR_BAD_ELEM, 9},
    {"NC_ERR_UNKNOWN_ELEM", NC_ERR_UNKNOWN_ELEM, 10},
    {"NC_ERR_UNKNOWN_NS", NC_ERR_UNKNOWN_NS, 11},
    {"NC_ERR_ACCESS_DENIED", NC_ERR_ACCESS_DENIED, 12},
    {"NC_ERR_LOCK_DENIED", NC_ERR_LOCK_DENIED, 13},
    {"NC_ERR_RES_DENIED", NC_ERR_RES_DENIED, 14},
    {"NC_ERR_ROLLBACK_FAILED", NC_ERR_ROLLBACK_FAILED, 15},
    {"NC_ERR_DATA_EXISTS", NC_ERR_DATA_EXISTS, 16},
    {"NC_ERR_DATA_MISSING", NC_ERR_DATA_MISSING, 17},
    {"NC_ERR_OP_NOT_SUPPORTED", NC_ERR_OP_NOT_SUPPORTED, 18},
    {"NC_ERR_MALFORMED_MSG", NC_ERR_MALFORMED_MSG, 19},
    {"NC_ERR_BACKUP_DEVICE", NC_ERR_BACKUP_DEVICE, 20},
    {"NC_ERR_SYSTEM_BUSY", NC_ERR_SYSTEM_BUSY, 21},
    {"NC_ERR_PARSE_COMMAND", NC_ERR_PARSE_COMMAND, 22},
    {"NC_ERR_SET_VIEW", NC_ERR_SET_VIEW, 23},
    {"NC_ERR_COMMAND_EXECUTE", NC_ERR_COMMAND_EXECUTE, 24},
};

const struct contract_size* contract_sizes(size_t* count)
{
    *count = sizeof(sizes) / sizeof(sizes[0]);
    return sizes;
}

const struct contract_value* contract_values(size_t* count)
{
    *count = sizeof(values) / sizeof(values[0]);
    return values;
}

/* A module's callback, written in C. */
int contract_callback_in_c(void** data, XMLDIFF_OP op, xmlNodePtr node, struct nc_err** error)
{
    const transapi_callback self = contract_callback_in_c;
    const struct clbk row = {NULL, self, 1, NULL};

    return data == NULL && node == NULL && error == NULL && row.func == self ? (int)op : -1;
}
