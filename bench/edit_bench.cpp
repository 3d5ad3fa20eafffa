// What an edit costs: by the size of the configuration it meets, and by its own size.
#include <fmt/format.h>

#include "edit_world.h"
#include "server/touched_nodes.h"

namespace qnips::bench
{
namespace
{

constexpr std::size_t nodes_per_profile = 7; // entry, key, four leaves and a container

// The configuration grows a bit at a time: the lines of one edit are kept until it is over.
void grow(benchmark::State& state, Bench& bench, std::size_t nodes)
{
    constexpr std::size_t step = 1000;
    const std::size_t all = nodes / nodes_per_profile;
    for (std::size_t made = 0; made < all; made += step)
        bench.prepare(state, vsys_edit(profiles(made, std::min(made + step, all))));
}

// Measures `edit`; `back` undoes it each time.
void there_and_back(benchmark::State& state, Bench& bench, const std::string& edit, const std::string& back)
{
    for (auto _ : state) {
        bench.edit(state, edit);
        state.PauseTiming();
        bench.prepare(state, back);
        state.ResumeTiming();
    }
    bench.report(state);
}

void one_leaf(benchmark::State& state)
{
    Bench bench;
    const auto nodes = static_cast<std::size_t>(state.range(0));
    grow(state, bench, nodes);
    std::size_t round = 0;
    for (auto _ : state) {
        const std::string edit = vsys_edit(
            fmt::format("<profiles><profile><name>p{}</name><description>number {}</description></profile></profiles>",
                        nodes / nodes_per_profile / 2, ++round));
        bench.edit(state, edit);
    }
    bench.report(state);
}
BENCHMARK(one_leaf)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

void one_new_profile(benchmark::State& state)
{
    Bench bench;
    grow(state, bench, static_cast<std::size_t>(state.range(0)));
    there_and_back(state, bench, vsys_edit(profiles(1000000, 1000001)),
                   vsys_edit(R"(<profiles><profile nc:operation="delete"><name>p1000000</name></profile></profiles>)"));
}
BENCHMARK(one_new_profile)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMicrosecond);

// ------------------------------------------------------------------------------- edits of N entries, by their kind --

const std::string remove_all = vsys_edit(R"(<profiles nc:operation="delete"/>)");

void create_profiles(benchmark::State& state)
{
    Bench bench;
    there_and_back(state, bench, vsys_edit(profiles(0, static_cast<std::size_t>(state.range(0)))), remove_all);
}

void remove_profiles(benchmark::State& state)
{
    const std::string create = vsys_edit(profiles(0, static_cast<std::size_t>(state.range(0))));
    Bench bench;
    bench.prepare(state, create);
    there_and_back(state, bench, remove_all, create);
}

void change_profiles(benchmark::State& state)
{
    const auto number = static_cast<std::size_t>(state.range(0));
    Bench bench;
    bench.prepare(state, vsys_edit(profiles(0, number)));
    std::size_t round = 0;
    for (auto _ : state)
        bench.edit(state, vsys_edit(profiles(0, number, fmt::format("number {}", ++round))));
    bench.report(state);
}

std::string signature_set(std::size_t number, const std::string& attributes = {})
{
    return fmt::format("<signature-set{}><name>s{}</name><signature-set-action><action>alert</action>"
                       "</signature-set-action></signature-set>",
                       attributes, number);
}

std::string sets_edit(const std::string& sets)
{
    return vsys_edit("<profiles><profile><name>ordered</name><signature-sets>" + sets +
                     "</signature-sets></profile></profiles>");
}

std::string signature_sets(std::size_t number)
{
    std::string sets;
    for (std::size_t i = 0; i < number; ++i)
        sets += signature_set(i);
    return sets;
}

void create_signature_sets(benchmark::State& state)
{
    Bench bench;
    there_and_back(state, bench, sets_edit(signature_sets(static_cast<std::size_t>(state.range(0)))), remove_all);
}

// Every second set goes to the front, so that the order is another one in the end.
void move_signature_sets(benchmark::State& state)
{
    const auto number = static_cast<std::size_t>(state.range(0));
    Bench bench;
    bench.prepare(state, sets_edit(signature_sets(number)));
    std::string moves;
    for (std::size_t i = 1; i < number; i += 2)
        moves += signature_set(i, R"( yang:insert="first")");
    std::string back;
    for (std::size_t i = 0; i < number; ++i)
        back += signature_set(i, R"( yang:insert="last")");
    there_and_back(state, bench, sets_edit(moves), sets_edit(back));
}

void move_one_set(benchmark::State& state)
{
    const auto number = static_cast<std::size_t>(state.range(0));
    Bench bench;
    bench.prepare(state, sets_edit(signature_sets(number)));
    bool first = false;
    for (auto _ : state) {
        first = !first;
        bench.edit(state,
                   sets_edit(signature_set(number / 2, first ? R"( yang:insert="first")" : R"( yang:insert="last")")));
    }
    bench.report(state);
}

// A whole configuration in the place of one that differs in a leaf.
void replace_configuration(benchmark::State& state)
{
    Bench bench;
    grow(state, bench, static_cast<std::size_t>(state.range(0)));
    const ConfigTree one = copy_of(bench.datastore().configuration());
    bench.prepare(state,
                  vsys_edit("<profiles><profile><name>p3</name><description>other</description></profile></profiles>"));
    const ConfigTree other = copy_of(bench.datastore().configuration());
    bool first = false;
    for (auto _ : state) {
        first = !first;
        bench.replace(state, first ? one : other);
    }
    bench.report(state);
}

void by_size(benchmark::internal::Benchmark* benchmark)
{
    for (const int entries : {1, 10, 100, 1000, 2500, 5000, 10000})
        benchmark->Arg(entries);
    benchmark->Unit(benchmark::kMillisecond);
}
BENCHMARK(create_profiles)->Apply(by_size);
BENCHMARK(remove_profiles)->Apply(by_size);
BENCHMARK(change_profiles)->Apply(by_size);
BENCHMARK(create_signature_sets)->Apply(by_size);
BENCHMARK(move_signature_sets)->Apply(by_size);
BENCHMARK(move_one_set)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMicrosecond);
BENCHMARK(replace_configuration)->Arg(1000)->Arg(10000)->Arg(50000)->Arg(100000)->Unit(benchmark::kMillisecond);

} // namespace
} // namespace qnips::bench
