/* Checks of groups of sibling leaves that the command platform takes in one line. Each reads the siblings of the
 * changed leaf from the edit's data. 0 acceptable; otherwise it has told the client, and the handler returns the
 * result. */
#ifndef QN_IPS_PROFILE_CHECK_H
#define QN_IPS_PROFILE_CHECK_H

#include "transapi/transapi.h"

extern "C" {

/* command-and-control-domain-filter: domain-filter-enable, action */
int ips_profile_cnc_check(API_ENV_S *env);
}

#endif
