// Composition of edits as text.
#include "support/config_text.h"

#include <stdexcept>
#include <utility>

namespace qnips::test
{

std::string nested(const Steps& steps, std::string_view inner)
{
    std::string text;
    for (const Step& step : steps)
        text += '<' + step.name + (step.op.empty() ? "" : " op=\"" + step.op + '"') + '>' + step.content;
    text += inner;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step)
        text += "</" + step->name + '>';
    return text;
}

Steps with_op(Steps steps, int level, std::string_view op)
{
    if (level < 1 || static_cast<std::size_t>(level) > steps.size())
        throw std::invalid_argument("no ancestor at level " + std::to_string(level));
    steps[steps.size() - static_cast<std::size_t>(level)].op = op;
    return steps;
}

std::string leaf(std::string_view name, std::string_view text)
{
    std::string escaped;
    for (const char byte : text) {
        if (byte == '&')
            escaped += "&amp;";
        else if (byte == '<')
            escaped += "&lt;";
        else if (byte == '\r')
            escaped += "&#13;";
        else
            escaped += byte;
    }
    return '<' + std::string(name) + '>' + escaped + "</" + std::string(name) + '>';
}

Steps in_vsys(std::string_view vsys)
{
    return {{"ips-config"}, {"user-defined-ips"}, {"vsys", leaf("name", vsys)}};
}

Steps in_profile(std::string_view vsys, std::string_view profile)
{
    return in_vsys(vsys) / Step{"profiles"} / Step{"profile", leaf("name", profile)};
}

Steps in_signature(std::string_view vsys, std::string_view id)
{
    return in_vsys(vsys) / Step{"user-defined-signatures"} / Step{"signature", leaf("id", id)};
}

Steps operator/(Steps steps, Step below)
{
    steps.push_back(std::move(below));
    return steps;
}

} // namespace qnips::test
