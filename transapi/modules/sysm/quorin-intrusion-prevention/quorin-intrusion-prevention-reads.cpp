/* What the server reads through the module: configuration and state, and a profile's first signature set. Each is a
 * query to the command platform, whose reply belongs to the module and is released before it returns. */
#include "quorin-intrusion-prevention-reads.h"

#include <stdlib.h>
#include <string.h>

#include <libxml/parser.h>

#include "quorin-intrusion-prevention-core/checks/string_check.h"
#include "quorin-intrusion-prevention-core/report.h"

/* Small models without the IPS function. */
static const char *const g_apcModelsWithoutIps[] = {
    "LX-M01", "LX-M02", "LX-M03",  "LX-M04", "LX-M05",  "LX-M06", "LX-M07",  "LX-M08",
    "LX-M09", "LX-M10", "LX-M10W", "LX-M11", "LX-M11W", "LX-M12", "LX-M12W",
};

static const char EMPTY_CONFIG[] = "<ips-config xmlns=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\"/>";
static_assert(sizeof(EMPTY_CONFIG) == 80);

static const int XML_OPTIONS = XML_PARSE_NOBLANKS | XML_PARSE_NSCLEAN;
static_assert(XML_OPTIONS == 0x2100);

/* Under this name the server accounts for released memory. */
static char g_acSourceFile[] = "quorin-intrusion-prevention-reads.cpp";

static void query_head(msg_dp_zell_head_t *pstHead, DPZELL_MSG_TYPE enType)
{
    memset_s(pstHead, sizeof(*pstHead), 0, sizeof(*pstHead));
    pstHead->msg_type = enType;
    pstHead->model_type = API_MODULE_QN_IPS;
}

static void reply_release(msg_to_dp_t **ppstReply, unsigned long long ullLine)
{
    if (*ppstReply != nullptr)
        SOS_Free(reinterpret_cast<void **>(ppstReply), g_acSourceFile, ullLine);
}

extern "C" {

int IPS_FuncEnabled(void)
{
    if (g_product_name_for_dp == nullptr) {
        ips_trace_print("[IPS]Info:g_product_name_for_dp is NULL.\r\n\r\n");
        return 1;
    }
    for (const char *pcModel : g_apcModelsWithoutIps) {
        if (strcmp(g_product_name_for_dp, pcModel) == 0) {
            ips_trace_print("[IPS]Info:Not support IPS function.\r\n\r\n");
            return 0;
        }
    }
    return 1;
}

xmlDocPtr get_state_data(xmlDocPtr, xmlDocPtr, struct nc_err **err)
{
    msg_dp_zell_head_t stHead;
    msg_to_dp_t *pstReply = nullptr;

    query_head(&stHead, API_DP2ZELL_NC_STATE);
    if (IPS_FuncEnabled() == 0) {
        ips_trace_print("[IPS]Success:Not support IPS. Current Function is %s , current line is %d.\r\n\r\n", __func__,
                        __LINE__);
        return xmlNewDoc(reinterpret_cast<const xmlChar *>("1.0"));
    }

    const int iResult = transapi_comm_with_zell(stHead, 0, &pstReply, err, nullptr);
    if (iResult != 0 || pstReply == nullptr || pstReply->msg_length == 0) {
        reply_release(&pstReply, __LINE__);
        return nullptr;
    }

    const xmlDocPtr pstState =
        xmlReadMemory(pstReply->data, static_cast<int>(pstReply->msg_length), nullptr, nullptr, XML_OPTIONS);
    reply_release(&pstReply, __LINE__);
    return pstState;
}

/* A device without the function has an empty configuration, which is no failure. */
static char *empty_config(void)
{
    char *pcConfig = static_cast<char *>(malloc(sizeof(EMPTY_CONFIG)));

    if (pcConfig != nullptr)
        strncpy_s(pcConfig, sizeof(EMPTY_CONFIG), EMPTY_CONFIG, sizeof(EMPTY_CONFIG) - 1);
    return pcConfig;
}

char *perform_getconfig(void *, NC_DATASTORE, struct nc_err **error)
{
    msg_dp_zell_head_t stHead;
    msg_to_dp_t *pstReply = nullptr;

    query_head(&stHead, API_DP2ZELL_GET_CONFIG);
    if (IPS_FuncEnabled() == 0) {
        ips_trace_print("[IPS]Success:Not Support IPS. Current Function is %s , current line is %d.\r\n\r\n", __func__,
                        __LINE__);
        return empty_config();
    }

    const int iResult = transapi_comm_with_zell(stHead, 0, &pstReply, error, nullptr);
    if (iResult != 0 || pstReply == nullptr) {
        reply_release(&pstReply, __LINE__);
        return nullptr;
    }
    if (pstReply->msg_length == 0) {
        reply_release(&pstReply, __LINE__);
        return static_cast<char *>(calloc(1, 1));
    }

    /* A payload without its terminator does not fit and leaves the text empty. */
    char *pcConfig = static_cast<char *>(malloc(pstReply->msg_length));
    if (pcConfig != nullptr)
        strncpy_s(pcConfig, pstReply->msg_length, pstReply->data, pstReply->msg_length);
    reply_release(&pstReply, __LINE__);
    return pcConfig;
}

int perform_copyconfig(void *, NC_DATASTORE, NC_DATASTORE, char *, struct nc_err **)
{
    return 0;
}

char *IPS_GetFirstSigSet(const char *vsys, const char *profile)
{
    IPS_ApiAnonym_ST stQuery;
    msg_dp_zell_head_t stHead;
    msg_to_dp_t *pstReply = nullptr;
    char acName[IPS_LEN_FIRST_SIGSET] = {0};

    memset_s(&stQuery, sizeof(stQuery), 0, sizeof(stQuery));
    memset_s(g_acIPSFirstSigSetName, sizeof(g_acIPSFirstSigSetName), 0, sizeof(g_acIPSFirstSigSetName));
    stQuery.uiMsgTtype = IPS_GET_FIRST_SIGSET_NAME;
    snprintf_s(stQuery.acVsysName, sizeof(stQuery.acVsysName), sizeof(stQuery.acVsysName) - 1, "%s", vsys);
    snprintf_s(stQuery.acProfileName, sizeof(stQuery.acProfileName), sizeof(stQuery.acProfileName) - 1, "%s", profile);
    query_head(&stHead, API_DP2ZELL_ANONYM_MSG);
    stHead.msg_check = sizeof(stQuery);

    const int iResult = transapi_comm_with_zell(stHead, 0, &pstReply, nullptr, &stQuery);
    if (iResult != 0 || pstReply == nullptr || pstReply->msg_length == 0) {
        reply_release(&pstReply, __LINE__);
        return nullptr;
    }

    /* Neither more than the reply holds, terminated or not, nor more than fits. */
    size_t uiCount = sizeof(acName) - 1;
    if (pstReply->msg_length < uiCount)
        uiCount = pstReply->msg_length;
    strncpy_s(acName, sizeof(acName), pstReply->data, uiCount);
    snprintf_s(g_acIPSFirstSigSetName, sizeof(g_acIPSFirstSigSetName), sizeof(g_acIPSFirstSigSetName) - 1,
               ips_contained_spaces_marks(acName) == 1 ? "\"%s\"" : "%s", acName);
    reply_release(&pstReply, __LINE__);
    return g_acIPSFirstSigSetName;
}
}
