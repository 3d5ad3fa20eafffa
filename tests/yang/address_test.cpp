// Which addresses and ranges the YANG module accepts, compared on many texts with what the device accepts: the system's
// own reader of addresses, less the addresses that the device cannot match.
#include "yang_context.h"

#include <arpa/inet.h>
#include <libyang/libyang.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <string>

namespace
{

const yang_test::YangContext& yang()
{
    static const yang_test::YangContext context;
    return context;
}

class Texts
{
public:
    int below(int limit) { return std::uniform_int_distribution<int>(0, limit - 1)(random_); }

    template <std::size_t N>
    std::string one_of(const std::array<const char*, N>& words)
    {
        return words[static_cast<std::size_t>(below(static_cast<int>(N)))];
    }

    std::string group()
    {
        return one_of(std::array{"0", "0", "0", "00", "0000", "1", "100", "0100", "10", "1000", "ff02", "FE80", "ff",
                                 "0ff2", "abcd", "g", "12345", ""});
    }
    std::string dotted()
    {
        std::string text;
        const int count = below(10) == 0 ? below(6) : 4;
        for (int i = 0; i < count; ++i) {
            text += (i == 0 ? "" : ".") + one_of(std::array{"0", "0", "0", "1", "10", "100", "255", "256", "01", "9"});
        }
        return text;
    }
    std::string colons()
    {
        std::string text = below(4) == 0 ? "::" : "";
        const int count = below(9);
        for (int i = 0; i < count; ++i) {
            text += group() + (below(7) == 0 ? "::" : ":");
        }
        return text + (below(3) == 0 ? dotted() : group());
    }
    std::string address() { return below(4) == 0 ? dotted() : colons(); }
    std::string mask()
    {
        return one_of(
            std::array{"", "", "", "", "/1", "/8", "/32", "/33", "/128", "/129", "/0", "/", "/-1", "/08", "/8x"});
    }

private:
    std::mt19937 random_{20261121};
};

bool is_matchable_ipv6(const std::array<unsigned char, 16>& bytes)
{
    const std::array<unsigned char, 16> zero{};
    if (bytes == zero || bytes[0] == 0xff) {
        return false;
    }
    std::array<unsigned char, 16> refused{}; // ::100:0
    refused[12] = 1;
    return bytes != refused;
}

bool is_mask(const std::string& text, int longest, bool range_end)
{
    if (text.empty() || text.size() > 3 || text[0] == '0' ||
        text.find_first_not_of("0123456789") != std::string::npos) {
        return false;
    }
    const int length = std::stoi(text);
    return range_end ? length == longest : length <= longest;
}

bool is_accepted_by_the_device(const std::string& text, bool range_end)
{
    const auto slash = text.find('/');
    const std::string address = text.substr(0, slash);
    const bool ipv6 = address.find(':') != std::string::npos;
    std::array<unsigned char, 16> bytes{};
    if (inet_pton(ipv6 ? AF_INET6 : AF_INET, address.c_str(), bytes.data()) != 1) {
        return false;
    }
    if (ipv6 && !is_matchable_ipv6(bytes)) {
        return false;
    }
    return slash == std::string::npos || is_mask(text.substr(slash + 1), ipv6 ? 128 : 32, range_end);
}

const lysc_node* rule_node(const std::string& name)
{
    const std::string path =
        "/quorin-intrusion-prevention:ips-config/user-defined-ips/vsys/user-defined-signatures/signature/"
        "signature-rule-information/protocol-rules/rules/signature-rule/" +
        name;
    return lys_find_path(yang().get(), nullptr, path.c_str(), 0);
}

TEST(Addresses, are_accepted_exactly_when_the_device_accepts_them)
{
    const lysc_node* const network = rule_node("source-ip");
    const lysc_node* const range_end = rule_node("destination-ip-range/end-ip");
    ASSERT_NE(network, nullptr);
    ASSERT_NE(range_end, nullptr);

    Texts texts;
    int accepted = 0;
    for (int i = 0; i < 60000; ++i) {
        const std::string text = texts.address() + texts.mask();
        for (const lysc_node* node : {network, range_end}) {
            const bool taken = lyd_value_validate(yang().get(), node, text.c_str(), text.size(), nullptr, nullptr,
                                                  nullptr) == LY_SUCCESS;
            ASSERT_EQ(taken, is_accepted_by_the_device(text, node == range_end)) << text;
            accepted += taken ? 1 : 0;
        }
    }
    EXPECT_GT(accepted, 1000);
}

std::string range_document(const std::string& start, const std::string& end)
{
    return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"><user-defined-ips><vsys>)"
           "<name>branch</name><user-defined-signatures><signature><id>1</id><associated-enable>false</"
           "associated-enable>"
           "<signature-rule-information><protocol-rules><protocol>ip</protocol><rules><signature-rule><name>r</name>"
           "<source-ip-range><start-ip>" +
           start + "</start-ip><end-ip>" + end +
           "</end-ip></source-ip-range></signature-rule></rules></protocol-rules></signature-rule-information></"
           "signature>"
           "</user-defined-signatures></vsys></user-defined-ips></ips-config>";
}

TEST(Addresses, of_an_ipv4_range_are_compared_by_their_last_number_first)
{
    using Octets = std::array<int, 4>;
    const auto text = [](const Octets& o) {
        return std::to_string(o[0]) + "." + std::to_string(o[1]) + "." + std::to_string(o[2]) + "." +
               std::to_string(o[3]);
    };
    Texts texts;
    for (int i = 0; i < 2000; ++i) {
        Octets start{};
        Octets end{};
        for (std::size_t k = 0; k < 4; ++k) {
            // few different numbers, so that each place decides now and then
            start[k] = texts.below(3) * 127;
            end[k] = texts.below(3) * 127;
        }
        const bool in_order = !std::lexicographical_compare(end.rbegin(), end.rend(), start.rbegin(), start.rend());
        const std::string refusal = yang().refusal(range_document(text(start), text(end)));
        ASSERT_EQ(refusal.empty(), in_order) << text(start) << " to " << text(end) << ": " << refusal;
    }
}

} // namespace
