// Addresses of a rule: what is an address, what is a range, and how IPv4 and IPv6 are told apart.
#include "quorin-intrusion-prevention-core/checks/address_check.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "support/captured_output.h"
#include "support/debug_switches.h"

namespace
{

using namespace qnips::test;

constexpr char ipv4 = 0;
constexpr char ipv6 = 1;

const std::string no_text = "[IPS]ERROR: The ip string is NULL.\r\n\r\n";
const std::string no_ipv4 = "[IPS]ERROR: The Ipv4 number info is wrong.\r\n\r\n";
const std::string no_ipv6 = "[IPS]ERROR: The Ipv6 number info is wrong.\r\n\r\n";
const std::string special_ipv6 = "[IPS]ERROR: The Ipv6 info is wrong.\r\n\r\n";
const std::string bad_ipv4_mask =
    "[IPS]ERROR: Failed to fill the iMaskLen of ipv4 address, the iMaskLen is illegal.\r\n\r\n";
const std::string bad_ipv6_mask =
    "[IPS]ERROR: Failed to fill the iMaskLen of ipv6 address, the iMaskLen is illegal.\r\n\r\n";

using AddressCheck = int (*)(char* text, char is_ipv6);

// The texts of one outcome: valid ones when `output` is empty.
struct AddressCase {
    const char* name;
    char family;
    std::string output;
    std::vector<std::string> texts;

    friend void PrintTo(const AddressCase& test, std::ostream* out) { *out << test.name; }
};

std::string case_name(const testing::TestParamInfo<AddressCase>& test)
{
    return test.param.name;
}

// The text is cut at its first slash, whether it is valid or not.
void expect_judgement(AddressCheck check, const AddressCase& test)
{
    for (const std::string& text : test.texts) {
        for (const DebugSetting setting : all_debug_settings) {
            SCOPED_TRACE('"' + text + '"');
            const DebugSwitches switches(setting);
            std::string copy = text;
            int result = -1;
            const std::string output = captured_output([&] { result = check(copy.data(), test.family); });
            EXPECT_EQ(result, test.output.empty() ? 0 : 1);
            EXPECT_EQ(output, setting.messages ? test.output : "");
            EXPECT_STREQ(copy.c_str(), text.substr(0, text.find('/')).c_str());
        }
    }
}

// What both checks judge alike: the address without a mask.
const std::vector<AddressCase>& bare_addresses()
{
    static const std::vector<AddressCase> cases = {
        {"Ipv4", ipv4, "", {"192.168.1.1", "0.0.0.0", "255.255.255.255", "127.0.0.1", "224.0.0.1"}},
        {"NoIpv4",
         ipv4,
         no_ipv4,
         {"", "192.168.1", "192.168.1.256", "192.168.1.1.1", " 192.168.1.1", "192.168.1.1 ", "192.168.1.-1", "host",
          "::1", "2001:db8::1", "/32", "/", "192.168.1/32", "::1/128", "host/0"}},
        {"Ipv6",
         ipv6,
         "",
         {"2001:db8::1", "::1", "::2", "fe80::1", "FE80::A", "::ffff:10.0.0.1", "::100:1", "::200:0", "::10:0",
          "::101:0", "::1:100:0", "1::100:0", "ff:0::", "fe00::", "::1:0:0"}},
        {"NoIpv6",
         ipv6,
         no_ipv6,
         {"", ":", ":::", "2001:db8::1::2", "2001:db8::g", "12345::", " ::1", "::1 ", "1:2:3:4:5:6:7", "192.168.1.1",
          "/128", "192.168.1.1/32", "x/0"}},
        {"AllZero", ipv6, special_ipv6, {"::", "0:0:0:0:0:0:0:0", "::0.0.0.0", "::/128", "::/0", "::/129"}},
        {"Multicast", ipv6, special_ipv6, {"ff02::1", "ff00::", "FFFF::1", "ff02::1/128", "ff02::1/0"}},
        // the loopback's last word, read in the order of this machine, stands for another address
        {"LastWordOfOne", ipv6, special_ipv6, {"::100:0", "::0100:0000", "::1.0.0.0", "::100:0/128", "::100:0/0"}},
    };
    return cases;
}

class BareAddress : public testing::TestWithParam<AddressCase>
{
};

TEST_P(BareAddress, IsJudgedByItsFamily)
{
    expect_judgement(ips_signature_rule_ip_type_and_mask_check, GetParam());
}

TEST_P(BareAddress, IsJudgedTheSameAsAnEndOfARange)
{
    expect_judgement(ips_signature_rule_ip_range_type_and_mask_check, GetParam());
}

INSTANTIATE_TEST_SUITE_P(All, BareAddress, testing::ValuesIn(bare_addresses()), case_name);

TEST(AnyAddress, IsIpv6ForTheFlag1Only)
{
    for (const AddressCheck check :
         {ips_signature_rule_ip_type_and_mask_check, ips_signature_rule_ip_range_type_and_mask_check}) {
        for (const char flag : {'\0', '\2', '1', '\x7f'}) {
            std::string four = "10.0.0.1";
            EXPECT_EQ(check(four.data(), flag), 0);
            std::string six = "2001:db8::1";
            EXPECT_EQ(check(six.data(), flag), 1);
        }
    }
}

TEST(AnyAddress, IsRefusedWithoutAText)
{
    for (const AddressCheck check :
         {ips_signature_rule_ip_type_and_mask_check, ips_signature_rule_ip_range_type_and_mask_check}) {
        for (const char family : {ipv4, ipv6}) {
            for (const DebugSetting setting : all_debug_settings) {
                const DebugSwitches switches(setting);
                int result = -1;
                const std::string output = captured_output([&] { result = check(nullptr, family); });
                EXPECT_EQ(result, 1);
                EXPECT_EQ(output, setting.messages ? no_text : "");
            }
        }
    }
}

// ----------------------------------------------------------------------------------------------------- mask lengths --

class SingleAddress : public testing::TestWithParam<AddressCase>
{
};

TEST_P(SingleAddress, MayHaveAMask)
{
    expect_judgement(ips_signature_rule_ip_type_and_mask_check, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Masks, SingleAddress,
    testing::Values(
        AddressCase{"Ipv4",
                    ipv4,
                    "",
                    {"192.168.1.0/24", "10.0.0.0/1", "10.1.1.1/32", "0.0.0.0/8", "10.1.1.1/024", "10.1.1.1/+24",
                     "10.1.1.1/ 24", "10.1.1.1/24x", "10.1.1.1/24/99"}},
        AddressCase{"Ipv4BelowZero", ipv4, "", {"10.1.1.1/-1", "10.1.1.1/-33", "10.1.1.1/-2147483648"}},
        AddressCase{"Ipv4Of32Bits", ipv4, "", {"10.1.1.1/2147483648", "10.1.1.1/4294967295", "10.1.1.1/4294967328"}},
        AddressCase{"Ipv4Wrong",
                    ipv4,
                    bad_ipv4_mask,
                    {"10.1.1.1/0", "10.1.1.1/33", "10.1.1.1/", "10.1.1.1/x", "10.1.1.1/x24", "10.1.1.1/128",
                     "10.1.1.1//24", "10.1.1.1/255.255.255.0", "10.1.1.1/2147483647", "10.1.1.1/4294967296"}},
        AddressCase{"Ipv6",
                    ipv6,
                    "",
                    {"2001:db8::/1", "2001:db8::/32", "2001:db8::/64", "2001:db8::1/128", "::1/128", "::1/0128",
                     "2001:db8::/64/0"}},
        AddressCase{"Ipv6BelowZero", ipv6, "", {"2001:db8::/-1", "2001:db8::/-129"}},
        AddressCase{"Ipv6Wrong",
                    ipv6,
                    bad_ipv6_mask,
                    {"2001:db8::/129", "2001:db8::/0", "2001:db8::/", "2001:db8::/x", "::1/2147483647", "::1//64"}}),
    case_name);

class RangeEnd : public testing::TestWithParam<AddressCase>
{
};

TEST_P(RangeEnd, MayHaveTheMaskOfAHostOnly)
{
    expect_judgement(ips_signature_rule_ip_range_type_and_mask_check, GetParam());
}

INSTANTIATE_TEST_SUITE_P(
    Masks, RangeEnd,
    testing::Values(
        AddressCase{
            "Ipv4", ipv4, "", {"10.1.1.1/32", "10.1.1.1/032", "10.1.1.1/32x", "10.1.1.1/4294967328", "10.1.1.1/32/0"}},
        AddressCase{"Ipv4Wrong",
                    ipv4,
                    bad_ipv4_mask,
                    {"10.1.1.1/24", "10.1.1.1/31", "10.1.1.1/33", "10.1.1.1/0", "10.1.1.1/-32", "10.1.1.1/-1",
                     "10.1.1.1/", "10.1.1.1/x", "10.1.1.1/128"}},
        AddressCase{"Ipv6", ipv6, "", {"2001:db8::1/128", "::1/0128", "::1/128x"}},
        AddressCase{"Ipv6Wrong",
                    ipv6,
                    bad_ipv6_mask,
                    {"2001:db8::1/64", "2001:db8::1/127", "2001:db8::1/129", "2001:db8::1/0", "2001:db8::1/-128",
                     "2001:db8::1/", "::1/32"}}),
    case_name);

TEST(MaskPosition, IsThatOfTheFirstSlashBehindTheFirstCharacter)
{
    struct PositionCase {
        const char* text;
        int position;
    };
    for (const auto& [text, position] : std::vector<PositionCase>{{"", 0},
                                                                  {"/", 0},
                                                                  {"/24", 0},
                                                                  {"//", 0},
                                                                  {"10.1.1.1", 0},
                                                                  {"a/", 1},
                                                                  {"a//", 1},
                                                                  {"10.1.1.1/24", 8},
                                                                  {"10.1.1.1/24/7", 8},
                                                                  {"2001:db8::/64", 10}})
        EXPECT_EQ(get_ips_signature_rule_ip_ipprefix_pos(text), position) << text;
}

// ----------------------------------------------------------------------------------------------------------- ranges --

constexpr char untouched = 7;

const std::string equal_ends = "[IPS]Info: The start-ip and end-ip is equal.\r\n\r\n";
const std::string right_order = "[IPS]Info: The start-ip and end-ip range is right.\r\n\r\n";
const std::string wrong_order = "[IPS]ERROR: The start-ip and end-ip range is wrong.\r\n\r\n";
const std::string two_families = "[IPS]ERROR: The type of start-ip and end-ip is different.\r\n\r\n";
const std::string bad_start = "[IPS]ERROR: The type of start-ip is wrong.\r\n\r\n";
const std::string bad_end = "[IPS]ERROR: The type of end-ip is wrong.\r\n\r\n";
const std::string missing_end = "[IPS]ERROR: The start-ip or end-ip is NULL.\r\n\r\n";

struct RangeCase {
    const char* name;
    std::string start;
    std::string end;
    int result;
    char family; // as the check leaves it
    std::string output;

    friend void PrintTo(const RangeCase& test, std::ostream* out) { *out << test.start << " to " << test.end; }
};

class AddressRange : public testing::TestWithParam<RangeCase>
{
};

TEST_P(AddressRange, IsJudgedByFamilyEndsAndOrder)
{
    const RangeCase& test = GetParam();
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        int result = -1;
        char family = untouched;
        const std::string output = captured_output([&] {
            result =
                ips_signature_rule_ip_compare_startIP_and_endIP_range(test.start.c_str(), test.end.c_str(), &family);
        });
        EXPECT_EQ(result, test.result);
        EXPECT_EQ(family, test.family);
        EXPECT_EQ(output, setting.messages ? test.output : "");
    }
}

std::string range_name(const testing::TestParamInfo<RangeCase>& test)
{
    return test.param.name;
}

// The last octet counts most.
INSTANTIATE_TEST_SUITE_P(
    Ipv4, AddressRange,
    testing::Values(RangeCase{"Equal", "10.0.0.1", "10.0.0.1", 0, ipv4, equal_ends},
                    RangeCase{"InOrder", "10.0.0.1", "10.0.0.254", 0, ipv4, equal_ends},
                    RangeCase{"OutOfOrder", "10.0.0.2", "10.0.0.1", 1, ipv4, wrong_order},
                    RangeCase{"LastOctetAgainstFirst", "10.0.0.2", "11.0.0.1", 1, ipv4, wrong_order},
                    RangeCase{"LastOctetForFirst", "10.0.0.9", "9.0.0.10", 0, ipv4, equal_ends},
                    RangeCase{"ThirdOctetAgainstSecond", "10.1.2.1", "10.2.1.1", 1, ipv4, wrong_order},
                    RangeCase{"ThirdOctetForSecond", "10.2.1.1", "10.1.2.1", 0, ipv4, equal_ends},
                    RangeCase{"SecondOctetForFirst", "10.1.0.0", "9.2.0.0", 0, ipv4, equal_ends},
                    RangeCase{"FirstOctetAlone", "11.0.0.0", "10.0.0.0", 1, ipv4, wrong_order},
                    RangeCase{"WithoutASign", "10.0.0.127", "10.0.0.128", 0, ipv4, equal_ends},
                    RangeCase{"All", "0.0.0.0", "255.255.255.255", 0, ipv4, equal_ends},
                    RangeCase{"HostMasks", "10.0.0.1/32", "10.0.0.2/32", 0, ipv4, equal_ends},
                    RangeCase{"OneHostMask", "10.0.0.1/32", "10.0.0.2", 0, ipv4, equal_ends},
                    RangeCase{"HostMasksOutOfOrder", "10.0.0.2/32", "10.0.0.1/32", 1, ipv4, wrong_order}),
    range_name);

// Four words, the first first, and in each the last of its four bytes counts most.
INSTANTIATE_TEST_SUITE_P(
    Ipv6, AddressRange,
    testing::Values(RangeCase{"Equal", "2001:db8::1", "2001:0db8:0::1", 0, ipv6, equal_ends},
                    RangeCase{"EqualWithMasks", "2001:db8::1/128", "2001:db8::1", 0, ipv6, equal_ends},
                    RangeCase{"InOrder", "2001:db8::1", "2001:db8::2", 0, ipv6, right_order},
                    RangeCase{"OutOfOrder", "2001:db8::2", "2001:db8::1", 1, ipv6, wrong_order},
                    RangeCase{"LastByteAgainstTheOneBefore", "2001:db8::2", "2001:db8::100", 1, ipv6, wrong_order},
                    RangeCase{"LastByteForTheOneBefore", "2001:db8::100", "2001:db8::2", 0, ipv6, right_order},
                    RangeCase{"FirstWordByItsLastByte", "2002:db8::", "2001:db9::", 0, ipv6, right_order},
                    RangeCase{"FirstWordAgainstItsFirstByte", "2001:db9::", "2002:db8::", 1, ipv6, wrong_order},
                    RangeCase{"FirstWordBeforeSecond", "2001:1:0:2::", "2001:2:0:1::", 0, ipv6, right_order},
                    RangeCase{"FirstWordAgainstSecond", "2001:2:0:1::", "2001:1:0:2::", 1, ipv6, wrong_order},
                    RangeCase{"SecondWordBeforeThird", "2001::1:0:2:0:0", "2001::2:0:1:0:0", 0, ipv6, right_order},
                    RangeCase{"SecondWordAgainstLast", "2001:0:0:2::1", "2001:0:0:1::2", 1, ipv6, wrong_order},
                    RangeCase{"ThirdWordBeforeLast", "2001::1:0:2", "2001::2:0:1", 0, ipv6, right_order},
                    RangeCase{"ThirdWordAgainstLast", "2001::2:0:1", "2001::1:0:2", 1, ipv6, wrong_order},
                    RangeCase{"WithoutASign", "2001::7f", "2001::80", 0, ipv6, right_order}),
    range_name);

INSTANTIATE_TEST_SUITE_P(Families, AddressRange,
                         testing::Values(RangeCase{"FourAndSix", "10.0.0.1", "2001:db8::1", 1, untouched, two_families},
                                         RangeCase{"SixAndFour", "2001:db8::1", "10.0.0.1", 1, untouched, two_families},
                                         RangeCase{"BeforeAnyParsing", "no address", ":", 1, untouched, two_families},
                                         RangeCase{"EmptyAndSix", "", "::1", 1, untouched, two_families},
                                         RangeCase{"ColonBehindTheMask", "10.0.0.1/:", "10.0.0.1", 1, untouched,
                                                   two_families}),
                         range_name);

INSTANTIATE_TEST_SUITE_P(
    Ends, AddressRange,
    testing::Values(RangeCase{"EmptyStart", "", "10.0.0.1", 1, ipv4, no_ipv4 + bad_start},
                    RangeCase{"EmptyEnd", "10.0.0.1", "", 1, ipv4, no_ipv4 + bad_end},
                    RangeCase{"Neither", "", "", 1, ipv4, no_ipv4 + bad_start},
                    RangeCase{"MaskOnly", "/32", "/32", 1, ipv4, no_ipv4 + bad_start},
                    RangeCase{"NetworkStart", "10.0.0.0/24", "10.0.0.9", 1, ipv4, bad_ipv4_mask + bad_start},
                    RangeCase{"NetworkEnd", "10.0.0.0", "10.0.0.0/24", 1, ipv4, bad_ipv4_mask + bad_end},
                    RangeCase{"BothBad", "10.0.0", "10.0.0.0/24", 1, ipv4, no_ipv4 + bad_start},
                    RangeCase{"BadEndOfAnOrderedPair", "10.0.0.1", "10.0.0.256", 1, ipv4, no_ipv4 + bad_end},
                    RangeCase{"Ipv6Start", "2001:db8::g", "2001:db8::1", 1, ipv6, no_ipv6 + bad_start},
                    RangeCase{"Ipv6End", "2001:db8::1", ":", 1, ipv6, no_ipv6 + bad_end},
                    RangeCase{"Ipv6Network", "2001:db8::1/64", "2001:db8::1", 1, ipv6, bad_ipv6_mask + bad_start},
                    RangeCase{"AllZeroStart", "::", "2001:db8::1", 1, ipv6, special_ipv6 + bad_start},
                    RangeCase{"MulticastEnd", "2001:db8::1", "ff02::1", 1, ipv6, special_ipv6 + bad_end},
                    RangeCase{"LastWordOfOneEnd", "2001:db8::1", "::100:0", 1, ipv6, special_ipv6 + bad_end}),
    range_name);

// The mask is read from a copy of 127 characters.
INSTANTIATE_TEST_SUITE_P(
    LongTexts, AddressRange,
    testing::Values(
        RangeCase{"Start127", "10.0.0.1/" + std::string(116, '0') + "32", "10.0.0.1", 0, ipv4, equal_ends},
        RangeCase{"Start128", "10.0.0.1/" + std::string(117, '0') + "32", "10.0.0.1", 1, ipv4,
                  bad_ipv4_mask + bad_start},
        RangeCase{"End127", "10.0.0.1", "10.0.0.1/" + std::string(116, '0') + "32", 0, ipv4, equal_ends},
        RangeCase{"End128", "10.0.0.1", "10.0.0.1/" + std::string(117, '0') + "32", 1, ipv4, bad_ipv4_mask + bad_end},
        RangeCase{"BehindTheMask", "10.0.0.1/32" + std::string(300, 'x'), "10.0.0.1", 0, ipv4, equal_ends},
        RangeCase{"SlashBehindTheCopy", std::string(200, '1') + "/32", "10.0.0.1", 1, ipv4, no_ipv4 + bad_start}),
    range_name);

TEST(AddressRanges, NeedBothTexts)
{
    const char* address = "10.0.0.1";
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        for (const auto& [start, end] :
             {std::pair<const char*, const char*>{nullptr, address}, {address, nullptr}, {nullptr, nullptr}}) {
            int result = -1;
            char family = untouched;
            const std::string output = captured_output([&, start = start, end = end] {
                result = ips_signature_rule_ip_compare_startIP_and_endIP_range(start, end, &family);
            });
            EXPECT_EQ(result, 1);
            EXPECT_EQ(family, untouched);
            EXPECT_EQ(output, setting.messages ? missing_end : "");
        }
    }
}

} // namespace
