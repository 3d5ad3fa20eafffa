#include "host/store/temporary_folder.h"

#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include <stdlib.h> // NOLINT(modernize-deprecated-headers): mkdtemp is not in <cstdlib>

namespace qnips
{

TemporaryFolder::TemporaryFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "qn-ips-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr)
        throw std::runtime_error("no temporary folder");
    path_ = std::filesystem::canonical(name);
    using std::filesystem::perms;
    std::filesystem::permissions(path_, perms::owner_all | perms::group_read | perms::group_exec | perms::others_read |
                                            perms::others_exec);
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string content_of(const std::string& file)
{
    std::ifstream stream(file, std::ios::binary);
    if (!stream)
        throw std::runtime_error(file + " cannot be read");
    return {std::istreambuf_iterator<char>(stream), {}};
}

void write_file(const std::string& file, const std::string& content)
{
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    stream << content;
    if (!stream.flush())
        throw std::runtime_error(file + " cannot be written");
}

} // namespace qnips
