// Why a module is refused: every reason at once, so that its developer need not find them one by one.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qnips
{

class LoadError : public std::runtime_error
{
public:
    // what() is the subject ("FILE is refused") followed by one line for each finding.
    LoadError(std::string_view subject, std::vector<std::string> findings)
        : std::runtime_error(listed(subject, findings)), findings_(std::move(findings))
    {
    }

    [[nodiscard]] const std::vector<std::string>& findings() const noexcept { return findings_; }

private:
    static std::string listed(std::string_view subject, const std::vector<std::string>& findings)
    {
        std::string text = std::string(subject) + ":";
        for (const std::string& finding : findings)
            text += "\n  " + finding;
        return text;
    }

    std::vector<std::string> findings_;
};

} // namespace qnips
