// What a command line may look like, written as in a device's manual:
//
//   signature-set move <name> after <target>      words, and captures of one word or of a text in double quotes
//   description <description...>                   the rest of the line
//   severity <severity:high|low>                   one of these words; gthan=greater-than is kept as the second word
//   ips signature-id <id:1..1024>                  a decimal number within bounds
//   source-ip <ip> [<mask>]                        a part that may be missing
//
// Blanks at the end of a line mean nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qnips
{

// The captured parts of a line by their names, in the order of the line.
class Captures
{
public:
    void add(std::string_view name, std::string value) { parts_.emplace_back(name, std::move(value)); }

    // Null when the line does not have the part.
    [[nodiscard]] const std::string* find(std::string_view name) const;

    // Throws std::out_of_range when the line does not have the part.
    [[nodiscard]] const std::string& at(std::string_view name) const;

    [[nodiscard]] const std::vector<std::pair<std::string_view, std::string>>& all() const { return parts_; }

private:
    std::vector<std::pair<std::string_view, std::string>> parts_;
};

// A word that a line may go on with.
struct NextWord {
    std::string text;         // the word, or the capture as a manual writes it: <id:1..1024>
    std::string_view capture; // what the word is captured as; empty for a word of the command itself
    bool is_literal = true;   // the text can be typed as it stands
};

class CommandPattern
{
public:
    // The text has to outlive the pattern. Throws std::invalid_argument when it is malformed.
    explicit CommandPattern(std::string_view text);

    // Nothing when the line is another command.
    [[nodiscard]] std::optional<Captures> match(std::string_view line) const;

    // What may come behind a line that holds whole words only. Nothing when the line is another command, or whole.
    [[nodiscard]] std::vector<NextWord> next_words(std::string_view line) const;

    [[nodiscard]] std::string_view text() const { return text_; }

    // Names of all parts that a line may carry, optional ones included.
    [[nodiscard]] std::vector<std::string_view> capture_names() const;

private:
    struct Choice {
        std::string_view word;
        std::string_view kept;
    };
    struct Range {
        std::uint32_t min;
        std::uint32_t max;
    };
    struct Part {
        enum class Kind { word, text, rest, choice, number, optional } kind;
        std::string_view name; // the word itself, or what a capture is called
        std::vector<Choice> choices{};
        Range range{};
        std::vector<Part> parts{}; // of an optional part
    };

    static std::vector<Part> parse(std::string_view& text, bool in_brackets);
    static Part parse_capture(std::string_view capture);
    static bool match_all(const std::vector<Part>& parts, std::string_view& line, Captures& captures);
    static bool match_one(const Part& part, std::string_view& line, Captures& captures);
    enum class Walk { failed, within, through };
    static Walk walk(const std::vector<Part>& parts, std::string_view& line, std::vector<NextWord>& next);
    static void add_next(const Part& part, std::vector<NextWord>& next);
    static void collect_names(const std::vector<Part>& parts, std::vector<std::string_view>& names);

    std::string_view text_;
    std::vector<Part> parts_;
};

} // namespace qnips
