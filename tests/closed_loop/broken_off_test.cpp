// Edits that an exception ends in the middle, as lack of memory would: nobody knows what the device has of them, so the
// next edit, or the next start, finds out and ends them before anything else happens.
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "loop.h"

namespace qnips::test
{
namespace
{

struct BrokenOff {
};

// Takes the configuration of a virtual system that goes away, or does not, and breaks the edit off.
class BreakingDevice final : public CommandPlatform
{
public:
    enum class Removal { done, not_done, done_and_broken_off, not_done_and_broken_off };
    Removal removal = Removal::done;

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override
    {
        return device_.execute(script, operation);
    }
    std::optional<PlatformError> remove_vsys(std::string_view name) override
    {
        std::optional<PlatformError> error;
        if (removal == Removal::done || removal == Removal::done_and_broken_off)
            error = device_.remove_vsys(name);
        if (removal == Removal::done_and_broken_off || removal == Removal::not_done_and_broken_off)
            throw BrokenOff();
        return error;
    }
    PlatformAnswer configuration() override { return device_.configuration(); }
    PlatformAnswer state() override { return device_.state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        return device_.first_signature_set(vsys, profile);
    }

private:
    EmulatedPlatform device_{world().catalogue};
};

// Two virtual systems, of which the second one breaks off.
std::string vsys(const std::string& name, const std::string& content, const std::string& operation = "merge")
{
    return R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
           R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips><vsys nc:operation=")" +
           operation + "\"><name>" + name + "</name>" + content + "</vsys></user-defined-ips></ips-config>";
}

std::string profile(const std::string& name)
{
    return "<profiles><profile><name>" + name + "</name></profile></profiles>";
}

class BrokenOffEdit : public testing::TestWithParam<BreakingDevice::Removal>
{
protected:
    void SetUp() override
    {
        edit(vsys("branch", profile("web")));
        ASSERT_TRUE(datastore_->drift().empty());
        before_ = tree_text(datastore_->configuration().first());

        device_.removal = GetParam();
        EXPECT_THROW(edit(vsys("branch", "", "delete")), BrokenOff);
        EXPECT_EQ(tree_text(datastore_->configuration().first()), before_);
        EXPECT_TRUE(store_.open_intent().has_value());
        device_.removal = BreakingDevice::Removal::done;
    }

    EditOutcome edit(const std::string& xml)
    {
        return datastore_->edit(parse_edit_request(world().schema, xml), {"tester", "edit-config"});
    }

    void expect_ended()
    {
        EXPECT_FALSE(store_.open_intent().has_value());
        EXPECT_TRUE(datastore_->drift().empty());
        const std::string after = tree_text(datastore_->configuration().first());
        const bool has_gone = GetParam() == BreakingDevice::Removal::done_and_broken_off;
        EXPECT_EQ(after.find("<name>branch</name>") == std::string::npos, has_gone) << after;
    }

    BreakingDevice device_;
    CommitStore store_{":memory:"};
    std::unique_ptr<RunningDatastore> datastore_ =
        std::make_unique<RunningDatastore>(world().schema, world().table, device_, store_);
    std::string before_;
};

TEST_P(BrokenOffEdit, IsEndedBeforeTheNextEdit)
{
    EXPECT_TRUE(edit(vsys("other", profile("mail"))).errors.empty());
    expect_ended();
}

TEST_P(BrokenOffEdit, IsEndedByTheNextStart)
{
    datastore_ = std::make_unique<RunningDatastore>(world().schema, world().table, device_, store_);
    const StartOutcome outcome = datastore_->start();
    EXPECT_TRUE(outcome.interrupted.has_value());
    EXPECT_EQ(outcome.interrupted_stands, GetParam() == BreakingDevice::Removal::done_and_broken_off);
    expect_ended();
}

INSTANTIATE_TEST_SUITE_P(ADevice, BrokenOffEdit,
                         testing::Values(BreakingDevice::Removal::done_and_broken_off,
                                         BreakingDevice::Removal::not_done_and_broken_off));

} // namespace
} // namespace qnips::test
