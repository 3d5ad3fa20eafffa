/* Handlers of the nodes that this version cannot configure. They refuse every change, so that no client believes in a
 * setting that never reached the device. */
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"

static int unsupported(API_ENV_S *pstEnv)
{
    const char *pcNode = reinterpret_cast<const char *>(pstEnv->node->name);

    ips_debug_print("[IPS]ERROR: The node %s is not supported.\r\n\r\n", pcNode);
    return api_error(pstEnv, nullptr, NC_ERR_OP_NOT_SUPPORTED, "The node %s is not supported.", pcNode);
}

#define UNSUPPORTED(handler)                                                                                           \
    int handler(int, xmlNodePtr, API_ENV_S *env)                                                                       \
    {                                                                                                                  \
        return unsupported(env);                                                                                       \
    }
#define UNSUPPORTED_FLAG(handler)                                                                                      \
    int handler(int, xmlNodePtr, API_ENV_S *env, int)                                                                  \
    {                                                                                                                  \
        return unsupported(env);                                                                                       \
    }

extern "C" {

// clang-format off
UNSUPPORTED(IPS_UD_Signature)
UNSUPPORTED(IPS_UD_SignatureName)
UNSUPPORTED(IPS_UD_SignatureDescription)
UNSUPPORTED(IPS_UD_SignatureTarget)
UNSUPPORTED(IPS_UD_SignatureSeverity)
UNSUPPORTED(IPS_UD_SignatureAction)
UNSUPPORTED(IPS_UD_SignatureProtocolRules)
UNSUPPORTED(IPS_UD_SigRule)
UNSUPPORTED(IPS_UD_SigRuleScope)
UNSUPPORTED(IPS_UD_SigRuleSequence)
UNSUPPORTED_FLAG(IPS_UD_SigRuleSourceIP)
UNSUPPORTED_FLAG(IPS_UD_SigRuleSourceIP_Range)
UNSUPPORTED(IPS_UD_SigRuleSourcePort)
UNSUPPORTED(IPS_UD_SigRuleSourceStartPort)
UNSUPPORTED(IPS_UD_SigRuleSourceEndPort)
UNSUPPORTED_FLAG(IPS_UD_SigRuleDesIP)
UNSUPPORTED_FLAG(IPS_UD_SigRuleDesIP_Range)
UNSUPPORTED(IPS_UD_SigRuleDesPort)
UNSUPPORTED(IPS_UD_SigRuleDesStartPort)
UNSUPPORTED(IPS_UD_SigRuleDesEndPort)
UNSUPPORTED(IPS_UD_SigRuleBasicCond)
UNSUPPORTED(IPS_UD_SigRuleBasicCondID)
UNSUPPORTED(IPS_UD_SigRuleBasicCondFieldName)
UNSUPPORTED(IPS_UD_SigRuleBasicCondOperator)
UNSUPPORTED(IPS_UD_SigRuleBasicCondValue)
UNSUPPORTED_FLAG(IPS_UD_SigRuleBasicCondOffset)
UNSUPPORTED_FLAG(IPS_UD_SigRuleBasicCondDepth)
UNSUPPORTED_FLAG(IPS_UD_SigRuleBasicCondDirection)
UNSUPPORTED_FLAG(IPS_UD_SigRuleBasicCondHTTPMethod)
UNSUPPORTED(IPS_UD_SigAssociatedRuleProtocol)
UNSUPPORTED(IPS_UD_SigAssociatedSigRule)
UNSUPPORTED(IPS_UD_SigRuleAssocCond)
UNSUPPORTED_FLAG(IPS_UD_SigRuleAssocCondSigID)
UNSUPPORTED(IPS_UD_SigRuleAssocCondThreshold)
UNSUPPORTED(IPS_UD_SigRuleAssocCondInterval)
UNSUPPORTED(IPS_UD_SigRuleAssocCondBlockTime)
UNSUPPORTED(IPS_UD_SigRuleAssocCondCorrelation)
UNSUPPORTED(IPS_PreSigConfigState)
UNSUPPORTED(IPS_PreSigAssocCond)
UNSUPPORTED(IPS_PreSigAssocCondThreshold)
UNSUPPORTED(IPS_PreSigAssocCondInterval)
UNSUPPORTED(IPS_PreSigAssocCondBlockTime)
UNSUPPORTED(IPS_PreSigAssocCondCorrelation)
UNSUPPORTED(IPS_GlobalMaxSessionNumDefNum)
UNSUPPORTED(IPS_GlobalMaxSessionNumSig)
UNSUPPORTED(IPS_GlobalMaxSessionSigNum)
UNSUPPORTED(IPS_GlobalRegularExpressionUnlimit)
UNSUPPORTED(IPS_GlobalEngineLog)
UNSUPPORTED(IPS_GlobalLogMerge)
UNSUPPORTED(IPS_GlobalSigState)
// clang-format on
}
