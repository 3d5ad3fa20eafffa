// A folder of a test's own, and reading and writing files in it.
#pragma once

#include <filesystem>
#include <string>

namespace qnips
{

class TemporaryFolder
{
public:
    TemporaryFolder(); // everybody may look into it
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::string file(const std::string& name) const { return (path_ / name).string(); }

private:
    std::filesystem::path path_;
};

std::string content_of(const std::string& file);
void write_file(const std::string& file, const std::string& content);

} // namespace qnips
