// The character checks that run on the text of every leaf that is set.
#include <benchmark/benchmark.h>

#include <array>
#include <string>

#include "quorin-intrusion-prevention-core/checks/string_check.h"

namespace
{

// A text without white space at its ends and with one blank inside, the dearest of the acceptable ones.
std::string leaf_text(std::size_t length)
{
    std::string text(length, 'a');
    text[length / 2] = ' ';
    return text;
}

void is_valid(benchmark::State& state)
{
    const std::string text = leaf_text(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(ips_string_is_valid(text.c_str()));
}
BENCHMARK(is_valid)->Arg(8)->Arg(64)->Arg(255);

void normalise(benchmark::State& state)
{
    const std::string text = leaf_text(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        std::array<char, 128> destination{};
        ips_remove_head_and_tail_spaces(text.c_str(), destination.data(), static_cast<int>(destination.size()));
        benchmark::DoNotOptimize(destination);
    }
}
BENCHMARK(normalise)->Arg(8)->Arg(64)->Arg(127);

} // namespace
