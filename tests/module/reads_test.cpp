// What the server reads through the module, configuration and state: the queries byte for byte, what becomes of each
// kind of reply, and that every reply is released.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <optional>
#include <string>

#include "module/reads_test.h"

namespace
{

using namespace qnips::test;

constexpr const char* empty_config =
    "<ips-config xmlns=\"urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention\"/>";

const std::array<const char*, 15> models_without{"LX-M01",  "LX-M02", "LX-M03",  "LX-M04", "LX-M05",
                                                 "LX-M06",  "LX-M07", "LX-M08",  "LX-M09", "LX-M10",
                                                 "LX-M10W", "LX-M11", "LX-M11W", "LX-M12", "LX-M12W"};

// Exact comparison: neither parts nor extensions of the names above, and no other spelling.
const std::array<const char*, 12> models_with{"LX-M10W ", " LX-M10W", "lx-m10w", "LX-M10WW", "LX-M1", "LX-M20",
                                              "",         "LX-M13",   "LX-M01W", "LX-M",     "LX-M0", "LX-M010"};

class Reads : public ReadsTest
{
};

// ------------------------------------------------------------------------------------------------------- model gate --

TEST_F(Reads, FifteenModelsHaveNoIps)
{
    for (const char* model : models_without) {
        const ProductName product(model);
        EXPECT_EQ(enabled(), 0) << model;
    }
}

TEST_F(Reads, AnyOtherModelHasIpsAndNothingIsSaidAboutIt)
{
    const DebugSwitches switches({true, true});
    for (const char* model : models_with) {
        const ProductName product(model);
        EXPECT_EQ(enabled(), 1) << model;
        EXPECT_EQ(last.output, "");
    }
}

TEST_F(Reads, UnknownProductCountsAsHavingIpsAndThePlatformIsAsked)
{
    EXPECT_EQ(enabled(), 1);
    EXPECT_EQ(config_for({.payload = terminated("<a/>")}), "<a/>");
    EXPECT_EQ(last.queries.size(), 1U);
    EXPECT_NE(state_for({.payload = "<a/>"}), std::nullopt);
    EXPECT_EQ(last.queries.size(), 1U);
}

TEST_F(Reads, GateTracesByteForByte)
{
    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        EXPECT_EQ(enabled(), 1);
        EXPECT_EQ(last.output, setting.traces ? "[IPS]Info:g_product_name_for_dp is NULL.\r\n\r\n" : "");
        const ProductName product("LX-M12W");
        EXPECT_EQ(enabled(), 0);
        EXPECT_EQ(last.output, setting.traces ? "[IPS]Info:Not support IPS function.\r\n\r\n" : "");
    }
}

TEST_F(Reads, ModelWithoutIpsHasAnEmptyConfigurationWithoutAMessage)
{
    ASSERT_EQ(std::strlen(empty_config), 79U);
    for (const char* model : models_without) {
        const ProductName product(model);
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            EXPECT_EQ(config_for({.payload = terminated("<a/>")}), empty_config);
            EXPECT_TRUE(last.queries.empty());
            EXPECT_EQ(without_line_numbers(last.output),
                      setting.traces ? "[IPS]Info:Not support IPS function.\r\n\r\n"
                                       "[IPS]Success:Not Support IPS. Current Function is perform_getconfig , current "
                                       "line is #.\r\n\r\n"
                                     : "");
        }
    }
}

TEST_F(Reads, ModelWithoutIpsHasAnEmptyStateDocumentWithoutAMessage)
{
    for (const char* model : models_without) {
        const ProductName product(model);
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            EXPECT_EQ(state_for({.payload = "<a/>"}), "<?xml version=\"1.0\"?>\n");
            EXPECT_TRUE(last.queries.empty());
            EXPECT_EQ(without_line_numbers(last.output),
                      setting.traces ? "[IPS]Info:Not support IPS function.\r\n\r\n"
                                       "[IPS]Success:Not support IPS. Current Function is get_state_data , current "
                                       "line is #.\r\n\r\n"
                                     : "");
        }
    }
}

TEST_F(Reads, ModelNameWithABlankBehindIsAsked)
{
    const ProductName product("LX-M10W ");
    EXPECT_EQ(config_for({.payload = terminated("<a/>")}), "<a/>");
    EXPECT_EQ(last.queries.size(), 1U);
    EXPECT_EQ(state_for({.payload = "<a/>"}), "<?xml version=\"1.0\"?>\n<a/>\n");
    EXPECT_EQ(last.queries.size(), 1U);
}

TEST_F(Reads, AskingThePlatformPrintsNothingOnAKnownModel)
{
    const ProductName product("LX-M20");
    const DebugSwitches switches({true, true});
    config_for({.payload = terminated("<a/>")});
    EXPECT_EQ(last.output, "");
    state_for({.payload = "<a/>"});
    EXPECT_EQ(last.output, "");
    first_set_for({.payload = terminated("mail")});
    EXPECT_EQ(last.output, "");
}

// --------------------------------------------------------------------------------------------------------- messages --

TEST_F(Reads, ConfigurationQueryByteForByte)
{
    config_for({.payload = terminated("<a/>")});
    ASSERT_EQ(last.queries.size(), 1U);
    EXPECT_EQ(header_bytes(last.queries[0].header), promised_header(0, 7));
    EXPECT_EQ(last.queries[0].operation, 0U);
    EXPECT_TRUE(last.queries[0].has_error_slot);
    EXPECT_EQ(last.queries[0].payload, std::nullopt);
}

TEST_F(Reads, StateQueryByteForByte)
{
    state_for({.payload = "<a/>"});
    ASSERT_EQ(last.queries.size(), 1U);
    EXPECT_EQ(header_bytes(last.queries[0].header), promised_header(0, 2));
    EXPECT_EQ(last.queries[0].operation, 0U);
    EXPECT_TRUE(last.queries[0].has_error_slot);
    EXPECT_EQ(last.queries[0].payload, std::nullopt);
}

// ---------------------------------------------------------------------------------------------------- configuration --

TEST_F(Reads, ConfigurationIsTheTerminatedTextOfTheReply)
{
    const std::string large = "<ips-config>" + std::string(300000, 'x') + "</ips-config>";
    EXPECT_EQ(config_for({.payload = terminated("<ips-config/>")}), "<ips-config/>");
    EXPECT_EQ(config_for({.payload = terminated("no XML at all")}), "no XML at all");
    EXPECT_EQ(config_for({.payload = terminated(large)}), large);
    EXPECT_EQ(config_for({.payload = terminated("<a/>") + "behind"}), "<a/>");
    EXPECT_EQ(config_for({.payload = terminated("")}), "");
    EXPECT_EQ(server.released_replies(), 5U);
}

TEST_F(Reads, EmptyConfigurationReplyIsAnEmptyText)
{
    EXPECT_EQ(config_for({.payload = ""}), "");
    EXPECT_EQ(config_for({.payload = "bytes that do not count", .length = 0}), "");
    EXPECT_EQ(server.released_replies(), 2U);
}

// The copy fails and leaves nothing of it: half a configuration would pass for a whole one.
TEST_F(Reads, ConfigurationWithoutItsTerminatorIsEmpty)
{
    EXPECT_EQ(config_for({.payload = "<ips-config/>"}), "");
    EXPECT_EQ(config_for({.payload = "x"}), "");
    EXPECT_EQ(config_for({.payload = terminated("<ips-config/>"), .length = 13}), "");
    EXPECT_EQ(server.released_replies(), 3U);
}

TEST_F(Reads, ConfigurationIsNullWhenTheChannelFailsOrAnswersNothing)
{
    EXPECT_EQ(config_for(no_reply(1)), std::nullopt);
    EXPECT_EQ(config_for({.result = -1, .payload = terminated("<a/>")}), std::nullopt);
    EXPECT_EQ(config_for({.result = 5, .payload = ""}), std::nullopt);
    EXPECT_EQ(server.released_replies(), 2U);
    EXPECT_EQ(config_for(no_reply(0)), std::nullopt);
    EXPECT_EQ(server.allocated_replies(), 2U);
}

TEST_F(Reads, ConfigurationIsTheSameForEveryDatastore)
{
    for (const NC_DATASTORE target : {NC_DATASTORE_ERROR, NC_DATASTORE_CONFIG, NC_DATASTORE_RUNNING,
                                      NC_DATASTORE_STARTUP, NC_DATASTORE_CANDIDATE}) {
        server.answers = {{.payload = terminated("<a/>")}};
        EXPECT_EQ(config(target), "<a/>");
        EXPECT_EQ(header_bytes(last.queries.at(0).header), promised_header(0, 7));
    }
}

TEST_F(Reads, CopyingAConfigurationDoesNothing)
{
    std::string text = "<a/>";
    const CallResult r = server.run([&] {
        return perform_copyconfig(nullptr, NC_DATASTORE_STARTUP, NC_DATASTORE_RUNNING, text.data(),
                                  server.error_slot());
    });
    EXPECT_TRUE(r.quiet());
    EXPECT_TRUE(r.queries.empty());
    EXPECT_EQ(r.output, "");
    EXPECT_EQ(text, "<a/>");
}

// ------------------------------------------------------------------------------------------------------------ state --

TEST_F(Reads, StateIsTheParsedReplyTerminatedOrNot)
{
    EXPECT_EQ(state_for({.payload = "<a><b>c</b></a>"}), "<?xml version=\"1.0\"?>\n<a><b>c</b></a>\n");
    EXPECT_EQ(state_for({.payload = "<a/>behind", .length = 4}), "<?xml version=\"1.0\"?>\n<a/>\n");
    EXPECT_EQ(server.released_replies(), 2U);
}

TEST_F(Reads, StateIsReadWithoutBlankNodesAndRedundantNamespaces)
{
    EXPECT_EQ(state_for({.payload = "<a xmlns:n=\"u\">\n  <b xmlns:n=\"u\"/>\n</a>"}),
              "<?xml version=\"1.0\"?>\n<a xmlns:n=\"u\"><b/></a>\n");
}

TEST_F(Reads, StateThatDoesNotParseIsNullAndReleased)
{
    for (const char* text : {"<a>", "no XML", "<a/><b/>", "<", " "})
        EXPECT_EQ(state_for({.payload = text}), std::nullopt) << text;
    EXPECT_EQ(server.released_replies(), 5U);
}

TEST_F(Reads, StateIsNullWhenTheReplyIsEmptyMissingOrTheChannelFails)
{
    EXPECT_EQ(state_for({.payload = ""}), std::nullopt);
    EXPECT_EQ(state_for({.payload = "<a/>", .length = 0}), std::nullopt);
    EXPECT_EQ(state_for({.result = 7, .payload = "<a/>"}), std::nullopt);
    EXPECT_EQ(server.released_replies(), 3U);
    EXPECT_EQ(state_for(no_reply(7)), std::nullopt);
    EXPECT_EQ(state_for(no_reply(0)), std::nullopt);
    EXPECT_EQ(server.allocated_replies(), 3U);
}

} // namespace
