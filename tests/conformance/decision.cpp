#include "conformance/decision.h"

#include <algorithm>

namespace qnips::conformance
{

namespace
{

using Words = std::vector<std::string>;

std::size_t stride_of(const OutcomeTable& table, std::size_t factor)
{
    std::size_t stride = 1;
    for (std::size_t after = factor + 1; after < table.factors.size(); ++after)
        stride *= table.factors[after].choices.size();
    return stride;
}

// The part of a table in which a factor has one of its choices.
OutcomeTable slice(const OutcomeTable& table, std::size_t factor, std::size_t choice)
{
    OutcomeTable part{table.factors, {}};
    part.factors.erase(part.factors.begin() + static_cast<std::ptrdiff_t>(factor));
    const std::size_t stride = stride_of(table, factor);
    for (std::size_t at = 0; at < table.outcomes.size(); ++at) {
        if (at / stride % table.factors[factor].choices.size() == choice)
            part.outcomes.push_back(table.outcomes[at]);
    }
    return part;
}

// `longer` with what it has beyond `shorter` in brackets; none when it is not `shorter` and one more piece.
std::optional<Words> bracketed(const Words& longer, const Words& shorter)
{
    if (longer == shorter)
        return longer;
    if (longer.size() < shorter.size())
        return std::nullopt;
    const auto first = std::ranges::mismatch(longer, shorter).in1 - longer.begin();
    const auto more = static_cast<std::ptrdiff_t>(longer.size() - shorter.size());
    if (more == 0 || !std::equal(longer.begin() + first + more, longer.end(), shorter.begin() + first))
        return std::nullopt;
    std::string piece;
    for (auto word = longer.begin() + first; word != longer.begin() + first + more; ++word)
        piece += (piece.empty() ? "" : " ") + *word;
    if (piece.empty() || piece.ends_with(' '))
        return std::nullopt;
    Words made(longer.begin(), longer.begin() + first);
    made.push_back('[' + piece + ']');
    made.insert(made.end(), longer.begin() + first + more, longer.end());
    return made;
}

std::optional<Outcome> with_brackets(const Outcome& present, const Outcome& absent)
{
    Outcome made = present;
    Outcome bare = absent;
    if (present.lines.size() != absent.lines.size())
        return std::nullopt;
    for (std::size_t at = 0; at < made.lines.size(); ++at) {
        const auto words = bracketed(present.lines[at].words, absent.lines[at].words);
        if (!words)
            return std::nullopt;
        made.lines[at].words = bare.lines[at].words = *words;
    }
    return made == bare ? std::optional(made) : std::nullopt;
}

bool drop_what_does_not_matter(OutcomeTable& table)
{
    for (std::size_t factor = 0; factor < table.factors.size(); ++factor) {
        OutcomeTable first = slice(table, factor, 0);
        bool same = true;
        for (std::size_t choice = 1; same && choice < table.factors[factor].choices.size(); ++choice)
            same = slice(table, factor, choice).outcomes == first.outcomes;
        if (same) {
            table = std::move(first);
            return true;
        }
    }
    return false;
}

// The table without a factor whose absence only leaves a piece of each line out.
std::optional<OutcomeTable> with_optional_piece(const OutcomeTable& table, std::size_t factor)
{
    const Factor& one = table.factors[factor];
    if (!one.absence || one.choices.size() < 2)
        return std::nullopt;
    std::optional<OutcomeTable> present;
    OutcomeTable absent;
    for (std::size_t choice = 0; choice < one.choices.size(); ++choice) {
        OutcomeTable part = slice(table, factor, choice);
        if (one.choices[choice] == *one.absence)
            absent = std::move(part);
        else if (!present)
            present = std::move(part);
        else if (present->outcomes != part.outcomes)
            return std::nullopt;
    }
    for (std::size_t at = 0; at < absent.outcomes.size(); ++at) {
        const auto made = with_brackets(present->outcomes[at], absent.outcomes[at]);
        if (!made)
            return std::nullopt;
        present->outcomes[at] = *made;
    }
    return present;
}

bool bracket_what_is_optional(OutcomeTable& table)
{
    for (std::size_t factor = 0; factor < table.factors.size(); ++factor) {
        if (auto made = with_optional_piece(table, factor)) {
            table = std::move(*made);
            return true;
        }
    }
    return false;
}

bool has_absence(const OutcomeTable& table, std::size_t factor)
{
    const Factor& one = table.factors[factor];
    return one.absence && std::ranges::find(one.choices, *one.absence) != one.choices.end();
}

// The word "a" and the word "b" as "{a,b}".
std::string alternatives(const std::string& first, const std::string& second)
{
    const bool open = first.starts_with('{') && first.ends_with('}');
    return '{' + (open ? first.substr(1, first.size() - 2) : first) + ',' + second + '}';
}

// Two outcomes that differ in one word of each line, or of some, as one.
std::optional<Outcome> with_alternatives(const Outcome& first, const Outcome& second)
{
    Outcome made = first;
    Outcome like_first = second;
    if (first.lines.size() != second.lines.size())
        return std::nullopt;
    for (std::size_t at = 0; at < made.lines.size(); ++at) {
        Words& words = made.lines[at].words;
        const Words& others = second.lines[at].words;
        if (words.size() != others.size())
            return std::nullopt;
        const auto place = std::ranges::mismatch(words, others);
        if (place.in1 == words.end())
            continue;
        if (place.in1->empty() || place.in2->empty() || !std::equal(place.in1 + 1, words.end(), place.in2 + 1))
            return std::nullopt;
        *place.in1 = alternatives(*place.in1, *place.in2);
        like_first.lines[at].words = words;
    }
    return made == like_first ? std::optional(made) : std::nullopt;
}

// Adds a row, to one before it when they differ only in the value of their first condition and in a word that goes with
// it.
void add_row(std::vector<OutcomeRow>& rows, OutcomeRow row)
{
    for (OutcomeRow& other : rows) {
        const bool alike = other.when.front().choices.size() == other.alternatives && row.alternatives == 1 &&
                           row.when.front().choices.size() == 1 &&
                           std::equal(row.when.begin() + 1, row.when.end(), other.when.begin() + 1, other.when.end());
        const auto made = alike ? with_alternatives(other.outcome, row.outcome) : std::nullopt;
        if (made && !made->lines.empty()) {
            other.outcome = *made;
            other.when.front().choices.push_back(row.when.front().choices.front());
            other.when.front().in_order = true;
            ++other.alternatives;
            return;
        }
    }
    rows.push_back(std::move(row));
}

// Rows with a condition on one factor in front: choices with equal tables share theirs.
std::vector<OutcomeRow> split_at(const OutcomeTable& table, std::size_t factor)
{
    std::vector<std::pair<OutcomeTable, Condition>> groups;
    for (std::size_t choice = 0; choice < table.factors[factor].choices.size(); ++choice) {
        OutcomeTable part = slice(table, factor, choice);
        auto group = std::ranges::find_if(groups, [&](const auto& one) { return one.first.outcomes == part.outcomes; });
        if (group == groups.end()) {
            groups.emplace_back(std::move(part), Condition{table.factors[factor].variable, {}});
            group = std::prev(groups.end());
        }
        group->second.choices.push_back(table.factors[factor].choices[choice]);
    }
    std::vector<OutcomeRow> rows;
    for (auto& [part, condition] : groups) {
        for (OutcomeRow& row : rows_of(std::move(part))) {
            row.when.insert(row.when.begin(), condition);
            row.alternatives = 1;
            add_row(rows, std::move(row));
        }
    }
    return rows;
}

} // namespace

std::vector<OutcomeRow> rows_of(OutcomeTable table)
{
    while (drop_what_does_not_matter(table) || bracket_what_is_optional(table)) {
    }
    if (table.factors.empty())
        return {{{}, table.outcomes.front(), 1}};
    std::vector<OutcomeRow> best;
    bool best_has_absence = false;
    for (std::size_t factor = 0; factor < table.factors.size(); ++factor) {
        std::vector<OutcomeRow> rows = split_at(table, factor);
        // Of equally good ones, a condition on a value says more than one on absence.
        const bool better = best.empty() || rows.size() < best.size() ||
                            (rows.size() == best.size() && best_has_absence && !has_absence(table, factor));
        if (better) {
            best = std::move(rows);
            best_has_absence = has_absence(table, factor);
        }
    }
    return best;
}

} // namespace qnips::conformance
