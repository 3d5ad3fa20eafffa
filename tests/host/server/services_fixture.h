// What the tests of a callback's services share: an edit with its documents, and callbacks that run one at a time.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "callback_fixture.h"
#include "platform/recording_platform.h"
#include "server/callback_plan.h"
#include "server/callback_session.h"

namespace qnips::test
{

// Two profiles, of which "a" is changed in several ways and "b" goes.
inline const char* const two_profiles =
    "<ips-enable>true</ips-enable><profiles>"
    "<profile><name>a</name><description>old</description>"
    "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>"
    "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
    "<action>alert</action></command-and-control-domain-filter></profile>"
    "<profile><name>b</name><description>b</description></profile></profiles>";
inline const char* const profiles_edit = "<profiles><profile><name>a</name><description>new</description>"
                                         "<associated-check-enable>true</associated-check-enable>"
                                         "<command-and-control-domain-filter><action>block</action>"
                                         "</command-and-control-domain-filter></profile>"
                                         "<profile nc:operation='delete'><name>b</name></profile></profiles>";

inline const std::string profile_a = "profiles/profile[name='a']";
inline const std::string description_a = profile_a + "/description";
inline const std::string action_a = profile_a + "/command-and-control-domain-filter/action";
inline const std::string profile_b = "profiles/profile[name='b']";
inline const std::string description_b = profile_b + "/description";

// An edit with its documents; callbacks run in a session of their own unless a test needs another.
class Services : public testing::Test
{
protected:
    explicit Services(const std::string& running_xml = branch(two_profiles),
                      const std::string& edit_xml = branch(profiles_edit))
        : edit_(running_xml, edit_xml)
    {
        mark_replaced(edit_.changes(), ips_table());
        before_ = std::make_unique<CallbackDocument>(edit_.changes(), View::before);
        after_ = std::make_unique<CallbackDocument>(edit_.changes(), View::after);
    }

    CallbackRecord call(CallbackSession& session, const std::string& path, Phase phase, Callback callback)
    {
        const Change& change = edit_.at(path);
        xmlNode* node = (phase == Phase::removal ? before_ : after_)->element(change);
        if (node == nullptr)
            node = (phase == Phase::removal ? after_ : before_)->element(change);
        module_.on(phase, std::string(schema_name(change.schema)), std::move(callback));
        return session.call(FakeModule::row(phase), change, phase, node);
    }

    CallbackRecord call(const std::string& path, Phase phase, Callback callback)
    {
        CallbackSession session(platform_);
        return call(session, path, phase, std::move(callback));
    }

    [[nodiscard]] xmlNode* node(const std::string& path, View view) const
    {
        return (view == View::before ? before_ : after_)->element(edit_.at(path));
    }

    StandingEdit edit_;
    std::unique_ptr<CallbackDocument> before_;
    std::unique_ptr<CallbackDocument> after_;
    FakeModule module_;
    RecordingPlatform platform_;
};

} // namespace qnips::test
