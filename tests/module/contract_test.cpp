// The server contract's sizes, offsets and numbers, as compiled by a C compiler.
#include <gtest/gtest.h>

#include <span>

#include "module/contract_c_test.h"
#include "transapi/transapi.h"

namespace
{

TEST(Contract, RecordsInCHaveThePromisedSizesAndOffsets)
{
    std::size_t count = 0;
    const contract_size* sizes = contract_sizes(&count);
    ASSERT_GT(count, 0U);
    for (const contract_size& size : std::span(sizes, count))
        EXPECT_EQ(size.actual, size.promised) << size.what;
}

TEST(Contract, EnumerationsInCHaveThePromisedNumbers)
{
    std::size_t count = 0;
    const contract_value* values = contract_values(&count);
    ASSERT_GT(count, 0U);
    for (const contract_value& value : std::span(values, count))
        EXPECT_EQ(value.actual, value.promised) << value.what;
}

TEST(Contract, CallbackWrittenInCIsCalledThroughARow)
{
    const clbk row{nullptr, contract_callback_in_c, 0, nullptr};
    EXPECT_EQ(row.func(nullptr, XMLDIFF_MOD, nullptr, nullptr), 4);
}

TEST(Contract, RecordsInCAndCxxHaveTheSameSizes)
{
    EXPECT_EQ(sizeof(API_ENV_S), 64U);
    EXPECT_EQ(sizeof(msg_dp_zell_head_t), 492U);
    EXPECT_EQ(sizeof(clbk), 32U);
    EXPECT_EQ(sizeof(ncds_custom_funcs), 88U);
}

} // namespace
