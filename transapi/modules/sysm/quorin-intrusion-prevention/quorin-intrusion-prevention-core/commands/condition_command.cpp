/* Command lines of conditions. The formats are kept whole, one for every combination of parts: the device takes the
 * parts in this order only, and each line as it stands, final blank included. */
#include "quorin-intrusion-prevention-core/commands/condition_command.h"

#include <string.h>

#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/commands/command_line.h"
#include "quorin-intrusion-prevention-core/commands/edit_context.h"
#include "quorin-intrusion-prevention-core/operation.h"
#include "quorin-intrusion-prevention-core/report.h"
#include "quorin-intrusion-prevention-core/sibling.h"

static const int LEN_LINE = 512;
static const int LEN_CONDITION_VALUE = 256;
static const int LEN_CONDITION_VIEW = 256;
static const int LEN_NUMBER = 32;

/* The optional parts of a basic condition, as bits of the index into the formats. */
enum { PART_OFFSET = 1, PART_DEPTH = 2, PART_DIRECTION = 4, PART_METHOD = 8, BASIC_COMBINATIONS = 16 };

static const char *const BASIC_FORMATS[BASIC_COMBINATIONS] = {
    "condition %s field %s operate %s value %s ",
    "condition %s field %s operate %s value %s offset %s ",
    "condition %s field %s operate %s value %s depth %s ",
    "condition %s field %s operate %s value %s offset %s depth %s ",
    "condition %s field %s operate %s value %s direction %s ",
    "condition %s field %s operate %s value %s offset %s direction %s ",
    "condition %s field %s operate %s value %s depth %s direction %s ",
    "condition %s field %s operate %s value %s offset %s depth %s direction %s ",
    "condition %s field %s operate %s value %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s offset %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s depth %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s offset %s depth %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s direction %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s offset %s direction %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s depth %s direction %s qualifier http-method %s ",
    "condition %s field %s operate %s value %s offset %s depth %s direction %s qualifier http-method %s ",
};

/* A prefix match starts where the field does. It has no offset of its own, so its formats are indexed by the other
 * parts: half the combination. */
static const char *const PREFIX_FORMATS[BASIC_COMBINATIONS / 2] = {
    "condition %s field %s operate pmatch value %s offset begin ",
    "condition %s field %s operate pmatch value %s offset begin depth %s ",
    "condition %s field %s operate pmatch value %s offset begin direction %s ",
    "condition %s field %s operate pmatch value %s offset begin depth %s direction %s ",
    "condition %s field %s operate pmatch value %s offset begin qualifier http-method %s ",
    "condition %s field %s operate pmatch value %s offset begin depth %s qualifier http-method %s ",
    "condition %s field %s operate pmatch value %s offset begin direction %s qualifier http-method %s ",
    "condition %s field %s operate pmatch value %s offset begin depth %s direction %s qualifier http-method %s ",
};

/* The parts of a correlated condition, likewise. */
enum { PART_THRESHOLD = 1, PART_INTERVAL = 2, PART_BLOCK_TIME = 4, PART_CORRELATION = 8, ASSOC_COMBINATIONS = 16 };

/* A predefined signature's condition has at least one part. */
static const char *const PREDEFINED_FORMATS[ASSOC_COMBINATIONS] = {
    nullptr,
    "ips associated pre-defined signature-id %s threshold %s ",
    "ips associated pre-defined signature-id %s interval %s ",
    "ips associated pre-defined signature-id %s threshold %s interval %s ",
    "ips associated pre-defined signature-id %s block-time %s ",
    "ips associated pre-defined signature-id %s threshold %s block-time %s ",
    "ips associated pre-defined signature-id %s interval %s block-time %s ",
    "ips associated pre-defined signature-id %s threshold %s interval %s block-time %s ",
    "ips associated pre-defined signature-id %s correlateby %s ",
    "ips associated pre-defined signature-id %s threshold %s correlateby %s ",
    "ips associated pre-defined signature-id %s interval %s correlateby %s ",
    "ips associated pre-defined signature-id %s threshold %s interval %s correlateby %s ",
    "ips associated pre-defined signature-id %s block-time %s correlateby %s ",
    "ips associated pre-defined signature-id %s threshold %s block-time %s correlateby %s ",
    "ips associated pre-defined signature-id %s interval %s block-time %s correlateby %s ",
    "ips associated pre-defined signature-id %s threshold %s interval %s block-time %s correlateby %s ",
};

/* With the threshold as its only part the line ends without a blank, unlike all others. */
static const char *const USER_DEFINED_FORMATS[ASSOC_COMBINATIONS] = {
    "condition associated signature-id %s ",
    "condition associated signature-id %s threshold %s",
    "condition associated signature-id %s interval %s ",
    "condition associated signature-id %s threshold %s interval %s ",
    "condition associated signature-id %s block-time %s ",
    "condition associated signature-id %s threshold %s block-time %s ",
    "condition associated signature-id %s interval %s block-time %s ",
    "condition associated signature-id %s threshold %s interval %s block-time %s ",
    "condition associated signature-id %s correlateby %s ",
    "condition associated signature-id %s threshold %s correlateby %s ",
    "condition associated signature-id %s interval %s correlateby %s ",
    "condition associated signature-id %s threshold %s interval %s correlateby %s ",
    "condition associated signature-id %s block-time %s correlateby %s ",
    "condition associated signature-id %s threshold %s block-time %s correlateby %s ",
    "condition associated signature-id %s interval %s block-time %s correlateby %s ",
    "condition associated signature-id %s threshold %s interval %s block-time %s correlateby %s ",
};

static const int PARTS_MAX = 8;

/* What a line is filled with, in the order of its format. Places that a format does not use stay empty. */
typedef struct {
    const char *apcTexts[PARTS_MAX];
    int iCount;
    int iCombination;
} LINE_PARTS;

static void part_always(LINE_PARTS *pstParts, const char *pcText)
{
    pstParts->apcTexts[pstParts->iCount++] = pcText;
}

static void part_optional(LINE_PARTS *pstParts, const char *pcText, int iPart)
{
    if (pcText[0] == '\0')
        return;
    part_always(pstParts, pcText);
    pstParts->iCombination |= iPart;
}

static void line_format(char (&acLine)[LEN_LINE], const char *pcFormat, const LINE_PARTS *pstParts)
{
    const char *const *ppcTexts = pstParts->apcTexts;

    IPS_FORMAT(acLine, pcFormat, ppcTexts[0], ppcTexts[1], ppcTexts[2], ppcTexts[3], ppcTexts[4], ppcTexts[5],
               ppcTexts[6], ppcTexts[7]);
}

/* View names are longer here than in the handlers: 255 characters before they are cut. */
static void rule_line_cache(const char *pcVsys, const char *pcSignatureId, const char *pcRule, const char *pcLine)
{
    char acView[LEN_CONDITION_VIEW] = {0};

    IPS_FORMAT(acView, "ips-signature-%s-rule-%s", pcSignatureId, pcRule);
    ips_line_cache(pcVsys, acView, IPS_VIEW_TYPE_RULE, pcLine);
}

/* The command keyword of an operator. A prefix match keeps its own word, which tells it from a pattern match; null for
 * an operator that the device does not have. */
static const char *operator_keyword(const char *pcOperator)
{
    static const struct {
        const char *pcOperator;
        const char *pcKeyword;
    } astKeywords[] = {
        {"pattern-match", "pmatch"}, {"equal", "equal"},       {"greater-than", "gthan"},
        {"less-than", "lthan"},      {"not-equal", "noequal"}, {"prefix-match", "prefix-match"},
    };

    for (const auto &stKeyword : astKeywords) {
        if (strcmp(pcOperator, stKeyword.pcOperator) == 0)
            return stKeyword.pcKeyword;
    }
    return nullptr;
}

/* Empties a qualifier that the edit takes away. One that takes no part in the edit at all reports every bit, those of a
 * rolled-back addition among them, and is left out as well. */
static void qualifier_drop_gone(API_ENV_S *env, const char *pcLeaf, char (&acValue)[IPS_LEN_VALUE])
{
    if (ips_op_is_undo(api_find_parent_brother_operation(env, 1, pcLeaf)))
        acValue[0] = '\0';
}

/* The device takes a value that holds white space or a '?' in double quotes only. */
static void value_quote(const char (&acValue)[LEN_CONDITION_VALUE], char (&acWord)[LEN_CONDITION_VALUE])
{
    if (ips_contained_spaces_or_question_marks(acValue) == 0) {
        IPS_FORMAT(acWord, "%s", acValue);
        return;
    }
    IPS_FORMAT(acWord, "\"%s\"", acValue);
    ips_debug_line("[IPS]INFO: '?' or space is in the value.\r\n\r");
}

/* The four leaves that both kinds of correlated condition have. */
typedef struct {
    char acThreshold[LEN_NUMBER];
    char acInterval[LEN_NUMBER];
    char acBlockTime[LEN_NUMBER];
    char acCorrelation[IPS_LEN_VALUE];
} ASSOC_VALUES;

static void assoc_parts_add(API_ENV_S *env, ASSOC_VALUES *pstValues, LINE_PARTS *pstParts)
{
    ips_sibling_get(env, "threshold", pstValues->acThreshold);
    ips_sibling_get(env, "interval", pstValues->acInterval);
    ips_sibling_get(env, "block-time", pstValues->acBlockTime);
    ips_sibling_get(env, "correlation", pstValues->acCorrelation);
    part_optional(pstParts, pstValues->acThreshold, PART_THRESHOLD);
    part_optional(pstParts, pstValues->acInterval, PART_INTERVAL);
    part_optional(pstParts, pstValues->acBlockTime, PART_BLOCK_TIME);
    part_optional(pstParts, pstValues->acCorrelation, PART_CORRELATION);
}

extern "C" {

int ips_cmd_zell_signature_rule_basic_condition_operation(API_ENV_S *env, char *pcVsysName, char *pcSignatureID,
                                                          char *pcRuleName)
{
    char acId[IPS_LEN_VALUE] = {0};
    char acFieldName[IPS_LEN_VALUE] = {0};
    char acOperator[IPS_LEN_VALUE] = {0};
    char acValue[LEN_CONDITION_VALUE] = {0};
    char acWord[LEN_CONDITION_VALUE] = {0};
    char acOffset[IPS_LEN_VALUE] = {0};
    char acDepth[IPS_LEN_VALUE] = {0};
    char acDirection[IPS_LEN_VALUE] = {0};
    char acMethod[IPS_LEN_VALUE] = {0};
    char acCmdMes[LEN_LINE] = {0};
    LINE_PARTS stParts = {};

    ips_sibling_get(env, "id", acId);
    ips_sibling_get(env, "field-name", acFieldName);
    ips_sibling_get(env, "operator", acOperator);
    ips_sibling_get(env, "value", acValue);
    ips_sibling_get(env, "offset", acOffset);
    ips_sibling_get(env, "depth", acDepth);
    ips_sibling_get(env, "direction", acDirection);
    ips_sibling_get(env, "qualifier-http-method", acMethod);
    qualifier_drop_gone(env, "offset", acOffset);
    qualifier_drop_gone(env, "depth", acDepth);
    qualifier_drop_gone(env, "direction", acDirection);
    qualifier_drop_gone(env, "qualifier-http-method", acMethod);
    if (acId[0] == '\0' || acFieldName[0] == '\0' || acValue[0] == '\0')
        return ips_error(env, NC_ERR_BAD_ELEM, "The node is NULL.");
    const char *pcKeyword = operator_keyword(acOperator);
    if (pcKeyword == nullptr)
        return ips_error(env, NC_ERR_BAD_ELEM, "Failde to check operation node information.");

    value_quote(acValue, acWord);
    const bool bPrefix = strcmp(pcKeyword, "prefix-match") == 0 && acOffset[0] == '\0';
    part_always(&stParts, acId);
    part_always(&stParts, acFieldName);
    if (!bPrefix)
        part_always(&stParts, pcKeyword);
    part_always(&stParts, acWord);
    part_optional(&stParts, acOffset, PART_OFFSET);
    part_optional(&stParts, acDepth, PART_DEPTH);
    part_optional(&stParts, acDirection, PART_DIRECTION);
    part_optional(&stParts, acMethod, PART_METHOD);

    line_format(acCmdMes, bPrefix ? PREFIX_FORMATS[stParts.iCombination / 2] : BASIC_FORMATS[stParts.iCombination],
                &stParts);
    rule_line_cache(pcVsysName, pcSignatureID, pcRuleName, acCmdMes);
    return 0;
}

int ips_cmd_zell_preassoc_signature_condition_operation(API_ENV_S *env)
{
    char acSignatureId[LEN_NUMBER] = {0};
    char acCmdMes[LEN_LINE] = {0};
    ASSOC_VALUES stValues = {};
    LINE_PARTS stParts = {};

    if (api_find_parent_key_node_content(env, 2, "id", acSignatureId, sizeof(acSignatureId)) != 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error signature-id node information.");
    if (acSignatureId[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The signature id node is NULL.");
    if (ips_string_is_valid(acSignatureId) == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid signature id, because of spaces.");

    part_always(&stParts, acSignatureId);
    assoc_parts_add(env, &stValues, &stParts);
    if (stParts.iCombination == 0)
        return ips_error(env, NC_ERR_INVALID_VALUE, "The threshold/interval/block-time/correlation node all are NULL.");

    line_format(acCmdMes, PREDEFINED_FORMATS[stParts.iCombination], &stParts);
    ips_line_cache(nullptr, IPS_VIEW_SYSTEM, nullptr, acCmdMes);
    return 0;
}

int ips_cmd_zell_udassoc_signature_condition_operation(API_ENV_S *env, char *pcVsysName, char *pcSignatureID,
                                                       char *pcRuleName)
{
    char acSignatureId[LEN_NUMBER] = {0};
    char acCmdMes[LEN_LINE] = {0};
    ASSOC_VALUES stValues = {};
    LINE_PARTS stParts = {};

    if (!ips_sibling_get(env, "signature-id", acSignatureId))
        return ips_error(env, NC_ERR_MISSING_ELEM, "Get error associated-condition/signature-id node information.");
    if (acSignatureId[0] == '\0')
        return ips_error(env, NC_ERR_MISSING_ELEM, "The signature associated-condition/id node is NULL.");
    if (ips_string_is_valid(acSignatureId) == 0)
        return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid signature associated-condition/id, because of spaces.");

    part_always(&stParts, acSignatureId);
    assoc_parts_add(env, &stValues, &stParts);
    line_format(acCmdMes, USER_DEFINED_FORMATS[stParts.iCombination], &stParts);
    rule_line_cache(pcVsysName, pcSignatureID, pcRuleName, acCmdMes);
    return 0;
}
}
