/* Ports of a rule: a pair for the source and one for the destination. A pair goes out in one line, whichever end
 * changes, and goes with its container only. */
#include "quorin-intrusion-prevention-core/checks/rule_check.h"
#include "quorin-intrusion-prevention-core/handlers/handler_skeleton.h"
#include "quorin-intrusion-prevention-core/handlers/signature_rule.h"

static const int LEN_PORT_LINE = 160;

/* A direction's ports, as a pair. */
typedef struct {
    const char *pcHandler;
    const char *pcUndoLine;
    const char *pcFailure;
} RULE_PORTS;

/* The container speaks when it goes; when it comes or changes, its leaves do. */
static int rule_ports(int op, API_ENV_S *env, const RULE_PORTS *pstPorts)
{
    IPS_RULE_INFO stRule;
    int iResult = 0;

    ips_handler_enter(env, pstPorts->pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {7, 5, 3, 1}, 1, &stRule, pstPorts->pcHandler, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_undo(op)) {
        ips_rule_undo_line(env, &stRule, pstPorts->pcUndoLine);
    } else if (ips_op_is_change(op)) {
        ips_debug_line("[IPS]SUCCESS: The op is CHAIN.\r");
        return 0;
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstPorts->pcFailure);
}

/* One end of a port pair. */
typedef struct {
    const char *pcHandler;
    const char *pcKeyword;
    const char *pcOtherEnd;
    const char *pcFailure;
    bool bIsStart;
} RULE_PORT;

/* The pair goes out in one line, whichever end changes, and goes with its container only. The texts name the end port
 * whichever end is missing, and stay so. A refused check whose result is not 1 does not stop the line. */
static int rule_port(int op, xmlNodePtr node, API_ENV_S *env, const RULE_PORT *pstPort)
{
    IPS_RULE_INFO stRule;
    char acPort[IPS_LEN_VALUE] = {0};
    char acOtherPort[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_PORT_LINE] = {0};
    int iResult = 0;

    ips_handler_enter(env, pstPort->pcHandler, __LINE__, op);
    if (!ips_basic_rule_begin(env, {8, 6, 4, 2, 1}, 2, &stRule, pstPort->pcHandler, __LINE__, &iResult))
        return iResult;

    if (ips_op_is_removal(op))
        return ips_error(env, NC_ERR_OP_FAILED, "The operation is not supported.");
    if (!ips_value_get(env, get_node_content(node), acPort, &iResult))
        return iResult;

    if (ips_op_is_set(op)) {
        if (ips_signature_rule_port_check(env) == 1) {
            ips_debug_line("[IPS]ERROR: Failed to check the information.\r\n\r");
            return 1;
        }
        if (!ips_sibling_get(env, pstPort->pcOtherEnd, acOtherPort))
            return ips_error(env, NC_ERR_MISSING_ELEM, "Get error end-port node information.");
        if (acOtherPort[0] == '\0')
            return ips_error(env, NC_ERR_BAD_ELEM, "Failed to check the end-port information.");
        IPS_FORMAT(acCmdMes, "%s %s %s", pstPort->pcKeyword, pstPort->bIsStart ? acPort : acOtherPort,
                   pstPort->bIsStart ? acOtherPort : acPort);
        ips_rule_line(&stRule, acCmdMes);
    } else {
        ips_op_unknown(op);
    }
    return ips_commit(env, pstPort->pcFailure);
}

extern "C" {

/* .../qn-ips:signature-rule/qn-ips:source-port */
int IPS_UD_SigRuleSourcePort(int op, xmlNodePtr, API_ENV_S *env)
{
    static const RULE_PORTS stPorts = {
        .pcHandler = __func__,
        .pcUndoLine = "undo source-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule source-port is wrong.\r\n\r",
    };

    return rule_ports(op, env, &stPorts);
}

/* .../qn-ips:signature-rule/qn-ips:source-port/qn-ips:start-port */
int IPS_UD_SigRuleSourceStartPort(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_PORT stPort = {
        .pcHandler = __func__,
        .pcKeyword = "source-port",
        .pcOtherEnd = "end-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule source-port start-port is wrong.\r\n\r",
        .bIsStart = true,
    };

    return rule_port(op, node, env, &stPort);
}

/* .../qn-ips:signature-rule/qn-ips:source-port/qn-ips:end-port */
int IPS_UD_SigRuleSourceEndPort(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_PORT stPort = {
        .pcHandler = __func__,
        .pcKeyword = "source-port",
        .pcOtherEnd = "start-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule source-port end-port is wrong.\r\n\r",
        .bIsStart = false,
    };

    return rule_port(op, node, env, &stPort);
}

/* .../qn-ips:signature-rule/qn-ips:destination-port */
int IPS_UD_SigRuleDesPort(int op, xmlNodePtr, API_ENV_S *env)
{
    static const RULE_PORTS stPorts = {
        .pcHandler = __func__,
        .pcUndoLine = "undo destination-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule destination-port is wrong.\r\n\r",
    };

    return rule_ports(op, env, &stPorts);
}

/* .../qn-ips:signature-rule/qn-ips:destination-port/qn-ips:start-port */
int IPS_UD_SigRuleDesStartPort(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_PORT stPort = {
        .pcHandler = __func__,
        .pcKeyword = "destination-port",
        .pcOtherEnd = "end-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule destination-port start-port is wrong.\r\n\r",
        .bIsStart = true,
    };

    return rule_port(op, node, env, &stPort);
}

/* .../qn-ips:signature-rule/qn-ips:destination-port/qn-ips:end-port */
int IPS_UD_SigRuleDesEndPort(int op, xmlNodePtr node, API_ENV_S *env)
{
    static const RULE_PORT stPort = {
        .pcHandler = __func__,
        .pcKeyword = "destination-port",
        .pcOtherEnd = "start-port",
        .pcFailure = "[IPS]ERROR: The leaf of signature rule destination-port end-port is wrong.\r\n\r",
        .bIsStart = false,
    };

    return rule_port(op, node, env, &stPort);
}
}
