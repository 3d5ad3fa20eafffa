/* Checks of the addresses that a rule of a user-defined signature matches. */
#include "quorin-intrusion-prevention-core/checks/address_check.h"

#include <arpa/inet.h>
#include <stdlib.h>
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/string_check.h"
#include "quorin-intrusion-prevention-core/element.h"
#include "quorin-intrusion-prevention-core/operation.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

static const int MASK_MAX_IPV4 = 32;
static const int MASK_MAX_IPV6 = 128;

static const int LEN_ADDRESS = 128;
static const size_t LEN_IPV6 = 16;
static const size_t LEN_IPV6_PREFIX = 12;
static const int IPV6_WORDS = 4;
static const unsigned char MULTICAST_FIRST_BYTE = 0xFF;

static int refused(const char *pcDebugLine)
{
    ips_debug_line(pcDebugLine);
    return 1;
}

static bool is_ipv6_flag(char cIsIpV6)
{
    return cIsIpV6 == 1;
}

/* Any text without a colon counts as IPv4, no text at all included. */
static bool is_ipv6_text(const char *pcAddress)
{
    return pcAddress != nullptr && strchr(pcAddress, ':') != nullptr;
}

/* The last four bytes are read in the order of the host, so that on a little-endian one it is ::100:0
 * that counts as reserved, and the loopback address that does not. */
static bool is_reserved_ipv6(const unsigned char (&aucAddress)[LEN_IPV6])
{
    static const unsigned char aucZero[LEN_IPV6] = {0};
    uint32_t uiLast = 0;

    if (memcmp(aucAddress, aucZero, LEN_IPV6) == 0 || aucAddress[0] == MULTICAST_FIRST_BYTE)
        return true;
    memcpy_s(&uiLast, sizeof(uiLast), aucAddress + LEN_IPV6_PREFIX, sizeof(uiLast));
    return memcmp(aucAddress, aucZero, LEN_IPV6_PREFIX) == 0 && uiLast == 1;
}

static int ipv4_check(const char *pcAddress)
{
    struct in_addr stAddress = {};

    if (inet_pton(AF_INET, pcAddress, &stAddress) != 1)
        return refused("[IPS]ERROR: The Ipv4 number info is wrong.\r\n\r");
    return 0;
}

static int ipv6_check(const char *pcAddress)
{
    unsigned char aucAddress[LEN_IPV6] = {0};

    if (inet_pton(AF_INET6, pcAddress, aucAddress) != 1)
        return refused("[IPS]ERROR: The Ipv6 number info is wrong.\r\n\r");
    if (is_reserved_ipv6(aucAddress))
        return refused("[IPS]ERROR: The Ipv6 info is wrong.\r\n\r");
    return 0;
}

static int mask_max(char cIsIpV6)
{
    return is_ipv6_flag(cIsIpV6) ? MASK_MAX_IPV6 : MASK_MAX_IPV4;
}

static int mask_refused(char cIsIpV6)
{
    return refused(is_ipv6_flag(cIsIpV6)
                       ? "[IPS]ERROR: Failed to fill the iMaskLen of ipv6 address, the iMaskLen is illegal.\r\n\r"
                       : "[IPS]ERROR: Failed to fill the iMaskLen of ipv4 address, the iMaskLen is illegal.\r\n\r");
}

/* Cuts the text at its first slash, reads the mask length behind it and checks what stands before it. `*pbMask` false:
 * there is no slash. */
static int address_check(char *pcIp, char cIsIpV6, bool *pbMask, int *piMaskLen)
{
    if (pcIp == nullptr)
        return refused("[IPS]ERROR: The ip string is NULL.\r\n\r");

    char *pcSlash = ips_strchr(pcIp, '/');
    *pbMask = pcSlash != nullptr;
    if (pcSlash != nullptr) {
        *pcSlash = '\0';
        *piMaskLen = static_cast<int>(strtol(pcSlash + 1, nullptr, 10));
    }
    return is_ipv6_flag(cIsIpV6) ? ipv6_check(pcIp) : ipv4_check(pcIp);
}

static void prefix_cut(char (&acAddress)[LEN_ADDRESS], int iPosition)
{
    if (iPosition > 0 && iPosition < LEN_ADDRESS)
        acAddress[iPosition] = '\0';
}

/* The first byte of an address is the least significant one on a little-endian host: 10.0.0.9 stands before 9.0.0.10.
 * The debug line calls every range that is in order equal. */
static int ipv4_range_check(const char *pcStart, const char *pcEnd)
{
    uint32_t uiStart = 0;
    uint32_t uiEnd = 0;

    if (inet_pton(AF_INET, pcStart, &uiStart) != 1)
        return refused("[IPS]ERROR: The Ipv4 number info of start-ip is wrong.\r\n\r");
    if (inet_pton(AF_INET, pcEnd, &uiEnd) != 1)
        return refused("[IPS]ERROR: The Ipv4 number info of end-ip is wrong.\r\n\r");
    if (uiStart > uiEnd)
        return refused("[IPS]ERROR: The start-ip and end-ip range is wrong.\r\n\r");
    ips_debug_line("[IPS]Info: The start-ip and end-ip is equal.\r\n\r");
    return 0;
}

/* Word by word, each in the order of the host. */
static int ipv6_range_check(const char *pcStart, const char *pcEnd)
{
    uint32_t auiStart[IPV6_WORDS] = {0};
    uint32_t auiEnd[IPV6_WORDS] = {0};

    if (inet_pton(AF_INET6, pcStart, auiStart) != 1)
        return refused("[IPS]ERROR: The Ipv6 number info of start-ip is wrong.\r\n\r");
    if (inet_pton(AF_INET6, pcEnd, auiEnd) != 1)
        return refused("[IPS]ERROR: The Ipv6 number info of end-ip is wrong.\r\n\r");
    for (int iWord = 0; iWord < IPV6_WORDS; iWord++) {
        if (auiStart[iWord] > auiEnd[iWord])
            return refused("[IPS]ERROR: The start-ip and end-ip range is wrong.\r\n\r");
        if (auiStart[iWord] < auiEnd[iWord]) {
            ips_debug_line("[IPS]Info: The start-ip and end-ip range is right.\r\n\r");
            return 0;
        }
    }
    ips_debug_line("[IPS]Info: The start-ip and end-ip is equal.\r\n\r");
    return 0;
}

/* The range of one direction among the siblings of a node of the other direction. */
typedef struct {
    const char *pcRange;
    const char *pcNotFound;
} OTHER_RANGE;

/* The `start-ip` of a node that is the wanted range, else null. */
static xmlNodePtr range_start(xmlNodePtr pstNode, const char *pcRange)
{
    return ips_is_element(pstNode, pcRange) ? ips_child_find(pstNode, "start-ip") : nullptr;
}

static xmlNodePtr range_start_find(xmlNodePtr pstNode, const char *pcRange)
{
    xmlNodePtr pstStart = nullptr;

    for (xmlNodePtr pstNext = pstNode->next; pstNext != nullptr && pstStart == nullptr; pstNext = pstNext->next)
        pstStart = range_start(pstNext, pcRange);
    ips_debug_print("[IPS]Find next: The cIsFindValue = %u.\r\n\r\n", pstStart != nullptr ? 1U : 0U);
    if (pstStart != nullptr)
        return pstStart;

    for (xmlNodePtr pstPrev = pstNode->prev; pstPrev != nullptr && pstStart == nullptr; pstPrev = pstPrev->prev)
        pstStart = range_start(pstPrev, pcRange);
    ips_debug_print("[IPS]Find prev: The cIsFindValue = %u.\r\n\r\n", pstStart != nullptr ? 1U : 0U);
    return pstStart;
}

static int other_range_compare(xmlNodePtr pstNode, char cIsIpV6, const OTHER_RANGE *pstOther)
{
    const xmlNodePtr pstStart = range_start_find(pstNode, pstOther->pcRange);

    if (pstStart == nullptr)
        return refused(pstOther->pcNotFound);
    return is_ipv6_text(get_node_content(pstStart)) == is_ipv6_flag(cIsIpV6) ? 0 : 1;
}

extern "C" {

/* The bound is a signed one: a negative mask length passes. */
int ips_signature_rule_ip_type_and_mask_check(char *pIpStr, char cIsIpV6)
{
    bool bMask = false;
    int iMaskLen = 0;

    if (address_check(pIpStr, cIsIpV6, &bMask, &iMaskLen) != 0)
        return 1;
    if (!bMask || (iMaskLen <= mask_max(cIsIpV6) && iMaskLen != 0))
        return 0;
    return mask_refused(cIsIpV6);
}

int ips_signature_rule_ip_range_type_and_mask_check(char *pIpStr, char cIsIpV6)
{
    bool bMask = false;
    int iMaskLen = 0;

    if (address_check(pIpStr, cIsIpV6, &bMask, &iMaskLen) != 0)
        return 1;
    if (!bMask || iMaskLen == mask_max(cIsIpV6))
        return 0;
    return mask_refused(cIsIpV6);
}

int get_ips_signature_rule_ip_ipprefix_pos(const char *ip_in)
{
    if (ip_in[0] == '\0' || ip_in[0] == '/')
        return 0;

    const char *pcSlash = strchr(ip_in, '/');
    return pcSlash == nullptr ? 0 : static_cast<int>(pcSlash - ip_in);
}

int ips_signature_rule_ip_compare_startIP_and_endIP_range(const char *pcStartIPValue, const char *pcEndIPValue,
                                                          char *pcIsIpv6)
{
    char acStart[LEN_ADDRESS] = {0};
    char acEnd[LEN_ADDRESS] = {0};
    char acStartCheck[LEN_ADDRESS] = {0};
    char acEndCheck[LEN_ADDRESS] = {0};

    if (pcStartIPValue == nullptr || pcEndIPValue == nullptr)
        return refused("[IPS]ERROR: The start-ip or end-ip is NULL.\r\n\r");
    snprintf_s(acStart, sizeof(acStart), sizeof(acStart) - 1, "%s", pcStartIPValue);
    snprintf_s(acEnd, sizeof(acEnd), sizeof(acEnd) - 1, "%s", pcEndIPValue);
    snprintf_s(acStartCheck, sizeof(acStartCheck), sizeof(acStartCheck) - 1, "%s", pcStartIPValue);
    snprintf_s(acEndCheck, sizeof(acEndCheck), sizeof(acEndCheck) - 1, "%s", pcEndIPValue);

    if (is_ipv6_text(pcStartIPValue) != is_ipv6_text(pcEndIPValue))
        return refused("[IPS]ERROR: The type of start-ip and end-ip is different.\r\n\r");
    *pcIsIpv6 = is_ipv6_text(pcStartIPValue) ? 1 : 0;

    if (ips_signature_rule_ip_range_type_and_mask_check(acStartCheck, *pcIsIpv6) != 0)
        return refused("[IPS]ERROR: The type of start-ip is wrong.\r\n\r");
    if (ips_signature_rule_ip_range_type_and_mask_check(acEndCheck, *pcIsIpv6) != 0)
        return refused("[IPS]ERROR: The type of end-ip is wrong.\r\n\r");

    prefix_cut(acStart, get_ips_signature_rule_ip_ipprefix_pos(pcStartIPValue));
    prefix_cut(acEnd, get_ips_signature_rule_ip_ipprefix_pos(pcEndIPValue));
    return is_ipv6_flag(*pcIsIpv6) ? ipv6_range_check(acStart, acEnd) : ipv4_range_check(acStart, acEnd);
}

int ips_signature_rule_compare_ip_type(API_ENV_S *env, char cCurLeafIsIPv6, char cIsGetSourceInfo)
{
    char acAddress[LEN_ADDRESS] = {0};

    if (cIsGetSourceInfo == 1) {
        if (!ips_sibling_get(env, "source-ip", acAddress))
            return refused("[IPS]ERROR: Get error source-ip value.\r\n\r");
    } else if (!ips_sibling_get(env, "destination-ip", acAddress)) {
        return refused("[IPS]ERROR: Get error destination-ip value.\r\n\r");
    }
    return is_ipv6_text(acAddress) == is_ipv6_flag(cCurLeafIsIPv6) ? 0 : 1;
}

int ips_signature_rule_souIP_type_compare_desRange_type(xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6)
{
    static const OTHER_RANGE stDestination = {
        .pcRange = "destination-ip-range",
        .pcNotFound = "[IPS]INFO: Do not find value.\r\n\r",
    };

    return other_range_compare(xmlNodeTmp, cCurLeafIsIPv6, &stDestination);
}

int ips_signature_rule_desIP_type_compare_sourceRange_type(xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6)
{
    static const OTHER_RANGE stSource = {
        .pcRange = "source-ip-range",
        .pcNotFound = "[IPS]INFO: not find value.\r\n\r",
    };

    return other_range_compare(xmlNodeTmp, cCurLeafIsIPv6, &stSource);
}

/* Only what the edit itself gives the other direction is weighed: what stands there unchanged has been weighed before,
 * and a rollback or a restore brings back what was accepted once. */
int ips_signature_rule_IP_type_compare_IP_And_Range_type(API_ENV_S *env, xmlNodePtr xmlNodeTmp, char cCurLeafIsIPv6,
                                                         char cCurLeafIsSource)
{
    const bool bIsSource = cCurLeafIsSource != 0;
    const int iIP_OP = api_find_parent_brother_operation(env, 1, bIsSource ? "destination-ip" : "source-ip");
    const int iRange_OP =
        api_find_parent_brother_operation(env, 1, bIsSource ? "destination-ip-range" : "source-ip-range");

    ips_debug_print("[IPS]INFO: uiIP_OP is %u.\r\n\r\n", static_cast<unsigned>(iIP_OP));
    ips_debug_print("[IPS]INFO: uiRange_OP is %u.\r\n\r\n", static_cast<unsigned>(iRange_OP));

    if (iRange_OP == IPS_OP_NOT_IN_EDIT) {
        if (iIP_OP == IPS_OP_NOT_IN_EDIT || ips_op_has(iIP_OP, XMLDIFF_ROLLBACK | XMLDIFF_CFGR) ||
            !ips_op_has(iIP_OP, XMLDIFF_ADD | XMLDIFF_MOD))
            return 0;
        return ips_signature_rule_compare_ip_type(env, cCurLeafIsIPv6, bIsSource ? 0 : 1);
    }
    if (iIP_OP != IPS_OP_NOT_IN_EDIT && !ips_op_has(iIP_OP, XMLDIFF_REM))
        return ips_error(env, NC_ERR_BAD_ELEM, "The choice node is wrong.");

    if (ips_op_has(iRange_OP, XMLDIFF_ROLLBACK | XMLDIFF_CFGR) || !ips_op_is_change(iRange_OP))
        return 0;
    const int iResult = bIsSource ? ips_signature_rule_souIP_type_compare_desRange_type(xmlNodeTmp, cCurLeafIsIPv6)
                                  : ips_signature_rule_desIP_type_compare_sourceRange_type(xmlNodeTmp, cCurLeafIsIPv6);
    if (iResult == 1)
        return 1;
    ips_debug_line("[IPS]INFO: compare ip ok.\r\n\r");
    return 0;
}
}
