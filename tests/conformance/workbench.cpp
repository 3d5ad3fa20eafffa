#include "conformance/workbench.h"

#include <algorithm>
#include <stdexcept>

#include "conformance/combinations.h"
#include "conformance/faults.h"

namespace qnips::conformance
{

namespace
{

struct Place {
    const Sample* sample = nullptr;
    ElementId target = 0;
};

// Of a list that the user orders, an entry behind another one.
Place find_place(const Samples& samples, const std::string& path, const SchemaFacts& facts)
{
    for (const Sample& sample : samples) {
        const std::vector<ElementId> found = sample.instances(path);
        if (!found.empty())
            return {&sample, facts.ordered_by_user && found.size() > 1 ? found[1] : found.front()};
    }
    throw std::runtime_error("no sample configures " + path);
}

void add_errors_of(const Combinations& combinations, const Situation& situation,
                   std::map<ErrorKey, ErrorReport>& errors)
{
    const bool always = std::ranges::all_of(combinations.all, [](const Combination& one) { return one.reply.refused; });
    const Cause cause{"", always ? situation.name : "a combination of the table"};
    for (const Combination& one : combinations.all)
        add_errors(one.reply, cause, errors);
}

// Situations with equal rows become one.
void add_situation(NodeReport& report, const std::string& name, std::vector<ReportRow> rows)
{
    const auto same = std::ranges::find(report.situations, rows, &SituationReport::rows);
    if (same == report.situations.end())
        report.situations.push_back({{name}, std::move(rows)});
    else
        same->names.push_back(name);
}

// A case of a choice may have to fit to a case of another choice beside it, when the same edit changes both.
void add_changes_beside(Workbench& bench, NodeReport& report, const Place& place, const Situation& situation)
{
    const Sample& sample = *place.sample;
    const auto parent = sample.parent(place.target);
    if (report.facts.other_cases.empty() || !parent)
        return;
    for (const ElementId beside : sample.children(*parent)) {
        const SchemaFacts& facts = bench.facts(sample, beside);
        if (beside == place.target || facts.other_cases.empty())
            continue;
        const Situation changed = with_change_beside(sample, situation, beside, facts);
        const Combinations found = run_combinations(bench, report.node, sample, place.target, changed);
        report_rows(bench, found, report.sightings);
        add_errors_of(found, changed, report.errors);
        add_faults(bench, report.node, found, changed, report.errors);
    }
}

bool sends(const std::vector<ReportRow>& rows)
{
    return std::ranges::any_of(rows, [](const ReportRow& row) { return !row.outcome.lines.empty(); });
}

} // namespace

bool SituationReport::sends() const
{
    return conformance::sends(rows);
}

bool NodeReport::does_something() const
{
    return !errors.empty() || std::ranges::any_of(situations, &SituationReport::sends);
}

Workbench::Workbench(const std::filesystem::path& samples) : schema_(load_schema())
{
    for (const char* name : {"basic.xml", "ranges.xml"})
        samples_.emplace_back(samples / name, schema_);
}

const SchemaFacts& Workbench::facts(const std::string& path)
{
    const auto known = facts_.find(path);
    return known != facts_.end() ? known->second : facts_.emplace(path, schema_facts(schema_, path)).first->second;
}

NodeReport Workbench::report(const ModuleNode& node)
{
    NodeReport report{node, facts(node.path), {}, {}, {}};
    const Place place = find_place(samples_, node.path, report.facts);
    for (const Situation& situation : own_situations(*place.sample, place.target, report.facts)) {
        const Combinations found = run_combinations(*this, node, *place.sample, place.target, situation);
        add_situation(report, situation.name, report_rows(*this, found, report.sightings));
        add_errors_of(found, situation, report.errors);
        add_faults(*this, node, found, situation, report.errors);
        add_changes_beside(*this, report, place, situation);
    }
    // That nothing happens when an entry goes that the node is in goes without saying.
    for (const Situation& situation : ancestor_removals(*place.sample, place.target)) {
        const Combinations found = run_combinations(*this, node, *place.sample, place.target, situation);
        std::vector<ReportRow> rows = report_rows(*this, found, report.sightings);
        add_errors_of(found, situation, report.errors);
        if (sends(rows) || std::ranges::any_of(rows, [](const ReportRow& row) { return row.outcome.refused; }))
            add_situation(report, situation.name, std::move(rows));
    }
    return report;
}

} // namespace qnips::conformance
