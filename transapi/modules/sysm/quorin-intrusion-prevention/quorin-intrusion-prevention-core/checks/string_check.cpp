/* Character-level checks of leaf texts and the normalisers of texts that go into command lines. */
#include "quorin-intrusion-prevention-core/checks/string_check.h"

#include <string.h>

#include "quorin-intrusion-prevention-core/checks/value_check.h"
#include "quorin-intrusion-prevention-core/report.h"

/* The normalisers work in 128 bytes and write at most 127 of them. */
static const int LEN_TRIM = 128;

/* The POSIX locale's class, whatever locale the server has set. */
static bool is_space(char cByte)
{
    return cByte == ' ' || (cByte >= '\t' && cByte <= '\r');
}

extern "C" {

unsigned int ips_compare_string_is_not_number(const char *src)
{
    if (src == nullptr)
        return 1;
    for (uint32_t uiPos = 0; src[uiPos] != '\0'; uiPos++) {
        if (src[uiPos] < '0' || src[uiPos] > '9')
            return 1;
    }
    return 0;
}

unsigned int ips_string_is_valid(const char *src)
{
    if (src == nullptr || src[0] == '\0')
        return 0;
    if (is_space(src[0]) || is_space(src[strlen(src) - 1]))
        return 0;
    if (xmlStrchr(reinterpret_cast<const xmlChar *>(src), '?') != nullptr) {
        ips_debug_line("[IPS]ERROR: '?' is in the current value.\r\n\r");
        return 0;
    }
    return 1;
}

unsigned int ips_contained_spaces_marks(const char *src)
{
    if (src == nullptr)
        return 0;
    for (uint32_t uiPos = 0; src[uiPos] != '\0'; uiPos++) {
        if (is_space(src[uiPos]))
            return 1;
    }
    return 0;
}

unsigned int ips_contained_spaces_marks_temp(char *src)
{
    return ips_contained_spaces_marks(src);
}

unsigned int ips_contained_spaces_or_question_marks(const char *src)
{
    if (src == nullptr)
        return 0;
    for (uint32_t uiPos = 0; src[uiPos] != '\0'; uiPos++) {
        if (is_space(src[uiPos]) || src[uiPos] == '?')
            return 1;
    }
    return 0;
}

char *ips_remove_head_and_tail_all_spaces(const char *src, char *dst, int dst_len)
{
    if (src == nullptr || dst == nullptr)
        return nullptr;

    size_t uiStart = 0;
    while (is_space(src[uiStart]))
        uiStart++;

    size_t uiEnd = strlen(src);
    if (uiStart == uiEnd)
        return nullptr;
    while (is_space(src[uiEnd - 1]))
        uiEnd--;

    const size_t uiLength = uiEnd - uiStart;
    if (dst_len <= 0 || uiLength >= static_cast<size_t>(dst_len))
        return nullptr;

    memcpy_s(dst, static_cast<size_t>(dst_len), src + uiStart, uiLength);
    dst[uiLength] = '\0';
    return dst;
}

void ips_remove_head_and_tail_spaces_check(const char *src, char *dst, int dst_len)
{
    char acTrimmed[LEN_TRIM] = {0};

    if (ips_remove_head_and_tail_all_spaces(src, acTrimmed, LEN_TRIM) != nullptr)
        snprintf_s(dst, static_cast<size_t>(dst_len), LEN_TRIM - 1, "\"%s\"", acTrimmed);
}

void ips_remove_head_and_tail_spaces(const char *src, char *dst, int dst_len)
{
    char acTrimmed[LEN_TRIM] = {0};

    if (ips_contained_spaces_marks(src) == 0) {
        snprintf_s(dst, static_cast<size_t>(dst_len), LEN_TRIM - 1, "%s", src);
        return;
    }
    if (ips_remove_head_and_tail_all_spaces(src, acTrimmed, LEN_TRIM) != nullptr)
        snprintf_s(dst, static_cast<size_t>(dst_len), LEN_TRIM - 1, "%s", acTrimmed);
}

void ips_parse_ip(const char *ip_in, char *ip_out)
{
    for (size_t uiPos = 0; ip_in[uiPos] != '\0'; uiPos++)
        ip_out[uiPos] = ip_in[uiPos] == '/' ? ' ' : ip_in[uiPos];
}

int ips_signature_id_check(const char *src)
{
    if (ips_number(src) - 1 < IPS_USER_SIGNATURE_ID_MAX)
        return 1;
    ips_debug_line("[IPS]ERROR: The signature id is wrong.\r\n\r");
    return 0;
}

char *ips_strchr(char *cStr, int iCh)
{
    const unsigned char ucWanted = static_cast<unsigned char>(iCh);

    for (;; cStr++) {
        if (static_cast<unsigned char>(*cStr) == ucWanted)
            return cStr;
        if (*cStr == '\0')
            return nullptr;
    }
}

int Check_CurValue_String_Is_Valid(API_ENV_S *env, const char *pcValue)
{
    if (pcValue == nullptr)
        return ips_error(env, NC_ERR_MISSING_ELEM, "The current value is NULL.");
    if (ips_string_is_valid(pcValue) == 1)
        return 0;
    return ips_error(env, NC_ERR_MISSING_ELEM, "Invalid value, because of spaces or '?'.");
}
}
