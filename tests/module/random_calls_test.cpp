// More than a million calls by chance: every handler, directly and through both of its entry points, with every
// operation, in edits and with answers of the server that nobody has thought of. What holds for all of them is asserted
// here; the sanitizers see the rest.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

#include "module/handler_case.h"
#include "module/node_table.h"
#include "module/random_edit.h"
#include "quorin-intrusion-prevention-core/handlers/handlers.h"
#include "support/captured_output.h"
#include "support/server_test.h"

namespace
{

using namespace qnips::test;

constexpr std::size_t handler_count = 97;
constexpr std::size_t edits_per_handler = 180;
constexpr std::size_t calls_per_setting = 16; // of the debug switches
constexpr std::size_t calls_per_edit = calls_per_setting * all_debug_settings.size();
static_assert(handler_count * edits_per_handler * calls_per_edit >= 1'000'000);
static_assert(edits_per_handler * calls_per_edit >= 10 * 256, "every operation, and not only once");

struct Target {
    std::string name;
    TableNode node;
    Handler handler = nullptr;
    FlagHandler flag_handler = nullptr;
    std::string xml; // a usual edit
    std::string xpath;
    EditWords words{};
    bool sends = true; // there are edits in which it sends a line
    unsigned seed = 0;

    friend void PrintTo(const Target& target, std::ostream* out) { *out << target.name << " seed " << target.seed; }
};

// Two handlers send nothing and have no case.
Target silent_target(const std::string& name)
{
    Target target;
    target.name = name;
    target.sends = false;
    if (name == "IPS_UD_SigAssociatedRuleProtocol") {
        Steps steps = in_signature("branch", "7");
        steps.back().content += leaf("associated-enable", "true");
        target.handler = IPS_UD_SigAssociatedRuleProtocol;
        target.xml =
            nested(steps / Step{"signature-rule-information"} / Step{"associated-rule"}, leaf("protocol", "tcp"));
        target.xpath = "//protocol";
    } else {
        target.handler = IPS_UD_ProContDnsReqEndType;
        target.xml = nested(in_profile("branch", "webguard") / Step{"protocol-controlling"} / Step{"dns-check"} /
                                Step{"request-type", leaf("start-type", "1") + leaf("action", "alert")},
                            leaf("end-type", "255"));
        target.xpath = "//end-type";
    }
    return target;
}

Target target_of(const TableNode& node)
{
    for (const HandlerCase& test : handler_cases()) {
        if (node.handler != test.name)
            continue;
        Target target;
        target.name = test.name;
        target.handler = test.handler;
        target.flag_handler = test.flag_handler;
        target.xml = nested(test.above, test.node);
        target.xpath = test.xpath;
        return target;
    }
    return silent_target(node.handler);
}

// The names of a path's direct children.
std::vector<std::string> children_of(const std::string& path)
{
    std::vector<std::string> names;
    for (const TableNode& node : node_table()) {
        if (node.path.substr(0, node.path.rfind('/')) == path)
            names.push_back(path_names(node.path).back());
    }
    return names;
}

std::vector<Target> targets()
{
    EditWords words;
    for (const HandlerCase& test : handler_cases())
        learn_texts(words, nested(test.above, test.node));
    std::vector<Target> all;
    for (const TableNode& node : handled_nodes()) {
        Target target = target_of(node);
        target.node = node;
        target.words = words;
        target.words.beside = children_of(node.path.substr(0, node.path.rfind('/')));
        target.words.inside = children_of(node.path);
        target.seed = 20170531U + static_cast<unsigned>(all.size());
        all.push_back(target);
    }
    return all;
}

// These undo a condition and send it again: where it cannot be composed again, the line that undoes is left behind and
// the refusal tells the server to drop it.
bool leaves_lines_behind(const std::string& handler)
{
    static const std::set<std::string> handlers = {"IPS_UD_SigRuleBasicCondOffset", "IPS_UD_SigRuleBasicCondDepth",
                                                   "IPS_UD_SigRuleBasicCondDirection",
                                                   "IPS_UD_SigRuleBasicCondHTTPMethod"};
    return handlers.contains(handler);
}

// What a handler has come to.
struct Seen {
    std::size_t calls = 0;
    std::size_t with_lines = 0;
    std::size_t with_errors = 0;
    std::set<int> operations;
};

class RandomCalls : public ServerTestBase<testing::TestWithParam<Target>>
{
protected:
    // The faults of the calls with one setting, in words. Nothing is printed here: it would not be seen.
    std::vector<std::string> call_often(xmlNode* node, std::size_t first_operation)
    {
        std::vector<std::string> faults;
        for (std::size_t i = 0; i < calls_per_setting; ++i) {
            const int op = operation_of_bits((first_operation + i) % 256);
            answer_by_chance();
            const CallResult r = call(node, op);
            const std::string fault = judge(r);
            if (!fault.empty())
                faults.push_back(op_text(op) + ": " + fault);
            seen_.operations.insert(op);
            seen_.calls += 1;
            seen_.with_lines += static_cast<std::size_t>(!r.lines.empty());
            seen_.with_errors += static_cast<std::size_t>(!r.errors.empty());
        }
        return faults;
    }

    Seen seen_;
    Random random_{GetParam().seed};

private:
    CallResult call(xmlNode* node, int op)
    {
        const Target& target = GetParam();
        const std::size_t way = random_.below(4);
        if (way < 2) {
            const transapi_callback entry = way == 0 ? target.node.set.function : target.node.remove.function;
            return server.call_at(node, op, [&](const API_ENV_S* env) {
                return entry(server.data(), static_cast<XMLDIFF_OP>(op), env->node, server.error_slot());
            });
        }
        const int is_delete = static_cast<int>(random_.below(3));
        return server.call_at(node, op, [&](API_ENV_S* env) {
            return target.flag_handler != nullptr ? target.flag_handler(op, env->node, env, is_delete)
                                                  : target.handler(op, env->node, env);
        });
    }

    void answer_by_chance()
    {
        static constexpr std::array<int, 6> commit_results{0, 0, 0, 0, 77, -1};
        // A server that thinks nothing of an error must not bring the module down.
        static constexpr std::array<int, 5> fail_results{1, 1, 42, -1, 0};
        server.commit_result = random_.one_of(commit_results);
        server.fail_result = random_.one_of(fail_results);
        server.cache_result = random_.once_in(4) ? 1 : 0;
        server.answers.clear();
        if (GetParam().name != "IPS_UD_ProfileSigSet" || random_.once_in(4))
            return;
        std::string name(random_.below(80), 's');
        if (!random_.once_in(4))
            name += '\0';
        server.answers.push_back({.result = random_.once_in(4) ? 1 : 0, .payload = name});
    }

    // Empty when all that was done is in order.
    [[nodiscard]] std::string judge(const CallResult& r) const
    {
        if (r.commits.size() > 1)
            return "commits more than once";
        if (!r.commits.empty() && server.commit_result != 0 && r.result == 0)
            return "a failed commit is not returned";
        const bool may_be_left = leaves_lines_behind(GetParam().name) && !r.errors.empty() && r.result != 0;
        if (!r.lines.empty() && r.commits.empty() && !may_be_left)
            return "a line is not committed";
        if (!r.commits.empty() && r.commits[0].lines != r.lines)
            return "a line is cached behind the commit";
        if (std::ranges::any_of(r.lines, [](const Line& line) { return line.view.empty(); }))
            return "a line has no view";
        for (const ClientError& error : r.errors) {
            const bool known = error.code == NC_ERR_OP_FAILED || error.code == NC_ERR_INVALID_VALUE ||
                               error.code == NC_ERR_MISSING_ELEM || error.code == NC_ERR_BAD_ELEM;
            if (!known || error.message.value_or("").empty() || error.second || error.kind != 1)
                return "an error is " + testing::PrintToString(error);
        }
        if (r.cmd_oper < API_CMD_ADD || r.cmd_oper > API_CMD_MOD)
            return "the command operation is " + std::to_string(r.cmd_oper);
        return "";
    }
};

TEST_P(RandomCalls, KeepWhatHoldsForAllHandlers)
{
    for (std::size_t i = 0; i < edits_per_handler; ++i) {
        const EditTree tree(GetParam().xml);
        xmlNode* node = tree.find(GetParam().xpath);
        change_edit(node, GetParam().words, random_);
        const std::string edit = edit_text(node);
        std::size_t operation = i * calls_per_edit;
        for (const DebugSetting setting : all_debug_settings) {
            const DebugSwitches switches(setting);
            std::vector<std::string> faults;
            const std::string output = captured_output([&] { faults = call_often(node, operation); });
            operation += calls_per_setting;
            EXPECT_EQ(faults, std::vector<std::string>{});
            if (!setting.messages && !setting.traces) {
                EXPECT_EQ(output, "");
            }
        }
        EXPECT_EQ(edit_text(node), edit) << "the edit belongs to the server";
        ASSERT_FALSE(HasFailure()) << edit;
    }
    EXPECT_EQ(seen_.operations.size(), 256U);
    if (GetParam().sends) {
        EXPECT_GT(seen_.with_lines, seen_.calls / 20) << "of " << seen_.calls;
    } else {
        EXPECT_EQ(seen_.with_lines, 0U);
    }
    EXPECT_GT(seen_.with_errors, seen_.calls / 20) << "of " << seen_.calls;
    EXPECT_EQ(server.allocated_replies(), server.released_replies());
}

TEST(RandomCallsInAll, ReachEveryHandler)
{
    EXPECT_EQ(targets().size(), handler_count);
}

std::string handler_name(const testing::TestParamInfo<Target>& test)
{
    return test.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, RandomCalls, testing::ValuesIn(targets()), handler_name);

} // namespace
