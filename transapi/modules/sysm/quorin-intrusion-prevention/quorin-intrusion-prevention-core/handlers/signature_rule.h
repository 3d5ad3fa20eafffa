/* What the handlers of rules share, those of basic and of associated signatures. Not exported. */
#ifndef QN_IPS_SIGNATURE_RULE_H
#define QN_IPS_SIGNATURE_RULE_H

#include <initializer_list>

#include "quorin-intrusion-prevention-core/commands/edit_context.h"

#pragma GCC visibility push(hidden)

/* The rule that a changed node belongs to. */
typedef struct {
    IPS_SIG_ID_INFO stSignature;
    char acRuleName[IPS_LEN_NAME]; /* trimmed, as it stands in the view's name */
} IPS_RULE_INFO;

/* Fills the record from the rule's and the signature's levels. True when it is filled; otherwise the client has been
 * told, and the handler returns `*piResult`. */
bool ips_rule_get(API_ENV_S *pstEnv, IPS_RULE_INFO *pstRule, int iRuleLevel, int iSignatureLevel, const char *pcHandler,
                  int iLine, int *piResult);

/* What every handler below a rule of a basic signature does first: guard, context, nature. As above; `*piResult` is 0
 * when a removal at one of the levels covers the node. */
bool ips_basic_rule_begin(API_ENV_S *pstEnv, std::initializer_list<int> guards, int iRuleLevel, IPS_RULE_INFO *pstRule,
                          const char *pcHandler, int iLine, int *piResult);

/* Cache a line in the rule's view; the second tells the commit that the line undoes. */
void ips_rule_line(const IPS_RULE_INFO *pstRule, const char *pcLine);
void ips_rule_undo_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine);

/* As the second, with debug lines of their own. */
void ips_rule_removal_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine);
void ips_rule_spaced_removal_line(API_ENV_S *pstEnv, const IPS_RULE_INFO *pstRule, const char *pcLine);

/* The entry of a rule of either nature, from its name on: the line, for the signature's view, and the commit. */
int ips_rule_entry(int iOp, xmlNodePtr pstNode, API_ENV_S *pstEnv, const char *pcVsys, const char *pcView);

#pragma GCC visibility pop

#endif
