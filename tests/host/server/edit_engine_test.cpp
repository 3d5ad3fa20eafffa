// Whole edits through the engine: the real schema, the real module, and a platform that remembers what it is sent.
#include "server/edit_engine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "callback_fixture.h"
#include "engine_fixture.h"
#include "platform/recording_platform.h"
#include "server/callback_session.h"
#include "transapi/transapi.h"

namespace qnips::test
{
namespace
{

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

// "branch | profile-ips-web (profile-ips) | description x"
std::string text_of_line(const CommandLine& line)
{
    return fmt::format("{} | {}{} | {}", line.vsys.value_or("-"), line.view,
                       line.view_type ? " (" + *line.view_type + ")" : "", line.text);
}

std::vector<std::string> text_of_lines(const std::vector<CommandLine>& lines)
{
    std::vector<std::string> text;
    std::transform(lines.begin(), lines.end(), std::back_inserter(text), text_of_line);
    return text;
}

struct EngineCase {
    const char* title;
    std::string running;
    std::string edit;
    std::string result; // the configuration afterwards
    std::vector<std::string> lines;
    std::vector<std::string> removed_vsys;
};

const std::string web = "<profiles><profile><name>web</name><description>shop</description>"
                        "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>"
                        "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
                        "<action>block</action></command-and-control-domain-filter></profile></profiles>";

std::string public_vsys(const std::string& content)
{
    return "<vsys><name>public</name>" + content + "</vsys>";
}

std::string branch_vsys(const std::string& content)
{
    return "<vsys><name>branch</name>" + content + "</vsys>";
}

std::string all_vsys(const std::string& content)
{
    return ips_config("<user-defined-ips>" + content + "</user-defined-ips>");
}

const std::vector<EngineCase>& engine_cases()
{
    static const std::vector<EngineCase> cases = {
        {"a profile is created with its leaves",
         "",
         branch("<ips-enable>true</ips-enable>" + web),
         branch("<ips-enable>true</ips-enable>" + web),
         {"public | vsys-branch (mgmt-vsys) | assign function ips", R"(branch | system | profile type ips name "web")",
          "branch | profile-ips-web (profile-ips) | description shop",
          "branch | profile-ips-web (profile-ips) | collect-attack-evidence enable",
          "branch | profile-ips-web (profile-ips) | cnc domain-filter enable action block",
          "branch | profile-ips-web (profile-ips) | cnc domain-filter enable action block"},
         {}},
        {"leaves change, come and go",
         branch(web),
         branch("<profiles><profile><name>web</name><description>mail</description>"
                "<collect-attack-evidence-enable nc:operation='delete'/>"
                "<associated-check-enable>true</associated-check-enable></profile></profiles>"),
         branch("<profiles><profile><name>web</name><description>mail</description>"
                "<associated-check-enable>true</associated-check-enable>"
                "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
                "<action>block</action></command-and-control-domain-filter></profile></profiles>"),
         {"branch | profile-ips-web (profile-ips) | undo collect-attack-evidence enable",
          "branch | profile-ips-web (profile-ips) | description mail",
          "branch | profile-ips-web (profile-ips) | assoc-check enable"},
         {}},
        {"a changed leaf takes its unchanged sibling along",
         branch(web),
         branch("<profiles><profile><name>web</name><command-and-control-domain-filter><action>alert</action>"
                "</command-and-control-domain-filter></profile></profiles>"),
         branch("<profiles><profile><name>web</name><description>shop</description>"
                "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>"
                "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
                "<action>alert</action></command-and-control-domain-filter></profile></profiles>"),
         {"branch | profile-ips-web (profile-ips) | cnc domain-filter enable action alert"},
         {}},
        {"a container goes with one line",
         branch(web),
         branch("<profiles><profile><name>web</name><command-and-control-domain-filter nc:operation='delete'/>"
                "</profile></profiles>"),
         branch("<profiles><profile><name>web</name><description>shop</description>"
                "<collect-attack-evidence-enable>true</collect-attack-evidence-enable></profile></profiles>"),
         {"branch | profile-ips-web (profile-ips) | undo cnc domain-filter enable"},
         {}},
        {"a profile goes with one line",
         branch("<ips-enable>true</ips-enable>" + web),
         branch("<profiles><profile nc:operation='delete'><name>web</name></profile></profiles>"),
         branch("<ips-enable>true</ips-enable>"),
         {R"(branch | system | undo profile type ips name "web")"},
         {}},
        {"removals come before additions",
         branch("<profiles><profile><name>a</name></profile><profile><name>b</name></profile></profiles>"),
         branch("<profiles><profile><name>c</name></profile><profile nc:operation='delete'><name>a</name></profile>"
                "<profile nc:operation='delete'><name>b</name></profile></profiles>"),
         branch("<profiles><profile><name>c</name></profile></profiles>"),
         {R"(branch | system | undo profile type ips name "b")", R"(branch | system | undo profile type ips name "a")",
          R"(branch | system | profile type ips name "c")"},
         {}},
        {"values of a leaf-list come and go",
         branch("<exception-domain-name-information><exception-domain-name>a.com</exception-domain-name>"
                "</exception-domain-name-information>"),
         branch("<exception-domain-name-information><exception-domain-name>b.com</exception-domain-name>"
                "<exception-domain-name nc:operation='delete'>a.com</exception-domain-name>"
                "</exception-domain-name-information>"),
         branch("<exception-domain-name-information><exception-domain-name>b.com</exception-domain-name>"
                "</exception-domain-name-information>"),
         {"branch | system | undo cnc domain-filter exception domain-name a.com",
          "branch | system | cnc domain-filter exception domain-name b.com"},
         {}},
        {"a virtual system goes without a line: the platform is told",
         branch("<ips-enable>true</ips-enable>" + web),
         all_vsys("<vsys nc:operation='delete'><name>branch</name></vsys>"),
         "",
         {},
         {"branch"}},
        {"one virtual system goes and another one changes",
         all_vsys(branch_vsys(web) + public_vsys("")),
         all_vsys("<vsys nc:operation='delete'><name>branch</name></vsys>" +
                  public_vsys("<profiles><profile><name>dmz</name></profile></profiles>")),
         all_vsys(public_vsys("<profiles><profile><name>dmz</name></profile></profiles>")),
         {R"(public | system | profile type ips name "dmz")"},
         {"branch"}},
        {"an emptied virtual system stays and sends its lines",
         branch("<ips-enable>false</ips-enable><profiles><profile><name>a</name></profile></profiles>"),
         branch("<ips-enable nc:operation='delete'/><profiles nc:operation='delete'/>"),
         branch(""),
         {"public | vsys-branch (mgmt-vsys) | assign function ips",
          R"(branch | system | undo profile type ips name "a")"},
         {}},
        {"what is there already is not sent again", branch(web), branch(web), branch(web), {}, {}},
    };
    return cases;
}

// An engine over a configuration, with the text of the configuration as it was.
struct Running {
    explicit Running(const std::string& xml, const NodeTable& table = ips_table())
        : engine(ips_schema(), table, ips_tree(xml)), before(exact_text_of(engine.running()))
    {
    }

    PassResult edit(const std::string& xml, CommandPlatform& platform, AfterEdit after = AfterEdit::keep)
    {
        return engine.edit(parse_edit_request(ips_schema(), xml), platform, after);
    }

    // The error that the edit ends with.
    std::optional<RpcError> failure(const std::string& xml, CommandPlatform& platform)
    {
        try {
            edit(xml, platform);
        } catch (const RpcError& error) {
            return error;
        }
        return std::nullopt;
    }

    [[nodiscard]] std::string exact() const { return exact_text_of(engine.running()); }

    EditEngine engine;
    std::string before;
};

TEST(EditEngine, SendsTheLinesOfAnEditAndKeepsItsConfiguration)
{
    for (const EngineCase& test : engine_cases()) {
        SCOPED_TRACE(test.title);
        Running running(test.running);
        RecordingPlatform platform;
        const PassResult pass = running.edit(test.edit, platform);
        EXPECT_TRUE(pass.completed);
        EXPECT_EQ(text_of_lines(platform.accepted_lines()), test.lines);
        EXPECT_EQ(text_of(running.engine.running()), text_of(ips_tree(test.result)));
        EXPECT_EQ(pass.removed_vsys, test.removed_vsys);
        EXPECT_EQ(platform.removed_vsys(), test.removed_vsys);
        EXPECT_THAT(running.exact(), Not(HasSubstr("still marked")));
    }
}

TEST(EditEngine, ADryRunSendsTheSameLinesAndChangesNothing)
{
    for (const EngineCase& test : engine_cases()) {
        SCOPED_TRACE(test.title);
        Running running(test.running);
        RecordingPlatform platform;
        const PassResult pass = running.edit(test.edit, platform, AfterEdit::take_back);
        EXPECT_TRUE(pass.completed);
        EXPECT_EQ(text_of_lines(platform.accepted_lines()), test.lines);
        EXPECT_EQ(running.exact(), running.before);
    }
}

TEST(EditEngine, TestOnlyCallsNothingAndChangesNothing)
{
    const std::string open =
        R"(<edit-config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0"><target><running/></target>)"
        "<test-option>test-only</test-option><config>";
    for (const EngineCase& test : engine_cases()) {
        SCOPED_TRACE(test.title);
        Running running(test.running);
        RecordingPlatform platform;
        const PassResult pass = running.edit(open + test.edit + "</config></edit-config>", platform);
        EXPECT_TRUE(pass.completed);
        EXPECT_THAT(pass.trace, IsEmpty());
        EXPECT_THAT(pass.removed_vsys, IsEmpty());
        EXPECT_THAT(platform.scripts(), IsEmpty());
        EXPECT_THAT(platform.removed_vsys(), IsEmpty());
        EXPECT_EQ(running.exact(), running.before);
    }
}

TEST(EditEngine, TheTraceHasEveryScriptInOrder)
{
    for (const EngineCase& test : engine_cases()) {
        SCOPED_TRACE(test.title);
        Running running(test.running);
        RecordingPlatform platform;
        const PassResult pass = running.edit(test.edit, platform);
        std::vector<RecordingPlatform::Script> traced;
        for (const CallbackRecord& record : pass.trace) {
            EXPECT_EQ(record.result, 0);
            EXPECT_THAT(record.errors, IsEmpty());
            EXPECT_THAT(record.dropped, IsEmpty());
            for (const CommittedScript& script : record.scripts)
                traced.push_back({script.lines, script.operation, true});
        }
        EXPECT_EQ(traced, platform.scripts());
    }
}

// Whichever script is refused: those before it stay sent, none follows, the configuration is what it was, and no
// virtual system is given up.
TEST(EditEngine, ARefusedScriptEndsTheEditWhereverItStands)
{
    for (const EngineCase& test : engine_cases()) {
        for (std::size_t number = 1; number <= test.lines.size(); ++number) {
            SCOPED_TRACE(fmt::format("{}, script {}", test.title, number));
            Running running(test.running);
            RecordingPlatform platform;
            const CommandLine line{.vsys = "v", .view = "the-view", .view_type = {}, .text = "the line"};
            platform.fail_script(number, {.code = NC_ERR_COMMAND_EXECUTE, .message = "Refused.", .line = line});
            const std::optional<RpcError> error = running.failure(test.edit, platform);
            ASSERT_TRUE(error);
            EXPECT_EQ(error->tag(), "operation-failed");
            EXPECT_STREQ(error->what(), R"(Refused. (line "the line" in view the-view))");
            EXPECT_TRUE(error->path().starts_with("/qn-ips:ips-config/user-defined-ips/vsys[name='")) << error->path();
            EXPECT_THAT(platform.scripts(), SizeIs(number));
            EXPECT_EQ(text_of_lines(platform.accepted_lines()),
                      std::vector(test.lines.begin(), test.lines.begin() + static_cast<std::ptrdiff_t>(number) - 1));
            EXPECT_EQ(running.exact(), running.before);
            EXPECT_THAT(platform.removed_vsys(), IsEmpty());
        }
    }
}

TEST(EditEngine, GoesOnAfterARefusedEdit)
{
    Running running("");
    RecordingPlatform platform;
    platform.fail_script(1, {.code = NC_ERR_COMMAND_EXECUTE, .message = "Refused.", .line = {}});
    ASSERT_TRUE(running.failure(branch(web), platform));
    EXPECT_TRUE(running.edit(branch(web), platform).completed);
    EXPECT_EQ(text_of(running.engine.running()), text_of(ips_tree(branch(web))));
}

TEST(EditEngine, AnErrorOfTheModuleReachesTheClientWithTagPathAndText)
{
    Running running(all_vsys(public_vsys("")));
    RecordingPlatform platform;
    const std::optional<RpcError> error =
        running.failure(all_vsys(public_vsys("<ips-enable>true</ips-enable>")), platform);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->tag(), "missing-element");
    EXPECT_EQ(error->path(), "/qn-ips:ips-config/user-defined-ips/vsys[name='public']/ips-enable");
    EXPECT_STREQ(error->what(), "Current vsys name is public, the node is only operated under vsys system.");
    EXPECT_THAT(platform.scripts(), IsEmpty());
    EXPECT_EQ(running.exact(), running.before);
}

TEST(EditEngine, AnInvalidEditReachesNoCallback)
{
    const std::string edits[] = {
        all_vsys(public_vsys("<ips-enable>false</ips-enable>")),
        branch("<profiles><profile><name>web</name><description>has a ? in it</description></profile></profiles>"),
        branch("<profiles><profile nc:operation='delete'><name>none</name></profile></profiles>"),
        branch("<profiles><profile><name>a</name><command-and-control-domain-filter><action>block</action>"
               "</command-and-control-domain-filter></profile></profiles>"),
    };
    for (const std::string& edit : edits) {
        SCOPED_TRACE(edit);
        Running running(branch(web));
        RecordingPlatform platform;
        EXPECT_THROW(running.edit(edit, platform), RpcError);
        EXPECT_THAT(platform.scripts(), IsEmpty());
        EXPECT_EQ(running.exact(), running.before);
    }
}

// --------------------------------------------------------------------------------------- modules that misbehave --

const NodeTable& fake_table()
{
    static const NodeTable table(FakeModule::rows(), ips_schema());
    return table;
}

int fail_with(nc_err** error, NC_ERR code, const char* text)
{
    return fail_nc_err(error, strdup(text), nullptr, 1, code);
}

class FakeEngine : public testing::Test
{
protected:
    FakeModule module_;
    RecordingPlatform platform_;
};

TEST_F(FakeEngine, ACallbackThatSucceedsWithAnErrorIsAWarningAndTheEditStands)
{
    module_.on(Phase::set, "description", [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        fail_with(error, NC_ERR_IN_USE, "Mind the shop.");
        return 0;
    });
    Running running("", fake_table());
    const PassResult pass = running.edit(branch(web), platform_);
    EXPECT_TRUE(pass.completed);
    std::vector<ReportedError> warnings;
    for (const CallbackRecord& record : pass.trace) {
        if (record.has_warning())
            warnings.insert(warnings.end(), record.errors.begin(), record.errors.end());
    }
    EXPECT_THAT(warnings, ElementsAre(ReportedError{NC_ERR_IN_USE, "Mind the shop."}));
    EXPECT_EQ(text_of(running.engine.running()), text_of(ips_tree(branch(web))));
}

TEST_F(FakeEngine, TheFirstOfSeveralErrorsIsTheOneThatTheClientGets)
{
    module_.on(Phase::set, "description", [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        fail_with(error, NC_ERR_BAD_ELEM, "first");
        return fail_with(error, NC_ERR_IN_USE, "second");
    });
    Running running("", fake_table());
    const std::optional<RpcError> error = running.failure(branch(web), platform_);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->tag(), "bad-element");
    EXPECT_STREQ(error->what(), "first");
}

TEST_F(FakeEngine, ACallbackThatFailsWithoutAReasonIsNamed)
{
    module_.on(Phase::removal, "description", [](auto...) { return 7; });
    Running running(branch(web), fake_table());
    const std::optional<RpcError> error = running.failure(
        branch("<profiles><profile><name>web</name><description nc:operation='delete'/></profile></profiles>"),
        platform_);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->tag(), "operation-failed");
    EXPECT_EQ(below_branch(error->path()), "profiles/profile[name='web']/description");
    EXPECT_STREQ(error->what(), "callback_ProfileDescription_Delete has failed with 7 and gives no reason.");
    EXPECT_EQ(running.exact(), running.before);
}

TEST_F(FakeEngine, NothingIsCalledAfterAFailedCallback)
{
    int calls = 0;
    module_.on(Phase::removal, "description", [](auto...) { return 1; });
    module_.on(Phase::set, "description", [&](auto...) { return calls++; });
    Running running("", fake_table());
    EXPECT_TRUE(running.failure(branch(web), platform_));
    EXPECT_EQ(calls, 0);
}

// A removal that was told is hidden from the callbacks that follow.
TEST_F(FakeEngine, RemovalsSeeWhatIsStillThere)
{
    std::vector<std::string> seen;
    module_.on(Phase::removal, "profile", [&](void**, XMLDIFF_OP, xmlNodePtr node, nc_err**) {
        std::string names;
        for (const xmlNode* other = node->parent->children; other != nullptr; other = other->next)
            names += reinterpret_cast<const char*>(other->children->children->content);
        seen.push_back(names);
        return 0;
    });
    Running running(branch("<profiles><profile><name>a</name></profile><profile><name>b</name></profile>"
                           "<profile><name>c</name></profile></profiles>"),
                    fake_table());
    running.edit(branch("<profiles nc:operation='delete'/>"), platform_);
    EXPECT_THAT(seen, ElementsAre("abc", "ab", "a"));
}

TEST_F(FakeEngine, WhatARemovedEntryHoldsIsCoveredByIt)
{
    module_.on(Phase::removal, "profile", [](void**, XMLDIFF_OP, xmlNodePtr, nc_err** error) {
        api_script_cache_lines(nullptr, mutable_text("system"), nullptr, mutable_text("undo profile"));
        msg_dp_zell_head_t header{};
        header.msg_type = API_DP2ZELL_CMD_CONFIG;
        return transapi_comm_with_zell(header, API_CMD_DEL, nullptr, error, nullptr);
    });
    Running running(branch(web), fake_table());
    const PassResult pass = running.edit(
        branch("<profiles><profile nc:operation='delete'><name>web</name></profile></profiles>"), platform_);
    std::vector<std::string> covered;
    for (const CallbackRecord& record : pass.trace) {
        if (record.covered)
            covered.push_back(record.callback);
    }
    EXPECT_THAT(covered, ElementsAre("callback_ProfileCNC_Delete", "callback_ProfileCNC_Action_Delete",
                                     "callback_ProfileCNC_Enable_Delete", "callback_ProfileCAE_Enable_Delete",
                                     "callback_ProfileDescription_Delete"));
}

} // namespace
} // namespace qnips::test
