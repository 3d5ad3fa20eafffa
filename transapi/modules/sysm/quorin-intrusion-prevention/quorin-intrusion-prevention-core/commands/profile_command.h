/* Command lines that combine several leaves of a profile. Whichever of the leaves an edit touches, the line is composed
 * afresh from all of them and cached. 0 cached one line; otherwise the client has been told and nothing is cached.
 *
 * The handler has run the group's check before, so values are passed on as they stand. */
#ifndef QN_IPS_PROFILE_COMMAND_H
#define QN_IPS_PROFILE_COMMAND_H

#include "transapi/transapi.h"

extern "C" {

/* command-and-control-domain-filter: domain-filter-enable, action */
int ips_cmd_zell_profile_cnc(API_ENV_S *env, char *pcVsysName, char *pcProfileName);

/* signature-set-action: action, interworking */
int ips_cmd_zell_profile_signatureset_action(API_ENV_S *env, char *pcVsysName, char *pcProfileName, char *pcSigSetName);

/* exception-signature: id, action, timeout, interworking */
int ips_cmd_zell_profile_exception_signatureID(API_ENV_S *env, char *pcVsysName, char *pcProfileName);

/* dns-check/request-type: start-type, end-type, action */
int ips_cmd_zell_profile_dns_request_type(API_ENV_S *env, char *pcVsysName, char *pcProfileName);
}

#endif
