/* Checks of the addresses that a rule of a user-defined signature matches: one address or a range, for the source and
 * for the destination. A text with a colon is an IPv6 address, any other an IPv4 address.
 *
 * But for one error of ips_signature_rule_IP_type_compare_IP_And_Range_type they tell nobody; the handler does. */
#ifndef QN_IPS_ADDRESS_CHECK_H
#define QN_IPS_ADDRESS_CHECK_H

#include "transapi/transapi.h"

extern "C" {

/* 0 an address, with or without a mask length; 1 not. Cuts the text at its slash: give it a copy. `cIsIpV6` 1 for
 * IPv6. */
int ips_signature_rule_ip_type_and_mask_check(char *pIpStr, char cIsIpV6);

/* The same for an end of a range, whose mask length, if any, is that of a single host. */
int ips_signature_rule_ip_range_type_and_mask_check(char *pIpStr, char cIsIpV6);

/* The position of the first slash behind the first character; 0 when there is none or the text starts with one. */
int get_ips_signature_rule_ip_ipprefix_pos(const char *ip_in);

/* 0 two ends of one family that make a range; 1 not. `*pcIsIpv6` becomes 1 or 0 when the families agree. */
int ips_signature_rule_ip_compare_startIP_and_endIP_range(const char *pcStartIPValue, const char *pcEndIPValue,
                                                          char *pcIsIpv6);

/* 0 the leaf `source-ip` (`cIsGetSourceInfo` 1) or `destination-ip` beside the changed one has the family; 1 it has
 * not, or cannot be read. */
int ips_signature_rule_compare_ip_type(API_ENV_S *env, char cCurLeafIsIPv6, char cIsGetSourceInfo);

/* 0 the start of the destination range (of the source range) beside the node has the family; 1 it has not, or there is
 * none. */
int ips_signature_rule_souIP_type_compare_desRange_type(xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6);
int ips_signature_rule_desIP_type_compare_sourceRange_type(xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6);

/* 0 the family agrees with what the edit does to the rule's other direction; 1 it does not; anything else: the other
 * direction is given twice, and the client has been told. `cCurLeafIsSource` 0 for a destination. */
int ips_signature_rule_IP_type_compare_IP_And_Range_type(API_ENV_S *env, xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6,
                                                         char cCurLeafIsSource);
}

#endif
