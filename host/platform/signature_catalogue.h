// The device's predefined signatures and their categories, read from a text file that a user can change. The file's
// format is described in its head (data/signature-catalogue.txt).
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qnips
{

// How many hits in how much time make a correlated hit. What nobody says is as here.
struct Correlation {
    std::uint32_t threshold = 30; // hits
    std::uint32_t interval = 60;  // seconds
    std::uint32_t block_time = 5; // minutes
    std::string correlation = "source-destination";

    bool operator==(const Correlation&) const = default;
};

// Enumerations are kept as the words of the YANG module, which are the device's as well.
struct Signature {
    std::uint32_t id = 0;
    std::string name;
    std::string description;
    std::string severity = "medium";
    std::string target = "both";
    std::vector<std::string> operating_systems;
    std::vector<std::string> applications;
    std::string protocol;
    std::string category;
    std::string sub_category; // empty when the category has none
    std::string default_action = "alert";
    std::string default_state = "enable";
    std::optional<Correlation> correlation; // none: hits are not correlated

    bool operator==(const Signature&) const = default;
};

struct Category {
    std::string name;
    std::vector<std::string> sub_categories;

    bool operator==(const Category&) const = default;
};

class SignatureCatalogue
{
public:
    // Throws std::runtime_error "FILE:LINE: reason" when the file is malformed, "FILE: reason" when it cannot be read.
    static SignatureCatalogue load(const std::filesystem::path& file);

    // Throws likewise; `name` is what the messages call the text.
    explicit SignatureCatalogue(std::istream& text, const std::string& name = "signature catalogue");

    // In the order of their numbers.
    [[nodiscard]] const std::vector<Signature>& signatures() const { return signatures_; }

    // In the order of the file.
    [[nodiscard]] const std::vector<Category>& categories() const { return categories_; }

    // Null when there is no such signature.
    [[nodiscard]] const Signature* find(std::uint32_t id) const;

    // Whether this is a category, not a sub-category.
    [[nodiscard]] bool is_category(std::string_view name) const;

    // The category that the sub-category belongs to; nothing when it is no sub-category.
    [[nodiscard]] std::optional<std::string> category_of(std::string_view sub_category) const;

private:
    class Reader;

    std::vector<Signature> signatures_;
    std::vector<Category> categories_;
    // Both levels by name. A category stands for itself: a command line names the two alike, so that no name is both.
    std::map<std::string, std::string, std::less<>> category_by_name_;
};

} // namespace qnips
