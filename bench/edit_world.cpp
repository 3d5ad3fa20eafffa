#include "edit_world.h"

#include <utility>

#include <fmt/format.h>

#include "counted_allocations.h"

namespace qnips::bench
{

namespace
{

using Clock = std::chrono::steady_clock;

double percent(std::chrono::nanoseconds part, std::chrono::nanoseconds whole)
{
    return whole.count() == 0 ? 0 : 100.0 * static_cast<double>(part.count()) / static_cast<double>(whole.count());
}

// Adds the time of its life.
class Timed
{
public:
    explicit Timed(std::chrono::nanoseconds& sum) : sum_(sum) {}
    ~Timed() { sum_ += Clock::now() - start_; }
    Timed(const Timed&) = delete;
    Timed& operator=(const Timed&) = delete;

private:
    std::chrono::nanoseconds& sum_;
    Clock::time_point start_ = Clock::now();
};

} // namespace

std::optional<PlatformError> TimedDevice::execute(std::span<const CommandLine> script, int operation)
{
    const Timed timed(time_);
    return device_.execute(script, operation);
}

std::optional<PlatformError> TimedDevice::remove_vsys(std::string_view name)
{
    const Timed timed(time_);
    return device_.remove_vsys(name);
}

PlatformAnswer TimedDevice::first_signature_set(std::string_view vsys, std::string_view profile)
{
    const Timed timed(time_);
    return device_.first_signature_set(vsys, profile);
}

void Bench::edit(benchmark::State& state, const std::string& xml)
{
    const std::size_t before = allocations();
    const Clock::time_point start = Clock::now();
    const EditRequest request = parse_edit_request(world().schema, xml);
    const std::chrono::nanoseconds parse = Clock::now() - start;
    const EditOutcome outcome = datastore_.edit(request, {"bench", "edit-config"});
    add(state, outcome, parse, allocations() - before);
}

void Bench::prepare(benchmark::State& state, const std::string& xml)
{
    const EditOutcome outcome = datastore_.edit(parse_edit_request(world().schema, xml), {"bench", "edit-config"});
    if (!outcome.errors.empty())
        state.SkipWithError(outcome.errors.front().what());
    device_.take_time();
}

void Bench::replace(benchmark::State& state, const ConfigTree& goal)
{
    const std::size_t before = allocations();
    const EditOutcome outcome = datastore_.replace(goal, {"bench", "copy-config"});
    add(state, outcome, {}, allocations() - before);
}

void Bench::add(benchmark::State& state, const EditOutcome& outcome, std::chrono::nanoseconds parse,
                std::size_t allocations)
{
    if (!outcome.errors.empty())
        state.SkipWithError(outcome.errors.front().what());
    ++edits_;
    callbacks_ += outcome.pass.callbacks;
    for (const CallbackRecord& record : outcome.pass.trace) {
        for (const CommittedScript& script : record.scripts)
            lines_ += script.lines.size();
    }
    allocations_ += allocations;
    parse_ += parse;
    const std::chrono::nanoseconds platform = device_.take_time();
    platform_ += platform;
    times_.apply += outcome.times.apply;
    times_.validate += outcome.times.validate;
    times_.describe += outcome.times.describe;
    times_.callbacks += outcome.times.callbacks - platform;
    times_.store += outcome.times.store;
}

void Bench::report(benchmark::State& state) const
{
    if (edits_ == 0)
        return;
    const auto edits = static_cast<double>(edits_);
    state.counters["callbacks"] = static_cast<double>(callbacks_) / edits;
    state.counters["lines"] = static_cast<double>(lines_) / edits;
    state.counters["allocations"] = static_cast<double>(allocations_) / edits;
    const std::chrono::nanoseconds whole =
        parse_ + platform_ + times_.apply + times_.validate + times_.describe + times_.callbacks + times_.store;
    state.counters["parse%"] = percent(parse_, whole);
    state.counters["apply%"] = percent(times_.apply, whole);
    state.counters["validate%"] = percent(times_.validate, whole);
    state.counters["callbacks%"] = percent(times_.callbacks, whole);
    state.counters["platform%"] = percent(platform_, whole);
    state.counters["store%"] = percent(times_.describe + times_.store, whole);
}

std::string vsys_edit(const std::string& content)
{
    return fmt::format(
        R"(<config xmlns="urn:ietf:params:xml:ns:netconf:base:1.0" )"
        R"(xmlns:nc="urn:ietf:params:xml:ns:netconf:base:1.0" xmlns:yang="urn:ietf:params:xml:ns:yang:1">)"
        R"(<ips-config xmlns="urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention">)"
        "<user-defined-ips><vsys><name>branch</name>{}</vsys></user-defined-ips></ips-config></config>",
        content);
}

std::string profiles(std::size_t first, std::size_t last, const std::string& description)
{
    std::string text = "<profiles>";
    for (std::size_t number = first; number < last; ++number)
        text += fmt::format("<profile><name>p{}</name><description>{}</description>"
                            "<collect-attack-evidence-enable>true</collect-attack-evidence-enable>"
                            "<command-and-control-domain-filter><domain-filter-enable>true</domain-filter-enable>"
                            "<action>block</action></command-and-control-domain-filter></profile>",
                            number, description);
    return text + "</profiles>";
}

} // namespace qnips::bench
