/* Checks of groups of sibling leaves of signature rules. */
#include "quorin-intrusion-prevention-core/checks/rule_check.h"

#include <string.h>

#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

static const int LEN_CONDITION_VALUE = 256;

static const uint32_t PORT_MIN = 1;
static const uint32_t PORT_MAX = 65535;
static const uint32_t OFFSET_MAX = 65535;
static const uint32_t DEPTH_MIN = 7;
static const uint32_t DEPTH_MAX = 65535;

/* A leaf that a correlated condition counts with: absent, or a number from 1 on. True when it may stay; otherwise the
 * client has been told, and the check returns `*piResult`. */
static bool counter_check(API_ENV_S *env, const char *pcLeaf, uint32_t uiMax, const char *pcError, bool *pbGiven,
                          int *piResult)
{
    char acValue[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, pcLeaf, acValue))
        return true;
    *pbGiven = true;
    if (ips_number_is_within(acValue, 1, uiMax))
        return true;
    *piResult = ips_error(env, NC_ERR_INVALID_VALUE, pcError);
    return false;
}

/* The four optional leaves of a correlated condition. As above; `*pbGiven` becomes true when there is one. */
static bool correlation_check(API_ENV_S *env, bool *pbGiven, int *piResult)
{
    char acCorrelation[IPS_LEN_VALUE] = {0};

    if (!counter_check(env, "threshold", IPS_THRESHOLD_MAX, "Failed to check threshold node information.", pbGiven,
                       piResult) ||
        !counter_check(env, "interval", IPS_INTERVAL_MAX, "Failed to check interval node information.", pbGiven,
                       piResult) ||
        !counter_check(env, "block-time", IPS_BLOCK_TIME_MAX, "Failed to check block-time node information.", pbGiven,
                       piResult))
        return false;

    if (!ips_sibling_get(env, "correlation", acCorrelation))
        return true;
    *pbGiven = true;
    if (ips_is_correlation(acCorrelation))
        return true;
    *piResult = ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check correlation node information.");
    return false;
}

extern "C" {

int ips_signature_rule_port_check(API_ENV_S *env)
{
    char acStart[IPS_LEN_VALUE] = {0};
    char acEnd[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "start-port", acStart))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error start-port node information.");
    if (!ips_sibling_get(env, "end-port", acEnd))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error end-port node information.");
    if (acStart[0] == '\0' || acEnd[0] == '\0') {
        ips_debug_line("[IPS]ERROR: The type node is NULL.\r\n\r");
        return 1;
    }
    if (!ips_number_is_within(acStart, PORT_MIN, PORT_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check start-port range.");
    if (!ips_number_is_within(acEnd, PORT_MIN, PORT_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check end-port range.");
    return 0;
}

/* Field name and operator are held against no list here: the builder knows the operators, the device the fields. */
int ips_signature_rule_basic_condition_check(API_ENV_S *env)
{
    char acId[IPS_LEN_VALUE] = {0};
    char acFieldName[IPS_LEN_VALUE] = {0};
    char acOperator[IPS_LEN_VALUE] = {0};
    char acValue[LEN_CONDITION_VALUE] = {0};
    char acOffset[IPS_LEN_VALUE] = {0};
    char acDepth[IPS_LEN_VALUE] = {0};
    char acDirection[IPS_LEN_VALUE] = {0};

    if (!ips_sibling_get(env, "id", acId))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error basic-conditon/id node information.");
    if (!ips_sibling_get(env, "field-name", acFieldName))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error basic-conditon/field-name node information.");
    if (!ips_sibling_get(env, "operator", acOperator))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error basic-conditon/operator node information.");
    if (!ips_sibling_get(env, "value", acValue))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error basic-conditon/value node information.");

    if (acId[0] == '\0')
        return ips_error(env, NC_ERR_INVALID_VALUE, "The condition id node is NULL.");
    if (!ips_number_is_within(acId, 0, IPS_CONDITION_ID_MAX))
        return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check condition id node information.");
    if (acFieldName[0] == '\0')
        return ips_error(env, NC_ERR_INVALID_VALUE, "The field name node is NULL.");
    if (acOperator[0] == '\0')
        return ips_error(env, NC_ERR_INVALID_VALUE, "The operator node is NULL.");
    if (acValue[0] == '\0')
        return ips_error(env, NC_ERR_INVALID_VALUE, "The value node is NULL.");

    if (ips_sibling_get(env, "offset", acOffset)) {
        if (!ips_number_is_within(acOffset, 0, OFFSET_MAX))
            return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check offset value node information.");
        if (strcmp(acOperator, "prefix-match") == 0)
            return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check offset type node information.");
    }
    if (ips_sibling_get(env, "depth", acDepth) && !ips_number_is_within(acDepth, DEPTH_MIN, DEPTH_MAX))
        return ips_error(env, NC_ERR_INVALID_VALUE, "Failed to check depth value node information.");

    if (!ips_sibling_get(env, "direction", acDirection) ||
        ips_is_one_of(acDirection, {"both", "from-client", "from-server"}))
        return 0;
    return ips_error_debug(env, NC_ERR_INVALID_VALUE, "Failed to check direction value node information.",
                           "[IPS]ERROR: Failed to check the direction value node information.\r\n\r");
}

int ips_presig_assoc_condition_check(API_ENV_S *env)
{
    bool bGiven = false;
    int iResult = 0;

    if (!correlation_check(env, &bGiven, &iResult))
        return iResult;
    if (bGiven)
        return 0;
    return ips_error(env, NC_ERR_INVALID_VALUE, "The threshold/interval/block-time/correlation node all are NULL.");
}

/* The signature id alone makes a condition: the device has defaults for the rest. */
int ips_udsig_assoc_condition_check(API_ENV_S *env)
{
    char acSignatureId[IPS_LEN_VALUE] = {0};
    bool bGiven = false;
    int iResult = 0;

    if (!ips_sibling_get(env, "signature-id", acSignatureId))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error assoc-conditon/signature-id node information.");
    if (acSignatureId[0] == '\0')
        return ips_error(env, NC_ERR_BAD_ELEM, "The signature-id node is NULL.");
    if (!ips_number_is_within(acSignatureId, 1, IPS_SIGNATURE_ID_MAX))
        return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check signature-id node information.");

    correlation_check(env, &bGiven, &iResult); /* any of the values, or none */
    return iResult;
}
}
