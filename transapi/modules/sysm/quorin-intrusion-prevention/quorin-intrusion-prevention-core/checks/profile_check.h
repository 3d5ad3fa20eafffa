/* Checks of groups of sibling leaves that the command platform takes in one line. Each reads the siblings of the
 * changed leaf from the edit's data. 0 acceptable; otherwise it has told the client, and the handler returns the
 * result. */
#ifndef QN_IPS_PROFILE_CHECK_H
#define QN_IPS_PROFILE_CHECK_H

#include "transapi/transapi.h"

extern "C" {

/* command-and-control-domain-filter: domain-filter-enable, action */
int ips_profile_cnc_check(API_ENV_S *env);

/* signature-set-action: action, interworking */
int ips_profile_signatureset_action_check(API_ENV_S *env);

/* exception-signature: id, action, timeout, interworking */
int ips_profile_exception_signature_check(API_ENV_S *env);

/* dns-check/request-type: start-type, end-type, action */
int ips_profile_dns_request_type_check(API_ENV_S *env);

/* http-check/x-online-host/check-type-action: type, action */
int ips_profile_http_x_online_host_check(API_ENV_S *env);

/* http-check/x-forwarded-for/check-type-action: type, action */
int ips_profile_http_x_forwarded_for_check(API_ENV_S *env);
}

#endif
