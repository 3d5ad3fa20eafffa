// What is left of an edit in the places where taking it back is hard: entries that have to go as a whole, a second
// fault, a device that differed before, a start after an interruption.
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/device_dump.h"
#include "random_work.h"
#include "server/edit_text.h"
#include "server/touched_nodes.h"
#include "transapi/command_platform.h"
#include "transapi/netconf_error.h"

namespace qnips::test
{
namespace
{

using Effect = EditOutcome::Effect;
const Author tester{"tester", "edit-config"};

// What has reached a device: a script, or a virtual system that has gone.
struct Sent {
    std::vector<CommandLine> script;
    std::string vsys;
};

// A device whose faults are a function of the line or of the script, and that remembers what it has taken.
class Picky final : public CommandPlatform
{
public:
    explicit Picky(EmulatedPlatform& device) : device_(device) {}

    std::function<bool(const CommandLine&)> refuses = [](const CommandLine&) { return false; };
    std::function<bool()> refuses_removal = [] { return false; };
    bool answers = true;
    bool throws_at_removal = false;
    std::vector<Sent> sent;

    std::optional<PlatformError> execute(std::span<const CommandLine> script, int operation) override
    {
        for (const CommandLine& line : script)
            if (refuses(line))
                return PlatformError{NC_ERR_COMMAND_EXECUTE, "the device has failed", line};
        auto error = device_.execute(script, operation);
        if (!error && !script.empty())
            sent.push_back({{script.begin(), script.end()}, {}});
        if (!error && !answers)
            return PlatformError{NC_ERR_OP_FAILED, "the command platform does not answer", std::nullopt};
        return error;
    }
    std::optional<PlatformError> remove_vsys(std::string_view name) override
    {
        if (throws_at_removal)
            throw std::runtime_error("the platform's own trouble");
        if (refuses_removal())
            return PlatformError{NC_ERR_OP_FAILED, "not now", std::nullopt};
        sent.push_back({{}, std::string(name)});
        return device_.remove_vsys(name);
    }
    PlatformAnswer configuration() override { return device_.configuration(); }
    PlatformAnswer state() override { return device_.state(); }
    PlatformAnswer first_signature_set(std::string_view vsys, std::string_view profile) override
    {
        return device_.first_signature_set(vsys, profile);
    }

private:
    EmulatedPlatform& device_;
};

std::string in_vsys(const std::string& content, const std::string& name = "branch")
{
    return fmt::format(R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                       R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips>)"
                       "<vsys><name>{}</name>{}</vsys></user-defined-ips></ips-config>",
                       name, content);
}

std::string in_profile(const std::string& content, const std::string& name = "web")
{
    return in_vsys(fmt::format("<profiles><profile><name>{}</name>{}</profile></profiles>", name, content));
}

EditRequest request_of(const std::string& xml, ErrorOption option = ErrorOption::rollback_on_error)
{
    EditRequest request = parse_edit_request(world().schema, xml);
    request.error_option = option;
    return request;
}

std::vector<std::string> lines_of(const std::vector<Difference>& drift)
{
    std::vector<std::string> lines;
    for (const Difference& difference : drift)
        lines.push_back((difference.on_device ? "+" : "-") + difference.line);
    return lines;
}

struct Host {
    EmulatedPlatform device{world().catalogue};
    Picky platform{device};
    CommitStore store{":memory:"};
    RunningDatastore datastore{world().schema, world().table, platform, store};

    std::vector<std::string> drift() { return lines_of(datastore.drift()); }
};

// ------------------------------------------------------------------------------------------------- crash points --

std::string text_of_edit(const ConfigTree& before, const EditRequest& request)
{
    ConfigTree tree = copy_of(before);
    AppliedEdit edit(tree, request);
    return edit_text(edit.changes());
}

std::string shown(const Sent& sent)
{
    std::string text = sent.vsys.empty() ? std::string() : "remove vsys " + sent.vsys;
    for (const CommandLine& line : sent.script)
        text += line.text + "  (" + line.view + ") ";
    return text;
}

// The host dies after each number of scripts. Returns how often device and datastore differ after the next start.
std::size_t crash_everywhere(Host& host, const EditRequest& request, bool verbose)
{
    const ConfigTree before = copy_of(host.datastore.configuration());
    const std::string dumped = dump(host.device.device());
    const std::string text = text_of_edit(before, request);
    host.platform.sent.clear();
    try {
        host.datastore.edit(request, tester);
    } catch (const RpcError&) {
        return 0;
    }
    std::size_t wrong = 0;
    for (std::size_t count = 0; count <= host.platform.sent.size(); ++count) {
        EmulatedPlatform device(world().catalogue);
        device.restore(dumped);
        CommitStore store(":memory:");
        store.add_snapshot(tree_text(before.first()));
        store.prepare("ann", "edit-config", text);
        for (std::size_t i = 0; i < count; ++i) {
            const Sent& sent = host.platform.sent[i];
            if (sent.vsys.empty())
                EXPECT_FALSE(device.execute(sent.script, 0));
            else
                device.remove_vsys(sent.vsys);
        }
        RunningDatastore datastore(world().schema, world().table, device, store);
        const StartOutcome start = datastore.start();
        if (start.drift.empty() && start.errors.empty())
            continue;
        ++wrong;
        if (verbose) {
            fmt::print("after {} of {} scripts, stands {}, errors {}\n", count, host.platform.sent.size(),
                       start.interrupted_stands, start.errors.size());
            for (std::size_t i = 0; i < host.platform.sent.size(); ++i)
                fmt::print("   {} {}\n", i < count ? "*" : " ", shown(host.platform.sent[i]));
            for (const std::string& line : lines_of(start.drift))
                fmt::print("   {}\n", line);
        }
    }
    return wrong;
}

std::string signature(const std::string& protocol, const std::string& rules)
{
    return in_vsys(fmt::format("<user-defined-signatures><signature><id>7</id><associated-enable>false"
                               "</associated-enable><name>robot</name><signature-rule-information><protocol-rules>"
                               "<protocol>{}</protocol><rules>{}</rules></protocol-rules>"
                               "</signature-rule-information></signature></user-defined-signatures>",
                               protocol, rules));
}

TEST(RestorationCrash, InTheMiddleOfAnEntryThatIsReplacedLeavesNothingHalf)
{
    Host host;
    ASSERT_TRUE(
        host.datastore
            .edit(request_of(signature("HTTP", "<signature-rule><name>r</name><scope>flow</scope>"
                                               "<basic-conditions><rule-condition><id>0</id><field-name>uri"
                                               "</field-name><operator>pattern-match</operator><value>abc</value>"
                                               "</rule-condition></basic-conditions></signature-rule>")),
                  tester)
            .errors.empty());
    EXPECT_EQ(crash_everywhere(host, request_of(signature("FTP", "")), true), 0U);
}

TEST(RestorationCrash, AfterEachScriptOfRandomEditsLeavesNothingHalf)
{
    Host host;
    RandomWork work(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)));
    std::size_t edits = 0;
    std::size_t wrong = 0;
    for (unsigned long round = 0; round < number_from("QN_IPS_FAULTED_EDITS", 60); ++round) {
        const std::string edit = work.edit(host.datastore);
        if (edit.empty())
            continue;
        ++edits;
        const std::size_t here = crash_everywhere(host, request_of(edit), wrong < 3);
        wrong += here;
    }
    fmt::print("{} crash points leave a difference, of {} edits\n", wrong, edits);
    EXPECT_EQ(wrong, 0U);
}

// ------------------------------------------------------------------------------------------------- escalation --

std::string set(const std::string& name, const std::string& content)
{
    return fmt::format("<signature-sets><signature-set><name>{}</name>{}</signature-set></signature-sets>", name,
                       content);
}

TEST(RestorationEscalation, ASecondFaultInAnEntryThatComesBackIsSeen)
{
    Host host;
    ASSERT_TRUE(host.datastore
                    .edit(request_of(in_profile(set("s", "<signature-set-action><action>alert</action>"
                                                         "</signature-set-action><severity>high</severity>"
                                                         "<operating-system>windows</operating-system>"))),
                          tester)
                    .errors.empty());
    ASSERT_THAT(host.drift(), testing::IsEmpty());
    int severities = 0;
    host.platform.refuses = [&](const CommandLine& line) {
        if (line.text.starts_with("undo target") || line.text.starts_with("os android"))
            return true;
        return line.text.starts_with("severity") && ++severities == 1;
    };
    const EditOutcome outcome = host.datastore.edit(
        request_of(in_profile(set("s", "<target>client</target><operating-system>android</operating-system>"))),
        tester);
    for (const Sent& sent : host.platform.sent)
        fmt::print("   {}\n", shown(sent));
    for (const RpcError& error : outcome.errors)
        fmt::print("   error {} {}\n", error.path(), error.what());
    EXPECT_EQ(outcome.effect == Effect::none, host.drift().empty()) << testing::PrintToString(host.drift());
}

TEST(RestorationEscalation, ManyEntriesThatHaveToGoAsAWholeAreAllTakenBack)
{
    for (const int count : {5, 23, 24, 30, 60}) {
        SCOPED_TRACE(count);
        Host host;
        std::string sets;
        std::string more;
        for (int i = 0; i < count; ++i) {
            sets += fmt::format("<signature-set><name>s{}</name><signature-set-action><action>alert</action>"
                                "</signature-set-action></signature-set>",
                                i);
            more += fmt::format("<signature-set><name>s{}</name><signature-set-action><interworking>block-source-ip"
                                "</interworking></signature-set-action></signature-set>",
                                i);
        }
        const EditOutcome first =
            host.datastore.edit(request_of(in_profile("<signature-sets>" + sets + "</signature-sets>")), tester);
        ASSERT_TRUE(first.errors.empty()) << first.errors.front().what();
        ASSERT_THAT(host.drift(), testing::IsEmpty());
        int actions = 0;
        host.platform.refuses = [&](const CommandLine& line) {
            return line.text.find("alert") != std::string::npos && ++actions == count;
        };
        const EditOutcome outcome =
            host.datastore.edit(request_of(in_profile("<signature-sets>" + more + "</signature-sets>")), tester);
        fmt::print("{} sets: {} actions, {} errors, {} passes\n", count, actions, outcome.errors.size(),
                   outcome.rollback.passes.size());
        EXPECT_EQ(outcome.errors.size(), 1U) << outcome.errors.back().what();
        EXPECT_EQ(outcome.effect, Effect::none);
        EXPECT_THAT(host.drift(), testing::IsEmpty());
    }
}

// Two scripts of each edit are refused, the second one wherever: often in what takes the edit back.
TEST(RestorationEscalation, TwoFaultsInRandomEdits)
{
    Host host;
    RandomWork work(static_cast<unsigned>(number_from("QN_IPS_SEED", 1)));
    std::size_t wrong = 0;
    std::size_t unknown = 0;
    std::size_t edits = 0;
    for (unsigned long round = 0; round < number_from("QN_IPS_FAULTED_EDITS", 60) * 20; ++round) {
        const std::string edit = work.edit(host.datastore);
        if (edit.empty())
            continue;
        ++edits;
        std::size_t lines = 0;
        const std::size_t first = work.random()() % 12;
        const std::size_t second = first + 1 + work.random()() % 12;
        host.platform.sent.clear();
        host.platform.refuses = [&](const CommandLine&) {
            const std::size_t line = lines++;
            return line == first || line == second;
        };
        EditOutcome outcome;
        try {
            outcome = host.datastore.edit(request_of(edit), tester);
        } catch (const RpcError&) {
            continue;
        }
        host.platform.refuses = [](const CommandLine&) { return false; };
        const std::vector<std::string> drift = host.drift();
        unknown += outcome.effect == Effect::unknown ? 1U : 0U;
        if (outcome.effect != Effect::unknown && !drift.empty() && ++wrong < 3) {
            fmt::print("effect {}, {} passes, {}\n", static_cast<int>(outcome.effect), outcome.rollback.passes.size(),
                       testing::PrintToString(drift));
            for (const RpcError& error : outcome.errors)
                fmt::print("   error {} {}\n", error.path(), error.what());
            for (const Sent& sent : host.platform.sent)
                fmt::print("   {}\n", shown(sent));
        }
        if (!drift.empty()) {
            EXPECT_TRUE(host.datastore.repair_device(tester).done());
        }
    }
    fmt::print("{} of {} edits leave an untold difference, {} a told one\n", wrong, edits, unknown);
    EXPECT_EQ(wrong, 0U);
    EXPECT_EQ(unknown, 0U);
}

// ------------------------------------------------------------------------------------------------------- drift --

TEST(RestorationDrift, InTheListThatAFailedEditAddsToIsLeftAlone)
{
    for (const ErrorOption option : {ErrorOption::rollback_on_error, ErrorOption::stop_on_error}) {
        Host host;
        const auto plain = [](const std::string& name) {
            return fmt::format("<signature-set><name>{}</name></signature-set>", name);
        };
        ASSERT_TRUE(host.datastore
                        .edit(request_of(in_profile("<signature-sets>" + plain("a") + plain("b") + plain("c") +
                                                    "</signature-sets>")),
                              tester)
                        .errors.empty());
        const CommandLine gone{.vsys = "branch",
                               .view = "profile-ips-web",
                               .view_type = "profile-ips",
                               .text = "undo signature-set name b"};
        const auto refused = host.device.execute(std::vector{gone}, API_CMD_MOD);
        ASSERT_FALSE(refused) << refused->message;
        const std::vector<std::string> before = host.drift();
        const std::string order = tree_text(host.datastore.configuration().first());
        host.platform.sent.clear();
        host.platform.refuses = [](const CommandLine& line) { return line.text.starts_with("target"); };
        const EditOutcome outcome =
            host.datastore.edit(request_of(in_profile(set("d", "<target>client</target>")), option), tester);
        for (const Sent& sent : host.platform.sent)
            fmt::print("   {}\n", shown(sent));
        for (const RpcError& error : outcome.errors)
            fmt::print("   error {} {}\n", error.path(), error.what());
        fmt::print("effect {}\n", static_cast<int>(outcome.effect));
        if (option == ErrorOption::rollback_on_error) {
            EXPECT_EQ(host.drift(), before);
            EXPECT_EQ(outcome.effect, Effect::none);
        } else {
            fmt::print("{}\n", host.store.commit(outcome.commit) ? host.store.commit(outcome.commit)->edit : "");
            EXPECT_EQ(tree_text(host.datastore.configuration().first()).find("<name>b"), order.find("<name>b"));
        }
    }
}

TEST(RestorationDrift, ARepairOfADeviceThatTakesAllAndAnswersNothingIsDone)
{
    Host host;
    ASSERT_TRUE(host.datastore.edit(request_of(in_profile("")), tester).errors.empty());
    for (const char* name : {"x", "y", "z"}) {
        const CommandLine made{.vsys = "branch",
                               .view = "system",
                               .view_type = {},
                               .text = fmt::format("profile type ips name \"{}\"", name)};
        ASSERT_FALSE(host.device.execute(std::vector{made}, API_CMD_ADD));
    }
    host.platform.answers = false;
    const Restoration repair = host.datastore.repair_device(tester);
    fmt::print("{} passes, remaining {}, {}\n", repair.passes.size(), repair.remaining.size(),
               repair.fault ? repair.fault->what() : "no fault");
    EXPECT_EQ(repair.done(), host.drift().empty());
}

// ------------------------------------------------------------------------------------------------------- start --

TEST(RestorationStart, AnInterruptedEditIsNotForgottenWhenTheStartHasFailed)
{
    EmulatedPlatform device(world().catalogue);
    FaultyPlatform channel(device);
    CommitStore store(":memory:");
    const EditRequest request = request_of(in_profile("<description>shop</description>"));
    store.prepare("ann", "edit-config", text_of_edit(ConfigTree(), request));
    ASSERT_FALSE(
        device.execute(std::vector{CommandLine{"branch", "system", {}, "profile type ips name \"web\""}}, API_CMD_ADD));
    RunningDatastore datastore(world().schema, world().table, channel, store);
    channel.set({.kind = Fault::Kind::channel_lost, .number = 1});
    EXPECT_THROW(datastore.start(), RpcError);
    channel.clear();
    EXPECT_TRUE(datastore.edit(request_of(in_profile("", "mail")), tester).errors.empty());
    const std::vector<CommitRecord> history = store.history(10);
    ASSERT_EQ(history.size(), 2U) << "the edit of ann has been forgotten";
    EXPECT_EQ(history.back().user, "ann");
    EXPECT_EQ(history.back().outcome, CommitOutcome::rolled_back);
    EXPECT_THAT(lines_of(datastore.start().drift), testing::IsEmpty());
}

TEST(RestorationStart, ARestorationThatWasInterruptedGoesOnAtTheNextStart)
{
    EmulatedPlatform device(world().catalogue);
    CommitStore store(":memory:");
    {
        RunningDatastore datastore(world().schema, world().table, device, store);
        ASSERT_TRUE(datastore.edit(request_of(in_profile("<description>shop</description>")), tester).errors.empty());
    }
    EmulatedPlatform fresh(world().catalogue);
    FaultyPlatform channel(fresh);
    channel.set({.kind = Fault::Kind::channel_lost, .number = 3});
    RunningDatastore datastore(world().schema, world().table, channel, store);
    try {
        datastore.start();
    } catch (const RpcError& error) {
        fmt::print("{}\n", error.what());
    }
    EXPECT_TRUE(channel.has_happened());
    channel.clear();
    EXPECT_THAT(lines_of(RunningDatastore(world().schema, world().table, channel, store).start().drift),
                testing::IsEmpty());
}

TEST(RestorationStart, AnIntentThatDoesNotFitTheSchemaCanBeGotRidOf)
{
    EmulatedPlatform device(world().catalogue);
    CommitStore store(":memory:");
    store.prepare("ann", "edit-config",
                  R"(<config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><other xmlns="urn:other"/></config>)");
    for (int time = 0; time < 2; ++time) {
        RunningDatastore datastore(world().schema, world().table, device, store);
        EXPECT_NO_THROW(datastore.start());
    }
}

TEST(RestorationStart, AFreshDeviceGetsAllEvenIfAnEditWasInterrupted)
{
    EmulatedPlatform device(world().catalogue);
    CommitStore store(":memory:");
    RunningDatastore first(world().schema, world().table, device, store);
    ASSERT_TRUE(first.edit(request_of(in_profile("<description>shop</description>")), tester).errors.empty());
    ASSERT_TRUE(first.edit(request_of(in_profile("<description>shop</description>", "mail")), tester).errors.empty());
    store.prepare("ann", "edit-config",
                  text_of_edit(first.configuration(), request_of(in_profile("<description>other</description>"))));
    EmulatedPlatform fresh(world().catalogue);
    RunningDatastore datastore(world().schema, world().table, fresh, store);
    const StartOutcome start = datastore.start();
    EXPECT_THAT(lines_of(start.drift), testing::IsEmpty());
}

TEST(RestorationStart, SaysWhyAnInterruptedEditCouldNotBeTakenBack)
{
    Host host;
    const EditRequest request = request_of(in_profile("<description>shop</description>"));
    host.store.prepare("ann", "edit-config", text_of_edit(ConfigTree(), request));
    ASSERT_FALSE(host.device.execute(std::vector{CommandLine{"branch", "system", {}, "profile type ips name \"web\""}},
                                     API_CMD_ADD));
    host.platform.refuses = [](const CommandLine&) { return true; };
    const StartOutcome start = host.datastore.start();
    ASSERT_EQ(start.errors.size(), 1U);
    const CommitRecord record = host.store.history(1).front();
    EXPECT_EQ(record.outcome, CommitOutcome::rollback_failed);
    EXPECT_THAT(record.message, testing::HasSubstr("the device has failed"));
    EXPECT_THAT(record.message, testing::Not(testing::HasSubstr("taken back")));
}

// ------------------------------------------------------------------------------------------------- other steps --

TEST(RestorationEdit, FailedEditsDoNotMakeTheHistoryEndless)
{
    Host host;
    host.datastore.keep_commits(10);
    host.platform.refuses = [](const CommandLine& line) { return line.text.starts_with("description"); };
    for (int i = 0; i < 3000; ++i)
        EXPECT_FALSE(
            host.datastore
                .edit(request_of(in_profile("<description>" + std::string(200, 'x') + "</description>")), tester)
                .errors.empty());
    EXPECT_LT(host.store.history(100000).size(), 3000U);
}

TEST(RestorationEdit, ContinueOnErrorTellsThePlatformOfEveryVirtualSystemThatHasGone)
{
    Host host;
    for (const char* name : {"one", "two"})
        ASSERT_TRUE(
            host.datastore
                .edit(request_of(in_vsys("<profiles><profile><name>p</name></profile></profiles>", name)), tester)
                .errors.empty());
    int asked = 0;
    host.platform.refuses_removal = [&] { return ++asked == 1; };
    const EditOutcome outcome = host.datastore.edit(
        request_of(
            R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
            R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips>)"
            R"(<vsys nc:operation="remove"><name>one</name></vsys><vsys nc:operation="remove"><name>two</name></vsys>)"
            "</user-defined-ips></ips-config>",
            ErrorOption::continue_on_error),
        tester);
    EXPECT_EQ(asked, 2);
    EXPECT_EQ(outcome.pass.removed_vsys.size(), 1U) << "the list is of those that the platform was told of";
    EXPECT_EQ(outcome.effect, Effect::part);
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

TEST(RestorationEdit, APlatformThatThrowsLeavesNoDifferenceUntold)
{
    Host host;
    ASSERT_TRUE(host.datastore
                    .edit(request_of(in_vsys("<profiles><profile><name>p</name></profile></profiles>", "one")), tester)
                    .errors.empty());
    host.platform.throws_at_removal = true;
    EditOutcome outcome;
    try {
        outcome = host.datastore.edit(
            request_of(
                R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention")"
                R"( xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0"><user-defined-ips>)"
                R"(<vsys nc:operation="remove"><name>one</name></vsys><vsys><name>two</name><profiles><profile><name>q</name></profile></profiles></vsys>)"
                "</user-defined-ips></ips-config>"),
            tester);
    } catch (const std::exception& error) {
        fmt::print("thrown: {}\n", error.what());
    }
    EXPECT_FALSE(host.store.open_intent().has_value());
    EXPECT_THAT(host.drift(), testing::IsEmpty());
}

TEST(RestorationEdit, ARecordOfTheHistoryHasItsNumberInTheOutcome)
{
    // A condition is sent once per leaf: the first line says all, the second, the same, is refused.
    Host host;
    const std::string rule = "<signature-rule><name>r</name><basic-conditions><rule-condition><id>0</id><field-name>uri"
                             "</field-name><operator>pattern-match</operator><value>{}</value></rule-condition>"
                             "</basic-conditions></signature-rule>";
    (void)rule;
    RandomWork work(7);
    std::size_t missing = 0;
    std::size_t parts = 0;
    for (int round = 0; round < 600; ++round) {
        const std::string edit = work.edit(host.datastore);
        if (edit.empty())
            continue;
        std::size_t lines = 0;
        const std::size_t first = 1 + work.random()() % 4;
        host.platform.refuses = [&](const CommandLine&) { return lines++ == first; };
        const std::size_t records = host.store.history(100000).size();
        try {
            const EditOutcome outcome = host.datastore.edit(request_of(edit, ErrorOption::stop_on_error), tester);
            parts += outcome.effect == Effect::part ? 1U : 0U;
            if (host.store.history(100000).size() > records && outcome.commit == 0)
                ++missing;
        } catch (const RpcError&) {
            continue;
        }
    }
    fmt::print("{} parts, {} without number\n", parts, missing);
    EXPECT_EQ(missing, 0U);
}

} // namespace
} // namespace qnips::test
