// Calls with a value and the comparison with what was promised.
#include "module/value_case.h"

#include <utility>

#include "support/server_test.h"

namespace qnips::test
{

namespace
{

Lines promised_lines(const ValueCase& test)
{
    if (test.line.empty())
        return {};
    Line line = handler_case(test.handler).undo_line;
    if (line.view.empty())
        line = handler_case(test.handler).set_line;
    line.line = test.line;
    return {line};
}

void expect_call(const CallResult& r, const ValueCase& test)
{
    EXPECT_EQ(r.lines, promised_lines(test));
    ClientErrors errors = test.more_errors;
    if (!test.message.empty())
        errors.insert(errors.begin(), {test.code, test.message});
    EXPECT_EQ(r.errors, errors);
    if (test.line.empty()) {
        EXPECT_EQ(r.result, test.message.empty() ? 0 : test.fail_result);
        EXPECT_TRUE(r.commits.empty());
        return;
    }
    EXPECT_EQ(r.result, 0);
    ASSERT_EQ(r.commits.size(), 1U);
    EXPECT_EQ(r.commits[0].operation, test.operation);
    EXPECT_EQ(r.commits[0].lines, r.lines);
}

} // namespace

void expect_value(RecordingServer& server, const ValueCase& test)
{
    const HandlerCase& handler = handler_case(test.handler);
    Steps above = handler.above;
    if (test.group != "another")
        above.back().content = test.group;
    server.fail_result = test.fail_result;

    for (const DebugSetting setting : all_debug_settings) {
        const DebugSwitches switches(setting);
        const CallResult r = handler.call(server, test.op, nested(above, test.node), test.is_delete);
        expect_call(r, test);
        const std::string output = test.output + (test.line.empty() ? "" : test.line_start + test.line + " \r\n");
        EXPECT_EQ(without_line_numbers(r.output),
                  opening_lines(handler, test.op, setting) + (setting.messages ? output : ""));
    }
}

ValueCase sent(const char* name, const char* handler, std::string node, std::string line, int op, unsigned operation)
{
    return {.name = name,
            .handler = handler,
            .node = std::move(node),
            .op = op,
            .line = std::move(line),
            .operation = operation};
}

ValueCase refused(const char* name, const char* handler, std::string node, NC_ERR code, const std::string& message,
                  int op)
{
    return {.name = name,
            .handler = handler,
            .node = std::move(node),
            .op = op,
            .code = code,
            .message = message,
            .output = error_line(message)};
}

ValueCase passed_over(const char* name, const char* handler, std::string node, std::string output, int op)
{
    return {.name = name, .handler = handler, .node = std::move(node), .op = op, .output = std::move(output)};
}

ValueCase in_group(ValueCase test, std::string group)
{
    test.group = std::move(group);
    return test;
}

std::vector<ValueCase> faulty_texts(const char* handler, const char* leaf_name, const std::vector<int>& ops)
{
    return faulty_texts_within(handler, leaf_name, ops, "", "");
}

std::vector<ValueCase> faulty_texts_within(const char* handler, const char* leaf_name, const std::vector<int>& ops,
                                           const std::string& before, const std::string& after)
{
    std::vector<ValueCase> cases;
    const auto within = [&](const std::string& element) { return before + element + after; };
    const std::string bare = within('<' + std::string(leaf_name) + "/>");
    const std::string empty = within('<' + std::string(leaf_name) + " text=''/>");
    for (const int op : ops) {
        cases.push_back(refused("Absent", handler, bare, NC_ERR_MISSING_ELEM, absent_value, op));
        cases.push_back(refused("Empty", handler, empty, NC_ERR_MISSING_ELEM, invalid_value, op));
        for (const char* text : {" true", "true ", "true\t", "\ntrue", " "})
            cases.push_back(
                refused("Blank", handler, within(leaf(leaf_name, text)), NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.push_back(
            refused("Marked", handler, within(leaf(leaf_name, "tr?ue")), NC_ERR_MISSING_ELEM, invalid_value, op));
        cases.back().output = question_mark + error_line(invalid_value);
    }
    return cases;
}

std::string value_name(const testing::TestParamInfo<ValueCase>& test)
{
    return std::string(test.param.handler) + '_' + test.param.name + '_' + std::to_string(test.index);
}

} // namespace qnips::test
