#include "conformance/combinations.h"

#include <algorithm>
#include <set>
#include <stdexcept>

namespace qnips::conformance
{

namespace
{

constexpr std::size_t most_combinations = 20000;

// Grows the set of variables until the runs ask for no further leaf.
class Search
{
public:
    Search(Workbench& bench, const ModuleNode& node, const Sample& sample, ElementId target, const Situation& situation)
        : bench_(bench), node_(node), situation_(situation), found_{&sample, target, {}, {}}
    {
    }

    Combinations run()
    {
        add_own_leaves();
        add_leaves_nearby();
        for (Variable& variable : order())
            found_.variables.push_back(std::move(variable));
        do
            run_all();
        while (add_leaves_asked_for());
        return std::move(found_);
    }

private:
    const Sample& sample() const { return *found_.sample; }

    std::vector<Variable> order()
    {
        if (!bench_.facts(node_.path).ordered_by_user)
            return {};
        return order_variables(sample(), found_.target);
    }

    bool is_known(ElementId leaf) const
    {
        return std::ranges::any_of(found_.variables, [&](const Variable& known) { return known.element == leaf; });
    }

    Variable variable_of(ElementId leaf)
    {
        return leaf_variable(bench_.samples(), sample(), leaf, bench_.facts(sample(), leaf), leaf != found_.target);
    }

    bool is_leaf(ElementId element) { return bench_.facts(sample(), element).shape == NodeShape::leaf; }

    void add_own_leaves()
    {
        if (bench_.facts(node_.path).is_value())
            found_.variables.push_back(variable_of(found_.target));
        for (const ElementId child : sample().children(found_.target)) {
            if (is_leaf(child))
                found_.variables.push_back(variable_of(child));
        }
    }

    // Leaves beside the node and in containers beside it, which callbacks can reach without asking the server.
    std::vector<ElementId> leaves_nearby()
    {
        std::vector<ElementId> leaves;
        const auto parent = sample().parent(found_.target);
        if (!parent)
            return leaves;
        for (const ElementId beside : sample().children(*parent)) {
            if (beside == found_.target)
                continue;
            if (is_leaf(beside))
                leaves.push_back(beside);
            if (bench_.facts(sample(), beside).shape == NodeShape::container)
                std::ranges::copy_if(sample().children(beside), std::back_inserter(leaves),
                                     [&](ElementId leaf) { return is_leaf(leaf); });
        }
        return leaves;
    }

    Reply call(const std::vector<const Choice*>& choices)
    {
        Edit edit{&sample(), found_.target, &situation_};
        for (const Choice* choice : choices) {
            edit.changes.insert(edit.changes.end(), choice->changes.begin(), choice->changes.end());
            if (choice->answer)
                edit.answers.push_back(*choice->answer);
        }
        return call_node(bench_.server(), node_, edit);
    }

    // Those that make a difference for some value of the node's own.
    void add_leaves_nearby()
    {
        const auto own = found_.variables;
        for (const ElementId leaf : leaves_nearby()) {
            const Variable variable = variable_of(leaf);
            if (!bench_.facts(sample(), leaf).key && makes_a_difference(variable, own))
                found_.variables.push_back(variable);
        }
    }

    bool makes_a_difference(const Variable& variable, const std::vector<Variable>& own)
    {
        static const Choice as_it_is{};
        std::vector<const Choice*> starts{&as_it_is};
        for (const Variable& one : own) {
            for (const Choice& choice : one.choices)
                starts.push_back(&choice);
        }
        for (const Choice* start : starts) {
            const Reply before = call({start});
            for (const Choice& choice : variable.choices) {
                const Reply reply = call({start, &choice});
                if (reply.lines != before.lines || reply.errors != before.errors)
                    return true;
            }
        }
        return false;
    }

    bool add_leaves_asked_for()
    {
        std::set<ElementId> leaves;
        for (const Combination& one : found_.all) {
            for (const test::KeyLookup& lookup : one.reply.lookups) {
                std::optional<ElementId> above = found_.target;
                for (int level = 0; level < lookup.level && above; ++level)
                    above = sample().parent(*above);
                const auto leaf = above ? sample().child(*above, lookup.name) : std::nullopt;
                if (leaf && !is_known(*leaf) && !bench_.facts(sample(), *leaf).key)
                    leaves.insert(*leaf);
            }
        }
        for (const ElementId leaf : leaves)
            found_.variables.push_back(variable_of(leaf));
        return !leaves.empty();
    }

    void run_all()
    {
        std::size_t count = 1;
        for (const Variable& variable : found_.variables)
            count *= variable.choices.size();
        if (count > most_combinations)
            throw std::runtime_error("too many combinations of " + node_.path);
        found_.all.clear();
        for (std::size_t number = 0; number < count; ++number)
            run_one(number);
    }

    void run_one(std::size_t number)
    {
        Combination one{std::vector<std::size_t>(found_.variables.size()), {}};
        std::vector<const Choice*> choices;
        for (std::size_t at = found_.variables.size(); at-- > 0;) {
            const Variable& variable = found_.variables[at];
            one.choices[at] = number % variable.choices.size();
            number /= variable.choices.size();
            choices.push_back(&variable.choices[one.choices[at]]);
        }
        one.reply = call(choices);
        found_.all.push_back(std::move(one));
    }

    Workbench& bench_;
    const ModuleNode& node_;
    const Situation& situation_;
    Combinations found_;
};

const Choice& choice_of(const Combinations& combinations, const Combination& one, std::size_t variable)
{
    return combinations.variables[variable].choices[one.choices[variable]];
}

bool is_only_one_with_its_value(const Combinations& combinations, const Combination& one, std::size_t variable)
{
    const std::string& value = choice_of(combinations, one, variable).value;
    for (std::size_t other = 0; other < combinations.variables.size(); ++other) {
        if (other != variable && choice_of(combinations, one, other).value == value)
            return false;
    }
    return true;
}

// The words of a type that stand in lines as they are. One alone may be chance: a keyword that is spelled like the
// value.
std::set<std::string> words_passed_on(const Combinations& combinations, std::size_t variable)
{
    std::set<std::string> passed;
    for (const Combination& one : combinations.all) {
        const std::string& value = choice_of(combinations, one, variable).value;
        if (value.empty() || !is_only_one_with_its_value(combinations, one, variable))
            continue;
        for (const test::Line& line : one.reply.lines) {
            const auto words = split(line.line);
            if (std::ranges::find(words.begin() + 1, words.end(), value) != words.end())
                passed.insert(value);
        }
    }
    return passed.size() > 1 ? passed : std::set<std::string>{};
}

std::vector<NamedValue> fixed_values(const Combinations& combinations, const std::vector<EntryKey>& keys)
{
    std::vector<NamedValue> values;
    for (std::size_t at = 0; at < keys.size(); ++at) {
        const Sample& sample = *combinations.sample;
        const bool nearest = at + 1 == keys.size();
        const std::string name = nearest ? last_step(sample.path_of(keys[at].leaf)) : keys[at].entry;
        const bool varies = std::ranges::any_of(
            combinations.variables, [&](const Variable& variable) { return variable.element == keys[at].leaf; });
        if (!varies)
            values.push_back({sample.text_of(keys[at].leaf), '<' + name + '>'});
    }
    return values;
}

Outcome outcome_of(const Reply& reply, const std::vector<NamedValue>& values, const std::vector<NamedValue>& names,
                   Abbreviator& abbreviator)
{
    Outcome outcome;
    for (const test::Line& line : reply.lines)
        outcome.lines.push_back(abbreviator.line(line, values, names));
    outcome.operation = reply.operation;
    outcome.refused = reply.refused;
    for (const test::ClientError& error : reply.errors)
        outcome.errors.emplace_back(error.code, error.message.value_or(""));
    return outcome;
}

std::string listed(const Variable& variable, const std::vector<std::size_t>& choices)
{
    std::string text;
    for (const std::size_t choice : choices)
        text += (text.empty() ? "" : choice == choices.back() ? " or " : ", ") + variable.choices[choice].label;
    return text;
}

std::string condition_text(const Variable& variable, const Condition& condition)
{
    const std::vector<std::size_t>& choices = condition.choices;
    std::vector<std::size_t> others;
    bool absence_is_other = false;
    for (std::size_t choice = 0; choice < variable.choices.size(); ++choice) {
        if (std::ranges::find(choices, choice) != choices.end())
            continue;
        others.push_back(choice);
        absence_is_other = absence_is_other || variable.choices[choice].absent;
    }
    if (choices.size() == 1 && variable.choices[choices.front()].absent)
        return "no " + variable.name;
    if (condition.in_order)
        return variable.name + ' ' + listed(variable, choices);
    if (others.size() == 1 && absence_is_other)
        return variable.name + " given";
    if (others.size() == 1 && choices.size() > 1)
        return variable.name + " not " + listed(variable, others);
    return variable.name + ' ' + listed(variable, choices);
}

std::string when_text(const Combinations& combinations, const std::vector<Condition>& conditions)
{
    std::string text;
    for (const Condition& condition : conditions)
        text += (text.empty() ? "" : "; ") + condition_text(combinations.variables[condition.variable], condition);
    return text;
}

OutcomeTable empty_table(const Combinations& combinations)
{
    OutcomeTable table;
    for (std::size_t at = 0; at < combinations.variables.size(); ++at) {
        Factor factor{at, {}, std::nullopt};
        for (std::size_t choice = 0; choice < combinations.variables[at].choices.size(); ++choice) {
            factor.choices.push_back(choice);
            if (combinations.variables[at].choices[choice].absent)
                factor.absence = choice;
        }
        table.factors.push_back(std::move(factor));
    }
    return table;
}

} // namespace

Combinations run_combinations(Workbench& bench, const ModuleNode& node, const Sample& sample, ElementId target,
                              const Situation& situation)
{
    return Search(bench, node, sample, target, situation).run();
}

std::vector<EntryKey> keys_around(Workbench& bench, const Sample& sample, ElementId target)
{
    std::vector<EntryKey> keys;
    for (auto above = std::optional(target); above; above = sample.parent(*above)) {
        if (bench.facts(sample, *above).shape == NodeShape::list)
            keys.insert(keys.begin(), {sample.children(*above).front(), last_step(sample.path_of(*above))});
    }
    return keys;
}

std::vector<ReportRow> report_rows(Workbench& bench, const Combinations& combinations, std::vector<Sighting>& sightings)
{
    const std::vector<EntryKey> keys = keys_around(bench, *combinations.sample, combinations.target);
    const std::vector<NamedValue> fixed = fixed_values(combinations, keys);
    std::vector<NamedValue> names;
    names.reserve(keys.size());
    for (const EntryKey& key : keys)
        names.push_back({combinations.sample->text_of(key.leaf), '<' + key.entry + '>'});
    std::vector<std::set<std::string>> passed;
    passed.reserve(combinations.variables.size());
    for (std::size_t at = 0; at < combinations.variables.size(); ++at)
        passed.push_back(combinations.variables[at].of_words ? words_passed_on(combinations, at)
                                                             : std::set<std::string>{});
    const auto values_of = [&](const Combination& one) {
        std::vector<NamedValue> values;
        for (std::size_t at = 0; at < combinations.variables.size(); ++at) {
            const std::string& value = choice_of(combinations, one, at).value;
            if (!value.empty() && (!combinations.variables[at].of_words || passed[at].contains(value)))
                values.push_back({value, combinations.variables[at].placeholder});
        }
        values.insert(values.end(), fixed.begin(), fixed.end());
        return values;
    };

    Abbreviator abbreviator;
    for (const Combination& one : combinations.all)
        outcome_of(one.reply, values_of(one), names, abbreviator);
    OutcomeTable table = empty_table(combinations);
    for (const Combination& one : combinations.all) {
        const std::vector<NamedValue> values = values_of(one);
        table.outcomes.push_back(outcome_of(one.reply, values, names, abbreviator));
        for (std::size_t at = 0; at < one.reply.lines.size(); ++at)
            sightings.push_back({one.reply.lines[at], table.outcomes.back().lines[at].words, values});
    }
    std::vector<ReportRow> rows;
    for (const OutcomeRow& row : rows_of(std::move(table)))
        rows.push_back({when_text(combinations, row.when), row.outcome});
    return rows;
}

} // namespace qnips::conformance
