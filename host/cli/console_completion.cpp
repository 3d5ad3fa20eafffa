#include "cli/console_completion.h"

#include <fmt/format.h>

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "platform/command_grammar.h"

namespace qnips::cli
{

namespace
{

// Entries of one list: the node that holds them, and what they are called.
struct EntryList {
    DevicePath holder;
    std::string entry;
};

// Where the word before the cursor starts. A text in quotes is one word.
std::size_t start_of_word(std::string_view line)
{
    std::size_t start = 0;
    while (true) {
        start = std::min(line.find_first_not_of(' ', start), line.size());
        if (start == line.size())
            return start;
        const bool is_quoted = line[start] == '"';
        const std::size_t end = line.find(is_quoted ? '"' : ' ', start + 1);
        if (end == std::string_view::npos || (is_quoted && end + 1 == line.size()))
            return start;
        start = end + 1;
    }
}

// The list whose entry a part of the command names; nothing for any other part.
std::optional<EntryList> list_of(const DeviceTree& device, const Place& place, const Command& command,
                                 std::string_view part)
{
    const bool is_rule = command.meaning == Meaning::create_rule || command.meaning == Meaning::remove_rule;
    if (is_rule) {
        DevicePath rules = rule_path(device, place.node, "");
        rules.pop_back();
        return EntryList{std::move(rules), "signature-rule"};
    }
    // The other end of a move is an entry of the same list.
    const bool is_target = part == "target" && command.node.ends_with(']');
    const std::size_t bracket = is_target ? command.node.rfind('[') : command.node.find(fmt::format("[{}]", part));
    if (bracket == std::string_view::npos)
        return std::nullopt;

    EntryList list{place.node, {}};
    std::string_view steps = command.node.substr(0, bracket);
    for (std::size_t slash = steps.find('/'); slash != std::string_view::npos; slash = steps.find('/')) {
        list.holder = below(std::move(list.holder), std::string(steps.substr(0, slash)));
        steps.remove_prefix(slash + 1);
    }
    list.entry = steps;
    return list;
}

// As they are typed: with quotes where a blank asks for them, or where the user has begun with one.
void add_entries(const DeviceTree& device, const EntryList& list, std::string_view word, std::set<std::string>& names)
{
    const DeviceNode* holder = device.find(list.holder);
    if (holder == nullptr)
        return;
    const bool wants_quotes = word.starts_with('"');
    for (auto child = holder->children.lower_bound({list.entry, ""});
         child != holder->children.end() && child->first.name == list.entry; ++child) {
        const std::string& key = child->first.key;
        const bool is_quoted = wants_quotes || key.find(' ') != std::string::npos;
        names.insert(is_quoted ? '"' + key + '"' : key);
    }
}

// What may stand in place of the word: whole words, and hints for what only the user can know.
struct Choices {
    std::set<std::string> words;
    std::set<std::string> hints;
};

void add_command(const DeviceTree& device, const Place& place, const Command& command, std::string_view before,
                 std::string_view word, Choices& choices)
{
    for (const NextWord& next : command.pattern.next_words(before)) {
        (next.is_literal ? choices.words : choices.hints).insert(next.text);
        if (next.capture.empty())
            continue;
        if (const auto list = list_of(device, place, command, next.capture))
            add_entries(device, *list, word, choices.words);
    }
}

void add_console_word(const DeviceTree& device, const CommandPattern& pattern, std::string_view before,
                      std::string_view word, Choices& choices)
{
    for (const NextWord& next : pattern.next_words(before)) {
        (next.is_literal ? choices.words : choices.hints).insert(next.text);
        if (next.capture == "vsys")
            add_entries(device, {{{"user-defined-ips", ""}}, "vsys"}, word, choices.words);
    }
}

std::string common_start(const std::vector<std::string>& words)
{
    std::string start = words.front();
    for (const std::string& word : words) {
        const auto differing = std::ranges::mismatch(start, word).in1;
        start.erase(differing, start.end());
    }
    return start;
}

} // namespace

Completion complete_line(const DeviceTree& device, const Place& place, std::span<const CommandPattern> console_words,
                         std::string_view line)
{
    const std::size_t start = start_of_word(line);
    const std::string_view before = line.substr(0, start);
    const std::string_view word = line.substr(start);
    const std::size_t first = line.find_first_not_of(' ');

    Choices choices;
    if (first != std::string_view::npos && line[first] == ':') {
        for (const CommandPattern& pattern : console_words)
            add_console_word(device, pattern, before, word, choices);
    } else {
        for (const Command& command : commands()) {
            if (command.view == place.view)
                add_command(device, place, command, before, word, choices);
        }
    }

    Completion completion;
    std::ranges::copy_if(choices.words, std::back_inserter(completion.candidates),
                         [&](const std::string& choice) { return choice.starts_with(word); });
    // With nothing typed the user may mean a name of his own as well as one of the words.
    const bool is_open = word.empty() && !choices.hints.empty();
    if (!completion.candidates.empty() && !is_open) {
        completion.insertion = common_start(completion.candidates).substr(word.size());
        if (completion.candidates.size() == 1)
            completion.insertion += ' ';
    }
    if (word.empty())
        completion.candidates.insert(completion.candidates.begin(), choices.hints.begin(), choices.hints.end());
    return completion;
}

} // namespace qnips::cli
