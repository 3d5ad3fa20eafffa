/* The module's exported data, and the limits of its buffers. */
#ifndef QUORIN_INTRUSION_PREVENTION_H
#define QUORIN_INTRUSION_PREVENTION_H

#include <stdint.h>

#include "transapi/transapi.h"

#define IPS_CLBKS_COUNT 308
#define IPS_PROFILE_TEMPLET_COUNT 10

/* Sizes in bytes, terminator included. */
#define IPS_LEN_VALUE 64
#define IPS_LEN_NAME 128
#define IPS_LEN_VIEW 128
#define IPS_LEN_FIRST_SIGSET 64

extern "C" {

/* Debug switches; zero at load, and nothing in the module sets them. The first is for handler and check messages, the
 * second for entry traces. */
extern uint32_t g_ulZDBIPSprint;
extern uint32_t g_ulZDBIPSprintSpecial;

extern uint32_t g_current_Version;

/* The names of the profiles that every device is delivered with. */
extern const char *g_ips_paucProfileTemplet[IPS_PROFILE_TEMPLET_COUNT];

/* The answer of the last query for a profile's first signature set. */
extern char g_acIPSFirstSigSetName[IPS_LEN_FIRST_SIGSET];

int transapi_init(xmlDocPtr *running);
void transapi_close(void);
}

#endif
