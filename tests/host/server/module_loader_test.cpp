// What a library must export to be loaded, one fault at a time, and the life cycle of a loaded module.
//
// The libraries are built from broken_modules/module.cpp.
#include "server/module_loader.h"

#include <dlfcn.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "server/load_error.h"

namespace
{

using qnips::inspect_module;
using qnips::LoadError;
using qnips::PluginModule;
using qnips::SharedLibrary;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::filesystem::path library(const std::string& name)
{
    return std::filesystem::path(QN_IPS_BROKEN_MODULES) / (name + ".so");
}

std::vector<std::string> findings_of_loading(const std::string& name)
{
    try {
        const PluginModule module(library(name));
    } catch (const LoadError& error) {
        return error.findings();
    }
    return {};
}

struct Fault {
    const char* library;
    const char* finding;

    friend void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.library; }
};

class BrokenModule : public testing::TestWithParam<Fault>
{
};

TEST_P(BrokenModule, IsRefusedWithTheReason)
{
    EXPECT_THAT(findings_of_loading(GetParam().library), ElementsAre(GetParam().finding));
}

INSTANTIATE_TEST_SUITE_P(
    ModuleLoader, BrokenModule,
    testing::Values(
        Fault{"wrong-version", "transapi_version is 3, expected 4"},
        Fault{"wrong-order", "callbacks_order is 0, expected 1"}, Fault{"no-table", "symbol clbks is missing"},
        Fault{"count-too-high", "clbks.callbacks_count is 1000, more rows than the table holds"},
        Fault{"count-negative", "clbks.callbacks_count is -1, expected at least 1"},
        Fault{"null-path", "clbks.callbacks[3] (no path): path is null"},
        Fault{"null-function", "clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): func is null"},
        Fault{"priority-too-high",
              "clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): priority 64 is outside 0 to 63"},
        Fault{"priority-negative",
              "clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): priority -1 is outside 0 to 63"},
        Fault{"schema-path",
              "clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): schema_path is not null"},
        Fault{"duplicate-row", "clbks has 2 rows for /qn-ips:ips-config/qn-ips:house with priority 19"},
        Fault{"wrong-prefix",
              "namespace_mapping starts with ips, urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention, expected "
              "qn-ips, urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention"},
        Fault{"open-namespaces", "namespace_mapping does not end after its first pair"},
        Fault{"rpcs", "rpc_clbks.callbacks_count is 1, expected 0"}, Fault{"error-option", "erropt is 1, expected 0"},
        Fault{"modified", "config_modified is 1, expected 0"},
        Fault{"swapped-slot", "custom_funcs.lock is not custom_lock"},
        Fault{"filled-slot", "custom_funcs.is_locked is not null"},
        Fault{"no-close", "symbol transapi_close is missing"},
        Fault{"borrowed-close", "symbol transapi_close is missing"}, Fault{"init-fails", "transapi_init returned 7"}),
    [](const auto& test) {
        std::string name = test.param.library;
        std::erase(name, '-');
        return name;
    });

TEST(ModuleLoader, ReportsAllFaultsAtOnce)
{
    EXPECT_THAT(
        findings_of_loading("many-faults"),
        ElementsAre(
            "transapi_version is 3, expected 4",
            "clbks.callbacks[3] (/qn-ips:ips-config/qn-ips:house/qn-ips:number): priority 64 is outside 0 to 63",
            "custom_funcs.lock is not custom_lock", "symbol transapi_close is missing"));
}

TEST(ModuleLoader, MessageNamesTheLibraryAndEveryFinding)
{
    try {
        const PluginModule module(library("wrong-version"));
        FAIL() << "loaded";
    } catch (const LoadError& error) {
        EXPECT_EQ(std::string(error.what()),
                  library("wrong-version").string() + " is refused:\n  transapi_version is 3, expected 4");
    }
}

TEST(ModuleLoader, NamesASymbolThatTheServerDoesNotHave)
{
    EXPECT_THAT(findings_of_loading("unresolved"), ElementsAre(HasSubstr("undefined symbol: no_server_has_this")));
}

TEST(ModuleLoader, RefusesWhatIsNoLibrary)
{
    EXPECT_THAT(findings_of_loading("not-there"), ElementsAre(HasSubstr("cannot open shared object file")));
    EXPECT_THROW(const PluginModule module(__FILE__), LoadError);
}

TEST(ModuleLoader, MissingReadsAreFaults)
{
    EXPECT_THAT(findings_of_loading("no-reads"),
                ElementsAre("symbol get_state_data is missing", "symbol perform_getconfig is missing",
                            "symbol perform_copyconfig is missing"));
}

TEST(ModuleLoader, RowsStandInTheOrderOfTheTableWithTheNamesOfTheirCallbacks)
{
    const PluginModule module(library("good"));
    ASSERT_EQ(module.rows().size(), 13U);
    const qnips::Row& removal = module.rows()[1];
    EXPECT_EQ(removal.path, "/qn-ips:ips-config/qn-ips:house");
    EXPECT_EQ(removal.priority, 55);
    EXPECT_EQ(removal.callback, "remove_house");
    ASSERT_NE(removal.function, nullptr);
    EXPECT_EQ(removal.function(nullptr, XMLDIFF_NONE, nullptr, nullptr), 0);
}

TEST(ModuleLoader, RowsThatCanBeReadAreReportedWhateverElseIsWrong)
{
    EXPECT_EQ(inspect_module(SharedLibrary(library("wrong-version"))).rows.size(), 13U);
    EXPECT_EQ(inspect_module(SharedLibrary(library("null-function"))).rows.size(), 13U);
    EXPECT_EQ(inspect_module(SharedLibrary(library("null-path"))).rows.size(), 12U);
    EXPECT_THAT(inspect_module(SharedLibrary(library("no-table"))).rows, IsEmpty());
    EXPECT_THAT(inspect_module(SharedLibrary(library("count-too-high"))).rows, IsEmpty());
}

// Keeps a library loaded and reads its counters, so that they can be seen after the module has been closed.
class Counters
{
public:
    explicit Counters(const std::filesystem::path& file) : handle_(dlopen(file.c_str(), RTLD_NOW), dlclose) {}

    [[nodiscard]] int operator[](const char* name) const
    {
        return *static_cast<const int*>(dlsym(handle_.get(), name));
    }

private:
    std::unique_ptr<void, int (*)(void*)> handle_;
};

TEST(ModuleLoader, InitialisesOnceAndClosesOnce)
{
    const Counters counters(library("good"));
    const int inits = counters["test_inits"];
    const int closes = counters["test_closes"];
    {
        const PluginModule module(library("good"));
        EXPECT_EQ(counters["test_inits"], inits + 1);
        EXPECT_EQ(counters["test_closes"], closes);
    }
    EXPECT_EQ(counters["test_inits"], inits + 1);
    EXPECT_EQ(counters["test_closes"], closes + 1);
}

TEST(ModuleLoader, CallsNothingInAModuleThatItRefuses)
{
    const Counters counters(library("wrong-version"));
    findings_of_loading("wrong-version");
    EXPECT_EQ(counters["test_inits"], 0);
    EXPECT_EQ(counters["test_closes"], 0);
}

TEST(ModuleLoader, DoesNotCloseWhatCouldNotBeInitialised)
{
    const Counters counters(library("init-fails"));
    findings_of_loading("init-fails");
    EXPECT_EQ(counters["test_inits"], 1);
    EXPECT_EQ(counters["test_closes"], 0);
}

TEST(ModuleLoader, UnloadsTheLibrary)
{
    const std::string file = library("error-option").string();
    {
        const SharedLibrary loaded(file);
        void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD);
        ASSERT_NE(handle, nullptr);
        dlclose(handle);
    }
    EXPECT_EQ(dlopen(file.c_str(), RTLD_NOW | RTLD_NOLOAD), nullptr);
}

} // namespace
