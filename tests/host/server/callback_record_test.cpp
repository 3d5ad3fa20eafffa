// What a callback's record says about it, and the error-tags of error numbers.
#include "server/callback_record.h"

#include <gtest/gtest.h>

#include <array>
#include <string_view>
#include <utility>

namespace qnips
{
namespace
{

// The tags of RFC 6241, appendix A. Numbers of which the RFC knows nothing have the tag for everything else.
TEST(ErrorTag, EveryErrorNumberHasATagOfTheRfc)
{
    static constexpr std::array<std::pair<NC_ERR, std::string_view>, 25> tags = {{
        {NC_ERR_EMPTY, "operation-failed"},
        {NC_ERR_OP_FAILED, "operation-failed"},
        {NC_ERR_IN_USE, "in-use"},
        {NC_ERR_INVALID_VALUE, "invalid-value"},
        {NC_ERR_TOO_BIG, "too-big"},
        {NC_ERR_MISSING_ATTR, "missing-attribute"},
        {NC_ERR_BAD_ATTR, "bad-attribute"},
        {NC_ERR_UNKNOWN_ATTR, "unknown-attribute"},
        {NC_ERR_MISSING_ELEM, "missing-element"},
        {NC_ERR_BAD_ELEM, "bad-element"},
        {NC_ERR_UNKNOWN_ELEM, "unknown-element"},
        {NC_ERR_UNKNOWN_NS, "unknown-namespace"},
        {NC_ERR_ACCESS_DENIED, "access-denied"},
        {NC_ERR_LOCK_DENIED, "lock-denied"},
        {NC_ERR_RES_DENIED, "resource-denied"},
        {NC_ERR_ROLLBACK_FAILED, "rollback-failed"},
        {NC_ERR_DATA_EXISTS, "data-exists"},
        {NC_ERR_DATA_MISSING, "data-missing"},
        {NC_ERR_OP_NOT_SUPPORTED, "operation-not-supported"},
        {NC_ERR_MALFORMED_MSG, "malformed-message"},
        {NC_ERR_BACKUP_DEVICE, "operation-failed"},
        {NC_ERR_SYSTEM_BUSY, "operation-failed"},
        {NC_ERR_PARSE_COMMAND, "operation-failed"},
        {NC_ERR_SET_VIEW, "operation-failed"},
        {NC_ERR_COMMAND_EXECUTE, "operation-failed"},
    }};
    int number = 0;
    for (const auto& [code, tag] : tags) {
        EXPECT_EQ(static_cast<int>(code), number++) << "one case for each number";
        EXPECT_EQ(error_tag(code), tag) << code;
    }
}

// A module is free to pass any number on.
TEST(ErrorTag, ANumberOutsideTheContractIsAFailedOperation)
{
    EXPECT_EQ(error_tag(static_cast<NC_ERR>(25)), "operation-failed");
    EXPECT_EQ(error_tag(static_cast<NC_ERR>(31)), "operation-failed");
}

TEST(CallbackRecord, WarnsOnlyWhenItSucceededWithAnError)
{
    const ReportedError error{NC_ERR_IN_USE, "in use"};
    CallbackRecord record;
    EXPECT_FALSE(record.has_warning());
    record.errors.push_back(error);
    EXPECT_TRUE(record.has_warning());
    record.result = 1;
    EXPECT_FALSE(record.has_warning()) << "a failure, not a warning";
    record.errors.clear();
    EXPECT_FALSE(record.has_warning());
}

} // namespace
} // namespace qnips
