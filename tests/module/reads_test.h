// The reads as tests call them: the result as text, the queries, and what was released.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include <libxml/tree.h>

#include "quorin-intrusion-prevention-reads.h"
#include "support/debug_switches.h"
#include "support/server_test.h"

namespace qnips::test
{

// The product name that the server publishes, for as long as a test needs it.
class ProductName
{
public:
    explicit ProductName(const char* name) { g_product_name_for_dp = name; }
    ~ProductName() { g_product_name_for_dp = nullptr; }
    ProductName(const ProductName&) = delete;
    ProductName& operator=(const ProductName&) = delete;
};

inline std::string terminated(const std::string& text)
{
    return text + '\0';
}

// The bytes of a query's header.
inline std::string header_bytes(const msg_dp_zell_head_t& header)
{
    std::string bytes(sizeof(header), '?');
    std::memcpy(bytes.data(), &header, sizeof(header));
    return bytes;
}

// Zero but for the size of the payload, the type and the module.
inline std::string promised_header(char size, char type)
{
    std::string bytes(492, '\0');
    bytes[0] = size;
    bytes[4] = type;
    bytes[8] = 2;
    return bytes;
}

// The channel's result without a reply.
inline Answer no_reply(int result)
{
    return {.result = result, .payload = std::nullopt};
}

// Every test releases what it was handed and leaves no trace with the client.
class ReadsTest : public ServerTest
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(server.released_replies(), server.allocated_replies());
        for (const RecordingServer::Release& release : server.releases()) {
            EXPECT_NE(release.file, "");
            EXPECT_GT(release.line, 0U);
        }
        std::ranges::fill(g_acIPSFirstSigSetName, '\0'); // as at load, for tests that run later
        ServerTest::TearDown();
    }

    // The text that a read of the configuration returns; nothing for null.
    Text config(NC_DATASTORE target = NC_DATASTORE_RUNNING)
    {
        Text text;
        last = server.run([&] {
            const std::unique_ptr<char, decltype(&std::free)> read(
                perform_getconfig(nullptr, target, server.error_slot()), std::free);
            if (read != nullptr)
                text = read.get();
            return 0;
        });
        expect_no_traces_with_the_client();
        return text;
    }

    Text config_for(Answer answer)
    {
        server.answers = {std::move(answer)};
        return config();
    }

    // The document that a read of the state returns, as text; nothing for null.
    Text state()
    {
        Text text;
        last = server.run([&] {
            const std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)> read(
                get_state_data(nullptr, nullptr, server.error_slot()), xmlFreeDoc);
            if (read == nullptr)
                return 0;
            xmlChar* dump = nullptr;
            int size = 0;
            xmlDocDumpMemory(read.get(), &dump, &size);
            text.emplace(reinterpret_cast<const char*>(dump), static_cast<std::size_t>(size));
            xmlFree(dump);
            return 0;
        });
        expect_no_traces_with_the_client();
        return text;
    }

    Text state_for(Answer answer)
    {
        server.answers = {std::move(answer)};
        return state();
    }

    // The name of the first signature set; nothing for null.
    Text first_set(const std::string& vsys = "branch", const std::string& profile = "webguard")
    {
        Text text;
        last = server.run([&] {
            const char* name = IPS_GetFirstSigSet(vsys.c_str(), profile.c_str());
            if (name == nullptr)
                return 0;
            EXPECT_EQ(static_cast<const void*>(name), static_cast<const void*>(g_acIPSFirstSigSetName));
            text = name;
            return 0;
        });
        expect_no_traces_with_the_client();
        return text;
    }

    Text first_set_for(Answer answer)
    {
        server.answers = {std::move(answer)};
        return first_set();
    }

    int enabled()
    {
        last = server.run([] { return IPS_FuncEnabled(); });
        return last.result;
    }

    // A read raises no error and commits nothing.
    void expect_no_traces_with_the_client() const
    {
        EXPECT_EQ(last.errors, ClientErrors{});
        EXPECT_EQ(last.lines, Lines{});
        EXPECT_TRUE(last.commits.empty());
    }

    CallResult last;
};

} // namespace qnips::test
