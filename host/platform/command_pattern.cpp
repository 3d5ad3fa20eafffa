#include "platform/command_pattern.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

namespace qnips
{

namespace
{

void skip_blanks(std::string_view& text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

std::string_view take(std::string_view& text, std::size_t length)
{
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(taken.size());
    return taken;
}

// The next word, up to a blank; empty at the end.
std::string_view take_word(std::string_view& line)
{
    skip_blanks(line);
    return take(line, std::min(line.find(' '), line.size()));
}

// The next word, or the next text in double quotes without them; nothing at the end or without the closing quote.
std::optional<std::string> take_text(std::string_view& line)
{
    skip_blanks(line);
    if (line.empty())
        return std::nullopt;
    if (line.front() != '"')
        return std::string(take_word(line));
    const std::size_t end = line.find('"', 1);
    if (end == std::string_view::npos)
        return std::nullopt;
    return std::string(take(line, end + 1).substr(1, end - 1));
}

std::optional<std::uint32_t> number_of(std::string_view word)
{
    std::uint32_t number = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || error != std::errc() || end != word.data() + word.size())
        return std::nullopt;
    return number;
}

} // namespace

const std::string* Captures::find(std::string_view name) const
{
    const auto found = std::ranges::find_if(parts_, [&](const auto& part) { return part.first == name; });
    return found == parts_.end() ? nullptr : &found->second;
}

const std::string& Captures::at(std::string_view name) const
{
    const std::string* value = find(name);
    if (value == nullptr)
        throw std::out_of_range("a command line has no part " + std::string(name));
    return *value;
}

CommandPattern::CommandPattern(std::string_view text) : text_(text)
{
    std::string_view rest = text;
    parts_ = parse(rest, false);
}

std::vector<CommandPattern::Part> CommandPattern::parse(std::string_view& text, bool in_brackets)
{
    std::vector<Part> parts;
    for (skip_blanks(text); !text.empty() && text.front() != ']'; skip_blanks(text)) {
        if (text.front() == '[') {
            text.remove_prefix(1);
            parts.push_back({.kind = Part::Kind::optional, .name = {}, .parts = parse(text, true)});
        } else if (text.front() == '<') {
            const std::size_t end = text.find('>');
            if (end == std::string_view::npos)
                throw std::invalid_argument("a capture of a command pattern does not end");
            parts.push_back(parse_capture(take(text, end + 1).substr(1, end - 1)));
        } else {
            parts.push_back(
                {.kind = Part::Kind::word, .name = take(text, std::min(text.find_first_of(" []"), text.size()))});
        }
    }
    if (in_brackets == text.empty())
        throw std::invalid_argument("the brackets of a command pattern do not match");
    if (in_brackets)
        text.remove_prefix(1);
    return parts;
}

CommandPattern::Part CommandPattern::parse_capture(std::string_view capture)
{
    if (capture.ends_with("..."))
        return {.kind = Part::Kind::rest, .name = capture.substr(0, capture.size() - 3)};
    const std::size_t colon = capture.find(':');
    if (colon == std::string_view::npos)
        return {.kind = Part::Kind::text, .name = capture};

    const std::string_view name = capture.substr(0, colon);
    std::string_view domain = capture.substr(colon + 1);
    if (const std::size_t dots = domain.find(".."); dots != std::string_view::npos) {
        const auto min = number_of(domain.substr(0, dots));
        const auto max = number_of(domain.substr(dots + 2));
        if (!min || !max)
            throw std::invalid_argument("the bounds of a number in a command pattern are no numbers");
        return {.kind = Part::Kind::number, .name = name, .range = {*min, *max}};
    }
    Part part{.kind = Part::Kind::choice, .name = name};
    while (!domain.empty()) {
        const std::string_view choice = take(domain, std::min(domain.find('|'), domain.size()));
        domain.remove_prefix(domain.empty() ? 0 : 1);
        const std::size_t equals = choice.find('=');
        part.choices.push_back(
            {choice.substr(0, equals), equals == std::string_view::npos ? choice : choice.substr(equals + 1)});
    }
    return part;
}

std::optional<Captures> CommandPattern::match(std::string_view line) const
{
    Captures captures;
    if (!match_all(parts_, line, captures))
        return std::nullopt;
    skip_blanks(line);
    if (!line.empty())
        return std::nullopt;
    return captures;
}

// An optional part is there as a whole or not at all; what follows never starts with the same word, so that there is
// nothing to try twice.
bool CommandPattern::match_all(const std::vector<Part>& parts, std::string_view& line, Captures& captures)
{
    for (const Part& part : parts) {
        if (part.kind != Part::Kind::optional) {
            if (!match_one(part, line, captures))
                return false;
            continue;
        }
        std::string_view rest = line;
        Captures with_part = captures;
        if (match_all(part.parts, rest, with_part)) {
            line = rest;
            captures = std::move(with_part);
        }
    }
    return true;
}

bool CommandPattern::match_one(const Part& part, std::string_view& line, Captures& captures)
{
    switch (part.kind) {
    case Part::Kind::word:
        return take_word(line) == part.name;
    case Part::Kind::rest:
        skip_blanks(line);
        if (line.empty())
            return false;
        captures.add(part.name, std::string(take(line, line.size())));
        return true;
    case Part::Kind::choice: {
        const std::string_view word = take_word(line);
        const auto found = std::ranges::find(part.choices, word, &Choice::word);
        if (found == part.choices.end())
            return false;
        captures.add(part.name, std::string(found->kept));
        return true;
    }
    case Part::Kind::number: {
        const std::string_view word = take_word(line);
        const auto number = number_of(word);
        if (!number || *number < part.range.min || *number > part.range.max)
            return false;
        captures.add(part.name, std::to_string(*number));
        return true;
    }
    case Part::Kind::text: {
        std::optional<std::string> text = take_text(line);
        if (!text)
            return false;
        captures.add(part.name, std::move(*text));
        return true;
    }
    case Part::Kind::optional:
        break;
    }
    return false;
}

std::vector<NextWord> CommandPattern::next_words(std::string_view line) const
{
    std::vector<NextWord> next;
    walk(parts_, line, next);
    return next;
}

// Goes along the parts as far as the line does. Where it ends, an optional part and what stands behind it may follow.
CommandPattern::Walk CommandPattern::walk(const std::vector<Part>& parts, std::string_view& line,
                                          std::vector<NextWord>& next)
{
    Captures unused;
    for (const Part& part : parts) {
        skip_blanks(line);
        if (part.kind == Part::Kind::optional) {
            std::string_view rest = line;
            const Walk inner = walk(part.parts, rest, next);
            if (inner == Walk::within && !line.empty())
                return inner;
            if (inner == Walk::through)
                line = rest;
        } else if (line.empty()) {
            add_next(part, next);
            return Walk::within;
        } else if (!match_one(part, line, unused)) {
            return Walk::failed;
        }
    }
    return Walk::through;
}

void CommandPattern::add_next(const Part& part, std::vector<NextWord>& next)
{
    const std::string name(part.name);
    switch (part.kind) {
    case Part::Kind::word:
        next.push_back({.text = name, .capture = {}});
        break;
    case Part::Kind::choice:
        for (const Choice& choice : part.choices)
            next.push_back({.text = std::string(choice.word), .capture = part.name});
        break;
    case Part::Kind::number:
        next.push_back(
            {.text = '<' + name + ':' + std::to_string(part.range.min) + ".." + std::to_string(part.range.max) + '>',
             .capture = part.name,
             .is_literal = false});
        break;
    case Part::Kind::rest:
    case Part::Kind::text:
        next.push_back({.text = '<' + name + (part.kind == Part::Kind::rest ? "...>" : ">"),
                        .capture = part.name,
                        .is_literal = false});
        break;
    case Part::Kind::optional:
        break;
    }
}

std::vector<std::string_view> CommandPattern::capture_names() const
{
    std::vector<std::string_view> names;
    collect_names(parts_, names);
    return names;
}

void CommandPattern::collect_names(const std::vector<Part>& parts, std::vector<std::string_view>& names)
{
    for (const Part& part : parts) {
        if (part.kind == Part::Kind::optional)
            collect_names(part.parts, names);
        else if (part.kind != Part::Kind::word)
            names.push_back(part.name);
    }
}

} // namespace qnips
