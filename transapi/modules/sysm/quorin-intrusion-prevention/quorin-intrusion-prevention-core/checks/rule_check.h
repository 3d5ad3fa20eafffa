/* Checks of groups of sibling leaves of signature rules. Each reads the siblings of the changed leaf from the edit's
 * data. 0 acceptable; otherwise it has told the client, but for one path of the ports. */
#ifndef QN_IPS_RULE_CHECK_H
#define QN_IPS_RULE_CHECK_H

#include "transapi/transapi.h"

extern "C" {

/* source-port, destination-port: start-port, end-port. 1 without an error when a text is empty. The order of the two
 * ports is nobody's business here. */
int ips_signature_rule_port_check(API_ENV_S *env);

/* basic-conditions/rule-condition: id, field-name, operator, value, offset, depth, direction */
int ips_signature_rule_basic_condition_check(API_ENV_S *env);

/* associated-condition of a predefined signature: threshold, interval, block-time, correlation, at least one of them */
int ips_presig_assoc_condition_check(API_ENV_S *env);

/* associated-condition of a user-defined rule: signature-id, and any of threshold, interval, block-time, correlation */
int ips_udsig_assoc_condition_check(API_ENV_S *env);
}

#endif
