#include "conformance/line_format.h"

#include <algorithm>
#include <optional>
#include <set>

namespace qnips::conformance
{

namespace
{

// A way in which a value may appear: as it is, with a blank for the slash before its mask, or without the mask.
struct Appearance {
    std::vector<std::string> words;
    std::string placeholder;
};

std::vector<Appearance> appearances(const NamedValue& value)
{
    std::vector<Appearance> all{{split(value.text), value.placeholder}};
    const std::size_t slash = value.text.find('/');
    if (slash == std::string::npos)
        return all;
    const std::string address = value.text.substr(0, slash);
    const std::string name = value.placeholder.substr(1, value.placeholder.size() - 2);
    all.push_back({{address, value.text.substr(slash + 1)}, '<' + name + ":address> <" + name + ":mask>"});
    all.push_back({{address}, '<' + name + ":address>"});
    return all;
}

bool stands_at(const std::vector<std::string>& words, std::size_t at, const std::vector<std::string>& wanted)
{
    return at + wanted.size() <= words.size() &&
           std::equal(wanted.begin(), wanted.end(), words.begin() + static_cast<std::ptrdiff_t>(at));
}

std::vector<std::string> quoted(std::vector<std::string> words)
{
    words.front().insert(0, 1, '"');
    words.back() += '"';
    return words;
}

struct Found {
    std::size_t length = 0;
    std::vector<std::string> candidates;
};

// The longest values that stand at a place.
Found find_values(const std::vector<std::string>& words, std::size_t at, const std::vector<NamedValue>& values)
{
    Found found;
    for (const NamedValue& value : values) {
        for (const Appearance& appearance : appearances(value)) {
            const bool plain = stands_at(words, at, appearance.words);
            if (!plain && !stands_at(words, at, quoted(appearance.words)))
                continue;
            if (appearance.words.size() < found.length)
                continue;
            if (appearance.words.size() > found.length)
                found = {appearance.words.size(), {}};
            found.candidates.push_back(plain ? appearance.placeholder : '"' + appearance.placeholder + '"');
        }
    }
    return found;
}

std::string with_names(std::string text, const std::vector<NamedValue>& keys)
{
    for (const NamedValue& key : keys) {
        const std::size_t at = text.find(key.text);
        if (at != std::string::npos)
            text.replace(at, key.text.size(), key.placeholder);
    }
    return text;
}

} // namespace

std::vector<std::string> split(const std::string& line)
{
    std::vector<std::string> words(1);
    for (const char letter : line) {
        if (letter == ' ')
            words.emplace_back();
        else
            words.back() += letter;
    }
    return words;
}

std::string shown(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : " ") + word;
    if (!words.empty() && words.back().empty())
        text.replace(text.size() - 1, 1, visible_blank);
    return text;
}

std::string Abbreviator::placeholder_for(const std::string& before, const std::vector<std::string>& candidates)
{
    const std::set<std::string> distinct(candidates.begin(), candidates.end());
    if (distinct.size() == 1) {
        after_.emplace(before, candidates.front());
        return candidates.front();
    }
    const auto known = after_.find(before);
    return known != after_.end() && distinct.contains(known->second) ? known->second : candidates.front();
}

LineFormat Abbreviator::line(const test::Line& line, const std::vector<NamedValue>& values,
                             const std::vector<NamedValue>& keys)
{
    LineFormat format;
    format.vsys = line.vsys ? with_names(*line.vsys, keys) : "";
    format.view = with_names(line.view, keys);
    format.view_type = line.view_type.value_or("");
    const std::vector<std::string> words = split(line.line);
    for (std::size_t at = 0; at < words.size();) {
        // What starts a line is always a word of the command.
        const Found found = at == 0 ? Found{} : find_values(words, at, values);
        format.words.push_back(found.length == 0 ? words[at] : placeholder_for(format.words.back(), found.candidates));
        at += std::max<std::size_t>(found.length, 1);
    }
    return format;
}

std::string filled(const std::vector<std::string>& words, const std::vector<NamedValue>& values)
{
    std::string text;
    for (std::size_t at = 0; at < words.size(); ++at) {
        std::string word = words[at];
        for (const NamedValue& value : values) {
            for (const Appearance& appearance : appearances(value)) {
                std::string plain;
                for (const std::string& part : appearance.words)
                    plain += (plain.empty() ? "" : " ") + part;
                const std::size_t found = word.find(appearance.placeholder);
                if (found != std::string::npos)
                    word.replace(found, appearance.placeholder.size(), plain);
            }
        }
        text += (at == 0 ? "" : " ") + word;
    }
    return text;
}

} // namespace qnips::conformance
