// What a client of the NETCONF server waits for, over the UNIX socket and with a raw client: ncclient itself waits a
// tenth of a second for each request.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "host/netconf/netconf_requests.h"
#include "host/netconf/serve_process.h"

namespace
{

using qnips::test::config_with;
using qnips::test::edit;
using qnips::test::get_config;
using qnips::test::profile;
using qnips::test::RawClient;
using qnips::test::ServeProcess;

// A folder of the system's that goes with its owner.
class Folder
{
public:
    Folder() : path_((std::filesystem::temp_directory_path() / "qn-ips-bench-XXXXXX").string())
    {
        if (mkdtemp(path_.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
    }
    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    [[nodiscard]] std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

// A server with a number of profiles, and a client.
class World
{
public:
    explicit World(std::int64_t profiles)
        : server_(folder_.file("state"),
                  {"--unix", folder_.file("socket"), "--log-target", folder_.file("log"), "--log-level", "warning"}),
          client_(folder_.file("socket"))
    {
        if (profiles != 0)
            expect_ok(client_.call(edit("running", some_profiles("p", profiles))));
    }

    static std::string some_profiles(const std::string& prefix, std::int64_t count)
    {
        std::string all;
        for (std::int64_t i = 0; i < count; ++i)
            all += profile(fmt::format("{}{}", prefix, i), "<description>one of many</description>");
        return config_with(all);
    }
    static void expect_ok(const std::string& answer)
    {
        if (answer != "<ok/>")
            throw std::runtime_error(answer);
    }
    RawClient& client() { return client_; }

private:
    Folder folder_;
    ServeProcess server_;
    RawClient client_;
};

// The protocol alone: a request that changes nothing and an answer of a few bytes.
void round_trip(benchmark::State& state)
{
    World world(0);
    for (auto _ : state)
        World::expect_ok(world.client().call("<discard-changes/>"));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(round_trip)->UseRealTime();

// One leaf of running, made durable before the answer.
void edit_one_leaf(benchmark::State& state)
{
    World world(state.range(0));
    std::int64_t number = 0;
    for (auto _ : state)
        World::expect_ok(world.client().call(
            edit("running", config_with(profile("p0", fmt::format("<description>{}</description>", ++number))))));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(edit_one_leaf)->Arg(1)->Arg(100)->Arg(1000)->UseRealTime();

// The same in the candidate, which reaches neither the device nor the store.
void edit_one_leaf_of_candidate(benchmark::State& state)
{
    World world(state.range(0));
    std::int64_t number = 0;
    for (auto _ : state)
        World::expect_ok(world.client().call(
            edit("candidate", config_with(profile("p0", fmt::format("<description>{}</description>", ++number))))));
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(edit_one_leaf_of_candidate)->Arg(1)->Arg(100)->Arg(1000)->UseRealTime();

void create_profiles(benchmark::State& state)
{
    World world(0);
    const std::string all = edit("running", World::some_profiles("new", state.range(0)));
    for (auto _ : state) {
        World::expect_ok(world.client().call(all));
        state.PauseTiming();
        World::expect_ok(world.client().call(
            edit("running", fmt::format("<ips-config xmlns=\"{}\" xmlns:n=\"urn:ietf:params:xml:ns:netconf:base:1.0\" "
                                        "n:operation=\"remove\"/>",
                                        qnips::test::ips_namespace))));
        state.ResumeTiming();
    }
}
BENCHMARK(create_profiles)->Arg(1)->Arg(100)->Arg(1000)->UseRealTime()->Unit(benchmark::kMillisecond);

void read_running(benchmark::State& state)
{
    World world(state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(world.client().call(get_config("running")));
}
BENCHMARK(read_running)->Arg(1)->Arg(100)->Arg(1000)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace
