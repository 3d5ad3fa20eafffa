/* Addresses of a rule: per direction either one address or a range. Both are set by the same command word and taken
 * away by the same line.
 *
 * Only a change is weighed against the other direction's family: an addition, a restore and a rollback of a single
 * address are not. And only a result of exactly 1 counts as a conflict. */
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/address_check.h"
#include "quorin-intrusion-prevention-core/element.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"
#include "quorin-intrusion-prevention-core/handlers/signature_rule.h"

static const int LEN_ADDRESS = 128;
static const int LEN_ADDRESS_LINE = 256;
static const int LEN_RANGE_LINE = 288;

/* One direction: what differs from the source to the destination. */
typedef struct {
    const char *pcKeyword;
    const char *pcUndoLine;
    char cIsSource;
} ADDRESS_DIRECTION;

static const ADDRESS_DIRECTION SOURCE = {
    .pcKeyword = "source-ip",
    .pcUndoLine = "undo source-ip",
    .cIsSource = 1,
};

static const ADDRESS_DIRECTION DESTINATION = {
    .pcKeyword = "destination-ip",
    .pcUndoLine = "undo destination-ip",
    .cIsSource = 0,
};

static const char *family_keyword(char cIsIpv6)
{
    return cIsIpv6 == 1 ? "ipv6" : "ipv4";
}

/* A removal that reached the handler as a change. Each direction has its own debug line for it. */
static void change_undo_line(API_ENV_S *env, const IPS_RULE_INFO *pstRule, const ADDRESS_DIRECTION *pstDirection)
{
    if (pstDirection->cIsSource == 1)
        ips_rule_removal_line(env, pstRule, pstDirection->pcUndoLine);
    else
        ips_rule_spaced_removal_line(env, pstRule, pstDirection->pcUndoLine);
}

/* True when the other direction agrees; otherwise the client has been told, and the handler returns `*piResult`. */
static bool conflict_check(API_ENV_S *env, xmlNodePtr node, char cIsIpv6, const ADDRESS_DIRECTION *pstDirection,
                           int *piResult)
{
    if (ips_signature_rule_IP_type_compare_IP_And_Range_type(env, node, cIsIpv6, pstDirection->cIsSource) != 1)
        return true;
    *piResult = ips_error(env, NC_ERR_BAD_ELEM, "The source-ip and destiantion-ip is conflicted.");
    return false;
}

/* A single address as a text and as it stands in its line. The check cuts the text at its slash. */
typedef struct {
    char acText[LEN_ADDRESS];
    char acWords[LEN_ADDRESS];
    char cIsIpv6;
} RULE_ADDRESS;

static bool address_check(API_ENV_S *env, RULE_ADDRESS *pstAddress, int *piResult)
{
    if (ips_signature_rule_ip_type_and_mask_check(pstAddress->acText, pstAddress->cIsIpv6) != 1)
        return true;
    *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Invalid IP address.");
    return false;
}

static void address_line(const IPS_RULE_INFO *pstRule, const ADDRESS_DIRECTION *pstDirection,
                         const RULE_ADDRESS *pstAddress)
{
    char acCmdMes[LEN_ADDRESS_LINE] = {0};

    IPS_FORMAT(acCmdMes, "%s %s %s", pstDirection->pcKeyword, family_keyword(pstAddress->cIsIpv6), pstAddress->acWords);
    ips_rule_line(pstRule, acCmdMes);
}

static int rule_address(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete, const ADDRESS_DIRECTION *pstDirection,
                        const char *pcHandler, const char *pcFailure)
{
    IPS_RULE_INFO stRule;
    RULE_ADDRESS stAddress = {};
    int iResult = 0;

    ips_handler_enter(env, pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {7, 5, 3, 1}, 1, &stRule, pcHandler, __LINE__, &iResult))
        return iResult;
    const char *pcValue = get_node_content(node);
    if (!ips_value_check(env, pcValue, &iResult))
        return iResult;
    IPS_FORMAT(stAddress.acText, "%s", pcValue);
    ips_parse_ip(stAddress.acText, stAddress.acWords);
    stAddress.cIsIpv6 = strchr(stAddress.acText, ':') != nullptr ? 1 : 0;

    if (ips_op_is_plain_set(op)) {
        if (!address_check(env, &stAddress, &iResult))
            return iResult;
        address_line(&stRule, pstDirection, &stAddress);
    } else if (ips_op_has(op, XMLDIFF_MOD)) {
        if (!conflict_check(env, node, stAddress.cIsIpv6, pstDirection, &iResult) ||
            !address_check(env, &stAddress, &iResult))
            return iResult;
        if (iIsDelete == 1)
            change_undo_line(env, &stRule, pstDirection);
        else
            address_line(&stRule, pstDirection, &stAddress);
    } else if (ips_op_is_undo(op)) {
        ips_rule_undo_line(env, &stRule, pstDirection->pcUndoLine);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pcFailure);
}

/* The ends of a range, as the edit has them. */
typedef struct {
    const char *pcStart;
    const char *pcEnd;
    char cIsIpv6;
} RULE_RANGE;

/* Reads and checks both ends; of several children of a name the last one counts. True when they make a range;
 * otherwise the client has been told, and the handler returns `*piResult`. */
static bool range_get(API_ENV_S *env, xmlNodePtr node, RULE_RANGE *pstRange, int *piResult)
{
    for (xmlNodePtr pstChild = node->children; pstChild != nullptr; pstChild = pstChild->next) {
        if (ips_is_element(pstChild, "start-ip"))
            pstRange->pcStart = get_node_content(pstChild);
        else if (ips_is_element(pstChild, "end-ip"))
            pstRange->pcEnd = get_node_content(pstChild);
    }

    if (pstRange->pcStart == nullptr || pstRange->pcEnd == nullptr) {
        *piResult = ips_error(env, NC_ERR_MISSING_ELEM, "The value of start-ip or end-ip leaf is NULL.");
        return false;
    }
    if (ips_string_is_valid(pstRange->pcStart) == 0 || ips_string_is_valid(pstRange->pcEnd) == 0) {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "Invalid value, because of spaces or '?'.");
        return false;
    }
    if (ips_signature_rule_ip_compare_startIP_and_endIP_range(pstRange->pcStart, pstRange->pcEnd, &pstRange->cIsIpv6) ==
        1) {
        *piResult = ips_error(env, NC_ERR_BAD_ELEM, "The range of start-ip and end-ip is wrong.");
        return false;
    }
    return true;
}

/* A mask length behind an end, which can only be that of a single host, does not reach the device. */
static void range_end_copy(char (&acEnd)[LEN_ADDRESS], const char *pcEnd)
{
    const int iPosition = get_ips_signature_rule_ip_ipprefix_pos(pcEnd);

    IPS_FORMAT(acEnd, "%s", pcEnd);
    if (iPosition > 0 && iPosition < LEN_ADDRESS)
        acEnd[iPosition] = '\0';
}

static void range_line(const IPS_RULE_INFO *pstRule, const ADDRESS_DIRECTION *pstDirection, const RULE_RANGE *pstRange)
{
    char acStart[LEN_ADDRESS] = {0};
    char acEnd[LEN_ADDRESS] = {0};
    char acCmdMes[LEN_RANGE_LINE] = {0};

    range_end_copy(acStart, pstRange->pcStart);
    range_end_copy(acEnd, pstRange->pcEnd);
    IPS_FORMAT(acCmdMes, "%s %s %s %s", pstDirection->pcKeyword, family_keyword(pstRange->cIsIpv6), acStart, acEnd);
    ips_rule_line(pstRule, acCmdMes);
}

/* A change of one end arrives as a change below the container, at the set entry point and at the removal entry point:
 * the first sends the whole range again, the second takes it away. */
static int rule_range(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete, const ADDRESS_DIRECTION *pstDirection,
                      const char *pcHandler, const char *pcFailure)
{
    IPS_RULE_INFO stRule;
    RULE_RANGE stRange = {};
    int iResult = 0;

    ips_handler_enter(env, pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {7, 5, 3, 1}, 1, &stRule, pcHandler, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_rule_undo_line(env, &stRule, pstDirection->pcUndoLine);
    } else if (ips_op_is_restore(op)) {
        if (!range_get(env, node, &stRange, &iResult))
            return iResult;
        range_line(&stRule, pstDirection, &stRange);
    } else if (ips_op_is_change(op)) {
        if (!range_get(env, node, &stRange, &iResult) ||
            !conflict_check(env, node, stRange.cIsIpv6, pstDirection, &iResult))
            return iResult;
        if (iIsDelete == 1)
            change_undo_line(env, &stRule, pstDirection);
        else
            range_line(&stRule, pstDirection, &stRange);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pcFailure);
}

extern "C" {

/* .../qn-ips:signature-rule/qn-ips:source-ip */
int IPS_UD_SigRuleSourceIP(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return rule_address(op, node, env, iIsDelete, &SOURCE, __func__,
                        "[IPS]ERROR: The leaf of signature rule source-ip is wrong.\r\n\r");
}

/* .../qn-ips:signature-rule/qn-ips:source-ip-range */
int IPS_UD_SigRuleSourceIP_Range(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return rule_range(op, node, env, iIsDelete, &SOURCE, __func__,
                      "[IPS]ERROR: The leaf of signature rule source-range is wrong.\r\n\r");
}

/* .../qn-ips:signature-rule/qn-ips:destination-ip */
int IPS_UD_SigRuleDesIP(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return rule_address(op, node, env, iIsDelete, &DESTINATION, __func__,
                        "[IPS]ERROR: The leaf of signature rule destination-ip is wrong.\r\n\r");
}

/* .../qn-ips:signature-rule/qn-ips:destination-ip-range */
int IPS_UD_SigRuleDesIP_Range(int op, xmlNodePtr node, API_ENV_S *env, int iIsDelete)
{
    return rule_range(op, node, env, iIsDelete, &DESTINATION, __func__,
                      "[IPS]ERROR: The leaf of signature rule destination-ip-range is wrong.\r\n\r");
}
}
