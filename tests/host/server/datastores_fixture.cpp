#include "datastores_fixture.h"

#include <regex>
#include <utility>

#include <fmt/format.h>
#include <gtest/gtest.h>

#include "server/edit_config.h"

namespace qnips::test
{

namespace
{

constexpr const char* roots = R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                              R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"{}</ips-config>)";

std::string profile(const std::string& content)
{
    return fmt::format(fmt::runtime(roots), "><user-defined-ips><vsys><name>branch</name><profiles><profile>"
                                            "<name>web</name>" +
                                                content + "</profile></profiles></vsys></user-defined-ips>");
}

std::string with_description(const std::string& description)
{
    return profile(fmt::format("<description>{}</description>", description));
}

// The filter has to say whether it is on.
const std::string incomplete_filter = "<command-and-control-domain-filter><action>block</action>"
                                      "</command-and-control-domain-filter>";

// A tree that the schema's constraints were not held against, as an edit leaves it in a candidate.
ConfigTree unchecked_tree(const EditRequest& request)
{
    ConfigTree tree;
    AppliedEdit(tree, request).commit();
    return tree;
}

std::string text_of(const ConfirmedCommitEvent& event)
{
    constexpr const char* words[] = {"started", "extended", "confirmed", "cancelled", "timed out"};
    std::string text = words[static_cast<std::size_t>(event.kind)];
    if (event.session)
        text += fmt::format(" by {}", *event.session);
    text += fmt::format(" ({})", event.user);
    if (event.timeout.count() != 0)
        text += fmt::format(" for {}", event.timeout.count());
    return text + (event.errors.empty() ? "" : ", in vain");
}

} // namespace

EditRequest edit_of_profile(const std::string& content)
{
    return parse_edit_request(world().schema, profile(content));
}

EditRequest edit_to(const std::string& description)
{
    return parse_edit_request(world().schema, with_description(description));
}

EditRequest edit_that_removes_all()
{
    return parse_edit_request(world().schema, fmt::format(fmt::runtime(roots), " nc:operation='remove'>"));
}

EditRequest invalid_edit()
{
    return edit_of_profile(incomplete_filter);
}

EditRequest impossible_edit()
{
    return edit_of_profile("<collect-attack-evidence-enable nc:operation='delete'/>");
}

ConfigTree tree_with(const std::string& description)
{
    return ConfigTree(world().schema.parse_configuration(description.empty() ? "" : with_description(description)));
}

ConfigTree invalid_tree()
{
    return unchecked_tree(edit_of_profile("<description>x</description>" + incomplete_filter));
}

std::string description_of(const ConfigTree& tree)
{
    const std::string text = tree_text(tree.first());
    std::smatch match;
    return std::regex_search(text, match, std::regex("<description>(.*)</description>")) ? match[1].str() : "";
}

TestServer::Process::Process(TestServer& server)
    : running(world().schema, world().table, server.channel_, *server.store_),
      datastores(world().schema, running, *server.store_, [&server] { return server.time_; })
{
    datastores.observe([&server](const ConfirmedCommitEvent& event) { server.events_.push_back(text_of(event)); });
    running.start();
}

TestServer::TestServer(Keeping keeping) : keeping_(keeping)
{
    store_.emplace(keeping == Keeping::in_file ? store_file() : ":memory:");
    process_.emplace(*this);
}

void TestServer::restart()
{
    process_.reset();
    if (keeping_ == Keeping::in_file) {
        store_.reset(); // one process at a time has it
        store_.emplace(store_file());
    }
    process_.emplace(*this);
}

EditOutcome TestServer::edit(DatastoreName target, const std::string& description, SessionId session)
{
    EditOutcome outcome = all().edit_config(session, "admin", target, edit_to(description));
    EXPECT_TRUE(outcome.errors.empty()) << outcome.errors.front().what();
    return outcome;
}

void TestServer::wait(std::chrono::seconds time)
{
    time_ += time;
    all().tick();
}

std::optional<std::chrono::seconds> TestServer::time_left()
{
    const auto deadline = all().deadline();
    return deadline ? std::optional(std::chrono::duration_cast<std::chrono::seconds>(*deadline - time_)) : std::nullopt;
}

std::vector<std::string> TestServer::events()
{
    return std::exchange(events_, {});
}

} // namespace qnips::test
