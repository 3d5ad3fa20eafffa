#include "platform/signature_catalogue.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <functional>
#include <istream>
#include <set>
#include <span>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace qnips
{

namespace
{

constexpr std::string_view blanks = " \t\r";
constexpr std::string_view none = "-";

constexpr std::array<std::string_view, 4> severities = {"high", "medium", "low", "information"};
constexpr std::array<std::string_view, 3> targets = {"both", "client", "server"};
constexpr std::array<std::string_view, 5> systems = {"other", "android", "ios", "unix-like", "windows"};
constexpr std::array<std::string_view, 3> actions = {"alert", "block", "allow"};
constexpr std::array<std::string_view, 2> states = {"enable", "disable"};
constexpr std::array<std::string_view, 3> correlations = {"source", "destination", "source-destination"};

constexpr std::size_t category_fields = 3;
constexpr std::size_t signature_fields = 13;

struct Bounds {
    std::uint32_t min;
    std::uint32_t max;
};

// As the YANG module has them.
constexpr Bounds ids = {1025, 16777216};
constexpr Bounds thresholds = {1, 500};
constexpr Bounds intervals = {1, 7200};
constexpr Bounds block_times = {1, 1000};
constexpr std::size_t category_length = 63;
constexpr std::size_t sub_category_length = 127;
constexpr std::size_t application_length = 127;
constexpr std::size_t protocol_length = 63;

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> split(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    for (std::size_t end = text.find(separator); end != std::string_view::npos; end = text.find(separator)) {
        parts.push_back(trimmed(text.substr(0, end)));
        text.remove_prefix(end + 1);
    }
    parts.push_back(trimmed(text));
    return parts;
}

bool is_printable(char character)
{
    return character >= ' ' && character <= '~';
}

} // namespace

// Reads the text line by line into the catalogue. A field that does not fit ends it.
class SignatureCatalogue::Reader
{
public:
    Reader(SignatureCatalogue& catalogue, const std::string& name) : catalogue_(catalogue), name_(name) {}

    void read(std::istream& text);

private:
    [[noreturn]] void refuse(const std::string& reason) const
    {
        throw std::runtime_error(fmt::format("{}:{}: {}", name_, start_, reason));
    }

    void end_line();
    void read_category(std::span<const std::string_view> fields);
    void read_signature(std::span<const std::string_view> fields);
    void add_name(const std::string& name, const std::string& category);
    void set_category(Signature& signature, const std::string& name) const;

    void require_fields(std::span<const std::string_view> fields, std::size_t count) const;
    std::uint32_t number(std::string_view field, std::string_view what, Bounds bounds) const;
    std::string text(std::string_view field, std::string_view what) const;
    std::string word(std::string_view field, std::string_view what, std::size_t max_length) const;
    std::string choice(std::string_view field, std::string_view what, std::span<const std::string_view> choices) const;
    std::optional<Correlation> correlation(std::string_view field) const;

    // The fields of a list, each of them read by `read_item`. Refuses one that stands there twice.
    template <typename ReadItem>
    std::vector<std::string> list(std::string_view field, ReadItem read_item) const;

    SignatureCatalogue& catalogue_;
    const std::string& name_;
    std::string line_;       // with the lines that continue it
    std::size_t start_ = 0;  // where it begins
    std::size_t number_ = 0; // of the line that has been read last
    std::set<std::uint32_t> ids_;
};

void SignatureCatalogue::Reader::read(std::istream& text)
{
    std::string line;
    while (std::getline(text, line)) {
        number_++;
        const bool is_empty = trimmed(line).empty();
        const bool continues = !is_empty && blanks.find(line.front()) != std::string_view::npos;
        if (continues && !line_.empty()) {
            line_ += ' ';
            line_ += trimmed(line);
            continue;
        }
        end_line();
        start_ = number_;
        if (continues)
            refuse("no line above that this one could continue");
        if (!is_empty && line.front() != '#')
            line_ = trimmed(line);
    }
    if (text.bad())
        throw std::runtime_error(fmt::format("{}: cannot be read", name_));
    end_line();
    std::ranges::sort(catalogue_.signatures_, {}, &Signature::id);
}

void SignatureCatalogue::Reader::end_line()
{
    const std::string line = std::exchange(line_, {});
    if (line.empty())
        return;
    const std::vector<std::string_view> fields = split(line, '|');
    if (fields.front() == "category")
        read_category(fields);
    else if (fields.front() == "signature")
        read_signature(fields);
    else
        refuse(fmt::format("'{}' begins no line; 'category' and 'signature' do", fields.front()));
}

void SignatureCatalogue::Reader::read_category(std::span<const std::string_view> fields)
{
    require_fields(fields, category_fields);
    Category category{.name = word(fields[1], "category", category_length), .sub_categories = {}};
    add_name(category.name, category.name);
    if (fields[2] != none) {
        category.sub_categories =
            list(fields[2], [&](std::string_view name) { return word(name, "sub-category", sub_category_length); });
    }
    for (const std::string& name : category.sub_categories)
        add_name(name, category.name);
    catalogue_.categories_.push_back(std::move(category));
}

void SignatureCatalogue::Reader::add_name(const std::string& name, const std::string& category)
{
    if (!catalogue_.category_by_name_.emplace(name, category).second)
        refuse(fmt::format("there is another category or sub-category '{}'", name));
}

void SignatureCatalogue::Reader::read_signature(std::span<const std::string_view> fields)
{
    require_fields(fields, signature_fields);
    Signature signature;
    signature.id = number(fields[1], "number of a signature", ids);
    if (!ids_.insert(signature.id).second)
        refuse(fmt::format("there is another signature {}", signature.id));
    set_category(signature, std::string(fields[2]));
    signature.name = text(fields[3], "name");
    signature.severity = choice(fields[4], "severity", severities);
    signature.target = choice(fields[5], "target", targets);
    signature.operating_systems =
        list(fields[6], [&](std::string_view system) { return choice(system, "operating system", systems); });
    if (fields[7] != none) {
        signature.applications =
            list(fields[7], [&](std::string_view name) { return word(name, "application", application_length); });
    }
    signature.protocol = word(fields[8], "protocol", protocol_length);
    signature.default_action = choice(fields[9], "action", actions);
    signature.default_state = choice(fields[10], "state", states);
    signature.correlation = correlation(fields[11]);
    signature.description = text(fields[12], "description");
    catalogue_.signatures_.push_back(std::move(signature));
}

void SignatureCatalogue::Reader::set_category(Signature& signature, const std::string& name) const
{
    const auto found = catalogue_.category_by_name_.find(name);
    if (found == catalogue_.category_by_name_.end())
        refuse(fmt::format("unknown category '{}'", name));
    signature.category = found->second;
    if (name != signature.category)
        signature.sub_category = name;
    else if (!std::ranges::find(catalogue_.categories_, name, &Category::name)->sub_categories.empty())
        refuse(fmt::format("category '{}' is divided: name one of its sub-categories", name));
}

void SignatureCatalogue::Reader::require_fields(std::span<const std::string_view> fields, std::size_t count) const
{
    if (fields.size() != count)
        refuse(fmt::format("a {} has {} fields, not {}", fields.front(), count, fields.size()));
}

std::uint32_t SignatureCatalogue::Reader::number(std::string_view field, std::string_view what, Bounds bounds) const
{
    std::uint32_t value = 0;
    const char* const end = field.data() + field.size();
    const auto [rest, error] = std::from_chars(field.data(), end, value);
    if (error != std::errc() || rest != end || value < bounds.min || value > bounds.max)
        refuse(fmt::format("'{}' is no {}: {} to {}", field, what, bounds.min, bounds.max));
    return value;
}

std::string SignatureCatalogue::Reader::text(std::string_view field, std::string_view what) const
{
    if (field.empty())
        refuse(fmt::format("the {} is empty", what));
    if (!std::ranges::all_of(field, is_printable))
        refuse(fmt::format("the {} holds more than printable ASCII", what));
    return std::string(field);
}

std::string SignatureCatalogue::Reader::word(std::string_view field, std::string_view what,
                                             std::size_t max_length) const
{
    std::string value = text(field, what);
    if (value.find_first_of(" \"?") != std::string::npos || value == "all" || value == none)
        refuse(fmt::format("'{}' is no {}: one word without '\"' and '?', not 'all'", value, what));
    if (value.size() > max_length)
        refuse(fmt::format("the {} '{}' is longer than {} characters", what, value, max_length));
    return value;
}

std::string SignatureCatalogue::Reader::choice(std::string_view field, std::string_view what,
                                               std::span<const std::string_view> choices) const
{
    if (std::ranges::find(choices, field) == choices.end())
        refuse(fmt::format("'{}' is no {}: {}", field, what, fmt::join(choices, ", ")));
    return std::string(field);
}

std::optional<Correlation> SignatureCatalogue::Reader::correlation(std::string_view field) const
{
    if (field == none)
        return std::nullopt;
    std::vector<std::string_view> words = split(field, ' ');
    std::erase(words, std::string_view());
    if (words.size() != 4)
        refuse(fmt::format("'{}' is no correlation: '-', or hits, seconds, minutes and which hits", field));
    return Correlation{.threshold = number(words[0], "threshold", thresholds),
                       .interval = number(words[1], "interval", intervals),
                       .block_time = number(words[2], "block time", block_times),
                       .correlation = choice(words[3], "correlation", correlations)};
}

template <typename ReadItem>
std::vector<std::string> SignatureCatalogue::Reader::list(std::string_view field, ReadItem read_item) const
{
    std::vector<std::string> items;
    for (const std::string_view part : split(field, ',')) {
        std::string item = read_item(part);
        if (std::ranges::find(items, item) != items.end())
            refuse(fmt::format("'{}' stands there twice", item));
        items.push_back(std::move(item));
    }
    return items;
}

SignatureCatalogue::SignatureCatalogue(std::istream& text, const std::string& name)
{
    Reader(*this, name).read(text);
}

SignatureCatalogue SignatureCatalogue::load(const std::filesystem::path& file)
{
    std::ifstream text(file);
    if (!text.is_open())
        throw std::runtime_error(fmt::format("{}: cannot be read", file.string()));
    return SignatureCatalogue(text, file.string());
}

const Signature* SignatureCatalogue::find(std::uint32_t id) const
{
    const auto found = std::ranges::lower_bound(signatures_, id, {}, &Signature::id);
    return found == signatures_.end() || found->id != id ? nullptr : &*found;
}

bool SignatureCatalogue::is_category(std::string_view name) const
{
    const auto found = category_by_name_.find(name);
    return found != category_by_name_.end() && found->second == name;
}

std::optional<std::string> SignatureCatalogue::category_of(std::string_view sub_category) const
{
    const auto found = category_by_name_.find(sub_category);
    if (found == category_by_name_.end() || found->second == sub_category)
        return std::nullopt;
    return found->second;
}

} // namespace qnips
