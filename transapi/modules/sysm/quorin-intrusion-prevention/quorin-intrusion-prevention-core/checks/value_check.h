/* Numbers and words in leaf texts. Not exported. */
#ifndef QN_IPS_VALUE_CHECK_H
#define QN_IPS_VALUE_CHECK_H

#include <initializer_list>

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include "quorin-intrusion-prevention-core/checks/string_check.h"

/* The ids of signatures: user-defined ones first, then the predefined ones. */
static const uint32_t IPS_USER_SIGNATURE_ID_MAX = 1024;
static const uint32_t IPS_PREDEFINED_SIGNATURE_ID_MIN = 1025;
static const uint32_t IPS_SIGNATURE_ID_MAX = 16777216;

/* What a correlated condition counts. */
static const uint32_t IPS_THRESHOLD_MAX = 500;
static const uint32_t IPS_INTERVAL_MAX = 7200;
static const uint32_t IPS_BLOCK_TIME_MAX = 1000;

/* The last id of a rule's basic condition; the first is 0. */
static const uint32_t IPS_CONDITION_ID_MAX = 4;

/* The last DNS request type; the first is 0. */
static const uint32_t IPS_DNS_REQUEST_TYPE_MAX = 65535;

/* The low 32 bits of a decimal number. */
static inline uint32_t ips_number(const char *pcText)
{
    return static_cast<uint32_t>(strtol(pcText, nullptr, 10));
}

/* Digits only, and a number from `uiMin` to `uiMax`. An empty text counts as 0. */
static inline bool ips_number_is_within(const char *pcText, uint32_t uiMin, uint32_t uiMax)
{
    return ips_compare_string_is_not_number(pcText) == 0 && ips_number(pcText) - uiMin <= uiMax - uiMin;
}

/* Exactly one of the words, capitals counting. */
static inline bool ips_is_one_of(const char *pcValue, std::initializer_list<const char *> words)
{
    for (const char *pcWord : words) {
        if (strcmp(pcValue, pcWord) == 0)
            return true;
    }
    return false;
}

/* The same for words in a record: the list ends with a null. */
static inline bool ips_is_listed(const char *pcValue, const char *const *ppcWords)
{
    for (; *ppcWords != nullptr; ppcWords++) {
        if (strcmp(pcValue, *ppcWords) == 0)
            return true;
    }
    return false;
}

/* The two actions of an exception signature that block an address, for a time. */
static inline bool ips_action_has_timeout(const char *pcAction)
{
    return ips_is_one_of(pcAction, {"block-source-ip", "block-destination-ip"});
}

static inline bool ips_is_correlation(const char *pcValue)
{
    return ips_is_one_of(pcValue, {"source", "destination", "source-destination"});
}

/* What the device's address blocking may be told to do. */
static inline bool ips_is_interworking(const char *pcValue)
{
    return ips_is_one_of(pcValue, {"block-source-ip", "block-destination-ip", "block-both"});
}

#endif
