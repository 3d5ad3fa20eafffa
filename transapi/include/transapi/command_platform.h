/* Messages exchanged with the device's command platform.
 *
 * Little-endian host order, natural alignment and nothing packed: the platform reads these records byte for byte, so
 * sizes and offsets are pinned below. */
#ifndef TRANSAPI_COMMAND_PLATFORM_H
#define TRANSAPI_COMMAND_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#include "transapi/static_check.h"

#ifdef __cplusplus
extern "C" {
#endif

typedef enum {
    API_DP2ZELL_CMD_CONFIG = 1, /* execute the pending command script */
    API_DP2ZELL_NC_STATE = 2,   /* read the state of a module */
    API_DP2ZELL_ANONYM_MSG = 3, /* a module's own query, with a payload record */
    API_DP2ZELL_RPC_MSG = 4,
    API_ZELL2DP_MANUAL_CONFIG = 5,
    API_ZELL2DP_NOTIFICATION = 6,
    API_DP2ZELL_GET_CONFIG = 7, /* read the configuration of a module */
    API_ZELL2DP_USER_AUTH = 8,
    API_DP2ZELL_LOG_MSG = 9,
    API_ZELL2DP_BOOT_CFG_MSG = 10,
    API_DP2ZELL_GET_PUBKEY = 11,
    API_DP2ZELL_AUTH_PUBKEY = 12,
    API_ZELL2DP_AUTH_PUBKEY = 13,
    API_DPZELL_MAX_NUMBER = 14
} DPZELL_MSG_TYPE;

/* What the pending command script does to the configuration. */
typedef enum { API_CMD_ADD = 0, API_CMD_DEL = 1, API_CMD_MOD = 2 } API_CMD_OPERATION;

/* The same three values under the names that entry points use. */
typedef enum { CMD_ADD = 0, CMD_DEL = 1, CMD_MOD = 2 } CMD_OPERATION;

/* The user on whose behalf a message is sent. */
typedef struct user_info_s {
    uint32_t user_id;
    uint16_t vrf_id;
    uint8_t rsv[2];
    uint32_t ipv4;
    char vrf_name[32];
    char user_name[256];
} user_info_t;

TRANSAPI_STATIC_CHECK(sizeof(user_info_t) == 300, "user_info_t is 300 bytes");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, user_id) == 0, "user_id");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, vrf_id) == 4, "vrf_id");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, rsv) == 6, "rsv");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, ipv4) == 8, "ipv4");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, vrf_name) == 12, "vrf_name");
TRANSAPI_STATIC_CHECK(offsetof(user_info_t, user_name) == 44, "user_name");

/* The virtual systems that a message concerns. */
typedef struct vsys_info_s {
    uint16_t vsys_num;
    char flag;
    char rsv;
    char vsys_name[5][32];
} vsys_info_t;

TRANSAPI_STATIC_CHECK(sizeof(vsys_info_t) == 164, "vsys_info_t is 164 bytes");
TRANSAPI_STATIC_CHECK(offsetof(vsys_info_t, vsys_num) == 0, "vsys_num");
TRANSAPI_STATIC_CHECK(offsetof(vsys_info_t, flag) == 2, "flag");
TRANSAPI_STATIC_CHECK(offsetof(vsys_info_t, rsv) == 3, "rsv");
TRANSAPI_STATIC_CHECK(offsetof(vsys_info_t, vsys_name) == 4, "vsys_name");

/* Header of every message to the platform, passed by value. A payload travels separately. */
typedef struct msg_dp_zell_head_s {
    uint32_t msg_check;  /* size in bytes of the payload record, 0 without one */
    uint32_t msg_type;   /* DPZELL_MSG_TYPE */
    uint32_t model_type; /* API_MODULE_TYPE of the sender */
    uint32_t rpc_type;
    uint32_t slot_id;
    uint32_t cpu_id;
    uint16_t msg_slow;
    uint16_t malloc_type;
    user_info_t user_msg;
    vsys_info_t vsys_msg;
} msg_dp_zell_head_t;

TRANSAPI_STATIC_CHECK(sizeof(msg_dp_zell_head_t) == 492, "msg_dp_zell_head_t is 492 bytes");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, msg_check) == 0, "msg_check");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, msg_type) == 4, "msg_type");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, model_type) == 8, "model_type");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, rpc_type) == 12, "rpc_type");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, slot_id) == 16, "slot_id");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, cpu_id) == 20, "cpu_id");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, msg_slow) == 24, "msg_slow");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, malloc_type) == 26, "malloc_type");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, user_msg) == 28, "user_msg");
TRANSAPI_STATIC_CHECK(offsetof(msg_dp_zell_head_t, vsys_msg) == 328, "vsys_msg");

/* The platform's reply. Whoever receives one releases it with SOS_Free. */
typedef struct msg_to_dp_s {
    msg_dp_zell_head_t header;
    uint32_t err_code;
    uint32_t msg_length; /* bytes in data */
    TRANSAPI_FLEXIBLE_ARRAY(char, data)
} msg_to_dp_t;

TRANSAPI_STATIC_CHECK(sizeof(msg_to_dp_t) == 500, "the payload of msg_to_dp_t starts at 500");
TRANSAPI_STATIC_CHECK(offsetof(msg_to_dp_t, header) == 0, "header");
TRANSAPI_STATIC_CHECK(offsetof(msg_to_dp_t, err_code) == 492, "err_code");
TRANSAPI_STATIC_CHECK(offsetof(msg_to_dp_t, msg_length) == 496, "msg_length");
TRANSAPI_STATIC_CHECK(offsetof(msg_to_dp_t, data) == 500, "data");

#ifdef __cplusplus
}
#endif

#endif
