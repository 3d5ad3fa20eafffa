#include "platform/file_platform.h"

#include <fstream>
#include <sstream>

#include "transapi/netconf_error.h"

namespace qnips
{

namespace
{

PlatformAnswer content(const std::optional<std::filesystem::path>& file, const std::string& what)
{
    if (!file)
        return PlatformAnswer::failure({NC_ERR_OP_FAILED, "No file holds the platform's " + what + ".", std::nullopt});
    std::ifstream stream(*file, std::ios::binary);
    std::ostringstream text;
    text << stream.rdbuf();
    if (!stream.is_open() || stream.bad() || std::filesystem::is_directory(*file))
        return PlatformAnswer::failure({NC_ERR_OP_FAILED, file->string() + " cannot be read.", std::nullopt});
    std::string answer = std::move(text).str();
    return answer.empty() ? PlatformAnswer::none() : PlatformAnswer::of(std::move(answer));
}

} // namespace

PlatformAnswer FilePlatform::configuration()
{
    return content(answers_.configuration, "configuration");
}

PlatformAnswer FilePlatform::state()
{
    return content(answers_.state, "state");
}

std::optional<PlatformError> FilePlatform::execute(std::span<const CommandLine> script, int)
{
    if (script.empty())
        return std::nullopt;
    return PlatformError{NC_ERR_OP_FAILED, "A platform that answers from files executes no commands.", script.front()};
}

std::optional<PlatformError> FilePlatform::remove_vsys(std::string_view)
{
    return std::nullopt;
}

PlatformAnswer FilePlatform::first_signature_set(std::string_view, std::string_view)
{
    return PlatformAnswer::none();
}

} // namespace qnips
