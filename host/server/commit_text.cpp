#include "server/commit_text.h"

#include <fmt/format.h>

namespace qnips
{

namespace
{

void append_lines(std::string& text, const PassResult& pass)
{
    for (const CallbackRecord& record : pass.trace) {
        for (const CommittedScript& script : record.scripts) {
            for (const CommandLine& line : script.lines)
                text += fmt::format("{}  ({})\n", line.text, place_of(line));
        }
    }
}

} // namespace

std::string lines_of(const PassResult& pass, const std::vector<PassResult>& more)
{
    std::string text;
    append_lines(text, pass);
    for (const PassResult& other : more)
        append_lines(text, other);
    return text;
}

std::string describe(const std::vector<RpcError>& errors)
{
    std::string text;
    for (const RpcError& error : errors)
        text += fmt::format("{}{}{}{}", text.empty() ? "" : "\n", error.path(), error.path().empty() ? "" : ": ",
                            error.what());
    return text;
}

} // namespace qnips
