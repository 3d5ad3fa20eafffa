// Operation bits as text.
#include "server/operation_names.h"

#include <gtest/gtest.h>

#include <string>

#include "transapi/edit_operation.h"

namespace qnips
{
namespace
{

struct Named {
    unsigned bits;
    const char* text;
};

TEST(OperationNames, NameEachBitOnce)
{
    static constexpr Named cases[] = {
        {XMLDIFF_NONE, "NONE"},
        {XMLDIFF_ADD, "ADD"},
        {XMLDIFF_REM, "REM"},
        {XMLDIFF_MOD, "MOD"},
        {XMLDIFF_CHAIN, "CHAIN"},
        {XMLDIFF_SIBLING, "SIBLING"},
        {XMLDIFF_REORDER, "REORDER"},
        {XMLDIFF_CFGR, "CFGR"},
        {XMLDIFF_ROLLBACK, "ROLLBACK"},
        {64, "64"},
        {8192 | 64, "8256"},
    };
    for (const Named& test : cases)
        EXPECT_EQ(operation_names(test.bits), test.text) << test.bits;
}

TEST(OperationNames, JoinSeveralBitsWithTheOwnChangeOfTheNodeFirst)
{
    static constexpr Named cases[] = {
        {XMLDIFF_SIBLING | XMLDIFF_CHAIN, "SIBLING|CHAIN"},
        {XMLDIFF_CHAIN | XMLDIFF_REORDER, "REORDER|CHAIN"},
        {XMLDIFF_ADD | XMLDIFF_CFGR, "ADD|CFGR"},
        {XMLDIFF_ROLLBACK | XMLDIFF_REM, "REM|ROLLBACK"},
        {XMLDIFF_ADD | 64, "ADD|64"},
        {XMLDIFF_ADD | XMLDIFF_REM | XMLDIFF_MOD | XMLDIFF_CHAIN | XMLDIFF_SIBLING | XMLDIFF_REORDER | XMLDIFF_CFGR |
             XMLDIFF_ROLLBACK,
         "ADD|REM|MOD|SIBLING|REORDER|CHAIN|CFGR|ROLLBACK"},
    };
    for (const Named& test : cases)
        EXPECT_EQ(operation_names(test.bits), test.text) << test.bits;
}

// What a service answers for a node that does not exist: whatever it reads like, it is no plain "NONE".
TEST(OperationNames, AllBitsAreNotTakenForNone)
{
    const std::string text = operation_names(static_cast<unsigned>(XMLDIFF_ERR));
    EXPECT_TRUE(text.starts_with("ADD|REM|MOD|SIBLING|REORDER|CHAIN|CFGR|ROLLBACK|")) << text;
}

} // namespace
} // namespace qnips
