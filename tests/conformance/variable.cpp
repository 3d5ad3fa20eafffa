#include "conformance/variable.h"

#include <algorithm>
#include <set>

namespace qnips::conformance
{

namespace
{

bool is_address(const std::string& text)
{
    return text.find(':') != std::string::npos ||
           (std::ranges::count(text, '.') == 3 && text.find_first_not_of("0123456789./") == std::string::npos);
}

bool is_number(const std::string& text)
{
    return text.find_first_not_of("0123456789") == std::string::npos;
}

Choice with_text(ElementId leaf, const std::string& label, const std::string& text)
{
    return {.label = label, .value = text, .changes = {{leaf, Change::Kind::text, text}}};
}

// The texts at a path in all samples, the given one first, one of each shape.
std::vector<std::string> texts_by_shape(const Samples& samples, const std::string& path, const std::string& first)
{
    std::vector<std::string> texts{first};
    std::set<std::string> shapes{shape_of_text(first)};
    for (const Sample& sample : samples) {
        for (const ElementId leaf : sample.instances(path)) {
            if (shapes.insert(shape_of_text(sample.text_of(leaf))).second)
                texts.push_back(sample.text_of(leaf));
        }
    }
    return texts;
}

// The platform answers the question for a profile's first signature set with its name, ended by a zero.
test::Answer first_entry(const std::string& name)
{
    return {.result = 0, .payload = name + '\0'};
}

} // namespace

std::string shape_of_text(const std::string& text)
{
    if (is_number(text))
        return "a number";
    if (is_address(text)) {
        const std::string family = text.find(':') == std::string::npos ? "IPv4" : "IPv6";
        return family + (text.find('/') == std::string::npos ? "" : " with a mask");
    }
    return text.find(' ') == std::string::npos ? "without blanks" : "with a blank";
}

std::optional<ElementId> range_start(const Sample& sample, ElementId leaf)
{
    const std::string name = last_step(sample.path_of(leaf));
    const auto parent = sample.parent(leaf);
    if (!name.starts_with("end-") || !parent)
        return std::nullopt;
    return sample.child(*parent, "start-" + name.substr(4));
}

Variable leaf_variable(const Samples& samples, const Sample& sample, ElementId leaf, const SchemaFacts& facts,
                       bool may_be_absent)
{
    const std::string path = sample.path_of(leaf);
    Variable variable{'`' + last_step(path) + '`', '<' + last_step(path) + '>', leaf, !facts.words.empty()};
    for (const std::string& word : facts.words)
        variable.choices.push_back(with_text(leaf, '`' + word + '`', word));
    // The combination of the sample stands first: what a run starts from.
    std::stable_partition(variable.choices.begin(), variable.choices.end(),
                          [&](const Choice& choice) { return choice.value == sample.text_of(leaf); });
    if (facts.words.empty()) {
        for (const std::string& text : texts_by_shape(samples, path, sample.text_of(leaf)))
            variable.choices.push_back(with_text(leaf, shape_of_text(text), text));
    }
    const auto start = range_start(sample, leaf);
    if (start && facts.range) {
        const std::string name = '`' + last_step(sample.path_of(*start)) + '`';
        variable.choices.front().label = "other than " + name;
        variable.choices.push_back(with_text(leaf, "the same as " + name, sample.text_of(*start)));
    }
    if (may_be_absent && !facts.mandatory && !facts.key)
        variable.choices.push_back({"absent", "", true, {{leaf, Change::Kind::gone}}});
    return variable;
}

std::vector<Variable> order_variables(const Sample& sample, ElementId entry)
{
    const auto before = sample.previous(entry);
    if (!before)
        return {};
    const ElementId name = sample.children(*before).front();
    Variable place{"the entry before it", "<preceding " + last_step(sample.path_of(name)) + '>', name, false};
    place.choices.push_back(with_text(name, "with no blank in its name", sample.text_of(name)));
    place.choices.push_back(with_text(name, "with a blank in its name", "all others"));
    place.choices.push_back({"missing", "", false, {{*before, Change::Kind::gone}}});

    Variable first{"the device's first entry", "<first " + last_step(sample.path_of(name)) + '>', name, false};
    first.choices.push_back({"unknown", ""});
    first.choices.push_back({"with no blank in its name", "postfix", false, {}, first_entry("postfix")});
    first.choices.push_back({"with a blank in its name", "old ones", false, {}, first_entry("old ones")});
    return {place, first};
}

} // namespace qnips::conformance
