/* Checks of groups of sibling leaves of a profile. */
#include "quorin-intrusion-prevention-core/checks/profile_check.h"

#include <string.h>

#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

static const uint32_t TIMEOUT_MAX = 30;

extern "C" {

int ips_profile_cnc_check(API_ENV_S *env)
{
    char acEnable[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "domain-filter-enable", acEnable))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error cnc/domain-filter-enable node information.");

    if (strcmp(acEnable, "false") == 0)
        return 0;
    if (strcmp(acEnable, "true") != 0)
        return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the cnc-enable node.");

    if (!ips_sibling_get(env, "action", acAction))
        return 0; /* the filter may be on before it has an action */
    if (ips_is_one_of(acAction, {"alert", "block"}))
        return 0;
    return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the cnc-action node.");
}

int ips_profile_signatureset_action_check(API_ENV_S *env)
{
    char acAction[IPS_LEN_VALUE] = {0};
    char acInterworking[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "action", acAction))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error signatureset/action node information.");
    if (!ips_is_one_of(acAction, {"default-type", "alert", "block"}))
        return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the signature-set action node information.");

    if (!ips_sibling_get(env, "interworking", acInterworking))
        return 0;
    if (ips_is_interworking(acInterworking))
        return 0;
    return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check the interworking node information.");
}

/* "block-both" is an interworking but no action. The timeout belongs to the two actions that block an address; with any
 * other action nobody looks at it. */
int ips_profile_exception_signature_check(API_ENV_S *env)
{
    char acId[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};
    char acTimeout[IPS_LEN_VALUE] = {0};
    char acInterworking[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "id", acId))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error exception-signature/id information.");
    if (acId[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The exception-signature/id node is NULL.");
    if (!ips_number_is_within(acId, 1, IPS_SIGNATURE_ID_MAX))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Failed to check the exception-signature/id node.");

    if (ips_sibling_get(env, "action", acAction) &&
        !ips_is_one_of(acAction, {"alert", "block", "allow", "block-source-ip", "block-destination-ip"}))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Failed to check the exception-signature/action node.");
    if (ips_action_has_timeout(acAction) && ips_sibling_get(env, "timeout", acTimeout)) {
        if (acTimeout[0] == '\0')
            return ips_error(env, NC_ERR_MISSING_ELEM, "The exception-signature/timeout is null.");
        if (!ips_number_is_within(acTimeout, 1, TIMEOUT_MAX))
            return ips_error(env, NC_ERR_MISSING_ELEM, "Failed to check the exception-signature/timeout node.");
    }

    if (!ips_sibling_get(env, "interworking", acInterworking) || ips_is_interworking(acInterworking))
        return 0;
    return ips_error(env, NC_ERR_MISSING_ELEM, "Failed to check the exception-signature/interworking node.");
}

int ips_profile_dns_request_type_check(API_ENV_S *env)
{
    char acStart[IPS_LEN_VALUE] = {0};
    char acEnd[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};

    /* The debug line names the other leaf, and stays so. */
    if (!ips_sibling_get(env, "start-type", acStart))
        return ips_error_debug(env, NC_ERR_MISSING_ELEM, "Get error request-type/start-type node information.",
                               "[IPS]ERROR: Get request-type/end-type node information.\r\n\r");
    if (!ips_sibling_get(env, "end-type", acEnd))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error request-type/end-type node information.");
    if (!ips_sibling_get(env, "action", acAction))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error request-type/action node information.");
    if (acStart[0] == '\0' || acEnd[0] == '\0' || acAction[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The start type or action or end type is NULL.");

    if (!ips_number_is_within(acStart, 0, IPS_DNS_REQUEST_TYPE_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check start type range node information.");
    if (!ips_number_is_within(acEnd, 0, IPS_DNS_REQUEST_TYPE_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check end type node information.");
    if (ips_number(acStart) > ips_number(acEnd))
        return ips_error(env, NC_ERR_BAD_ELEM, "The end type is less-than the start type.");
    if (ips_is_one_of(acAction, {"alert", "block", "allow"}))
        return 0;
    return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check action node information.");
}

int ips_profile_http_x_online_host_check(API_ENV_S *env)
{
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "action", acAction))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error x-online-host/action node information.");
    if (!ips_sibling_get(env, "type", acType))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error x-online-host/type node information.");
    if (acType[0] == '\0' || acAction[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The type or action is NULL.");

    if (!ips_is_one_of(acType, {"any", "blacklist", "multiple"}))
        return ips_error_debug(env, NC_ERR_BAD_ELEM, "Failed to check the type node information.",
                               "[IPS]ERROR: Failed to check type node information.\r\n\r");
    if (ips_is_one_of(acAction, {"alert", "block"}))
        return 0;
    return ips_error_debug(env, NC_ERR_BAD_ELEM, "Failed to check action node information.",
                           "[IPS]ERROR: Failde to check action node information.\r\n\r");
}

int ips_profile_http_x_forwarded_for_check(API_ENV_S *env)
{
    char acType[IPS_LEN_VALUE] = {0};
    char acAction[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "action", acAction))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error x-forwarded-for/action node information.");
    if (!ips_sibling_get(env, "type", acType))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error x-forwarded-for/type node information.");
    if (acType[0] == '\0' || acAction[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The type or action is NULL.");

    if (!ips_is_one_of(acType, {"any", "whitelist"}))
        return ips_error_debug(env, NC_ERR_BAD_ELEM, "Failed to check the type node information.",
                               "[IPS]ERROR: Failed to check type node inforamtion.\r\n\r");
    if (ips_is_one_of(acAction, {"alert", "block"}))
        return 0;
    return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check action node information.");
}
}
