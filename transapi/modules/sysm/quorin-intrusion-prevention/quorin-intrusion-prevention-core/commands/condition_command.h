/* Command lines of conditions, which combine up to eight sibling leaves, most of them optional. Whichever of the leaves
 * an edit touches, the line is composed afresh from all of them, in the one order that the device takes, and cached. 0
 * cached one line; otherwise the client has been told and nothing is cached. */
#ifndef QN_IPS_CONDITION_COMMAND_H
#define QN_IPS_CONDITION_COMMAND_H

#include "transapi/transapi.h"

extern "C" {

/* basic-conditions/rule-condition of a user-defined rule. A qualifier that the edit removes is left out. */
int ips_cmd_zell_signature_rule_basic_condition_operation(API_ENV_S *env, char *pcVsysName, char *pcSignatureID,
                                                          char *pcRuleName);

/* associated-condition of a predefined signature; device-wide, so in no vsys. */
int ips_cmd_zell_preassoc_signature_condition_operation(API_ENV_S *env);

/* associated-condition of a user-defined rule */
int ips_cmd_zell_udassoc_signature_condition_operation(API_ENV_S *env, char *pcVsysName, char *pcSignatureID,
                                                       char *pcRuleName);
}

#endif
