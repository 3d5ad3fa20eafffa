// See module_loader.h.
//
// Sizes come from the library's symbol table, so that a table whose count promises more rows than it has is reported
// instead of read beyond its end. They are upper limits only (AddressSanitizer pads what it watches): a count that
// hides rows is found when the table is held against the schema.
#include "server/module_loader.h"

#include <dlfcn.h>
#include <elf.h>
#include <link.h>

#include <fmt/format.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <string_view>
#include <tuple>
#include <utility>

#include "server/load_error.h"
#include "transapi/datastore.h"
#include "transapi/server_services.h"

namespace qnips
{

namespace
{

constexpr int min_priority = 0;
constexpr int max_priority = 63;
constexpr const char* module_prefix = "qn-ips";
constexpr const char* module_namespace = "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention";

using InitFunction = int (*)(xmlDocPtr* running);
using CloseFunction = void (*)();

// dlsym can only answer with a data pointer; POSIX promises that it also holds a function's address.
template <class Function>
Function function_at(const SharedLibrary::Symbol& symbol)
{
    Function function = nullptr;
    static_assert(sizeof function == sizeof symbol.address);
    std::memcpy(&function, &symbol.address, sizeof function);
    return function;
}

template <class Function>
const void* address_of(Function function)
{
    const void* address = nullptr;
    static_assert(sizeof function == sizeof address);
    std::memcpy(&address, &function, sizeof address);
    return address;
}

std::string callback_name(transapi_callback function)
{
    if (function == nullptr)
        return {};
    const void* address = address_of(function);
    Dl_info info{};
    if (dladdr(address, &info) == 0 || info.dli_saddr != address || info.dli_sname == nullptr)
        return {};
    return info.dli_sname;
}

// Collects the faults of one library.
class Inspection
{
public:
    explicit Inspection(const SharedLibrary& library) : library_(library) {}

    ModuleReport run() &&
    {
        check_word("transapi_version", TRANSAPI_VERSION);
        check_word("callbacks_order", TRANSAPI_CLBCKS_ROOT_TO_LEAF);
        check_table();
        check_namespaces();
        check_rpcs();
        check_word("erropt", NC_EDIT_ERROPT_NOTSET);
        check_word("config_modified", 0);
        check_datastore();
        check_functions();
        return std::move(report_);
    }

private:
    template <class... Arguments>
    void fault(fmt::format_string<Arguments...> format, Arguments&&... arguments)
    {
        report_.findings.push_back(fmt::format(format, std::forward<Arguments>(arguments)...));
    }

    // The exported object `name`, or null (reported) when it is not there or too small to be a T.
    template <class T>
    const T* object(const char* name)
    {
        return static_cast<const T*>(object(name, sizeof(T)));
    }

    const void* object(const char* name, std::size_t size);
    void check_word(const char* name, int expected);
    void check_table();
    void read_row(std::size_t index, const clbk& row);
    void check_unique();
    void check_namespaces();
    void check_rpcs();
    void check_datastore();
    template <class Function>
    void check_slot(const char* slot, Function* actual, const char* expected_name, Function* expected);
    void check_functions();

    const SharedLibrary& library_;
    ModuleReport report_;
};

const void* Inspection::object(const char* name, std::size_t size)
{
    const SharedLibrary::Symbol symbol = library_.find(name);
    if (symbol.address == nullptr) {
        fault("symbol {} is missing", name);
        return nullptr;
    }
    if (symbol.size < size) {
        fault("{} has {} bytes, expected at least {}", name, symbol.size, size);
        return nullptr;
    }
    return symbol.address;
}

void Inspection::check_word(const char* name, int expected)
{
    const auto* word = object<int>(name);
    if (word != nullptr && *word != expected)
        fault("{} is {}, expected {}", name, *word, expected);
}

void Inspection::check_table()
{
    const auto* table = object<transapi_data_callbacks>("clbks");
    if (table == nullptr)
        return;
    if (table->data != nullptr)
        fault("clbks.data is not null");

    if (table->callbacks_count < 1) {
        fault("clbks.callbacks_count is {}, expected at least 1", table->callbacks_count);
        return;
    }
    const auto count = static_cast<std::size_t>(table->callbacks_count);
    if (count > (library_.find("clbks").size - sizeof(transapi_data_callbacks)) / sizeof(clbk)) {
        fault("clbks.callbacks_count is {}, more rows than the table holds", count);
        return;
    }
    for (std::size_t index = 0; index < count; ++index)
        read_row(index, table->callbacks[index]);
    check_unique();
}

void Inspection::read_row(std::size_t index, const clbk& row)
{
    const std::string place =
        fmt::format("clbks.callbacks[{}] ({})", index, row.path == nullptr ? "no path" : row.path);
    if (row.path == nullptr)
        fault("{}: path is null", place);
    if (row.func == nullptr)
        fault("{}: func is null", place);
    if (row.priority < min_priority || row.priority > max_priority)
        fault("{}: priority {} is outside {} to {}", place, row.priority, min_priority, max_priority);
    if (row.schema_path != nullptr)
        fault("{}: schema_path is not null", place);

    if (row.path != nullptr)
        report_.rows.push_back({row.path, row.func, row.priority, callback_name(row.func)});
}

void Inspection::check_unique()
{
    std::map<std::pair<std::string_view, int>, int> uses;
    for (const Row& row : report_.rows)
        ++uses[{row.path, row.priority}];
    for (const auto& [key, count] : uses) {
        if (count > 1)
            fault("clbks has {} rows for {} with priority {}", count, key.first, key.second);
    }
}

void Inspection::check_namespaces()
{
    const auto* pairs = static_cast<const ns_pair*>(object("namespace_mapping", 2 * sizeof(ns_pair)));
    if (pairs == nullptr)
        return;
    const auto shown = [](const char* text) { return text == nullptr ? "null" : text; };
    const auto equals = [](const char* text, std::string_view expected) { return text != nullptr && text == expected; };
    if (!equals(pairs[0].prefix, module_prefix) || !equals(pairs[0].href, module_namespace))
        fault("namespace_mapping starts with {}, {}, expected {}, {}", shown(pairs[0].prefix), shown(pairs[0].href),
              module_prefix, module_namespace);
    if (pairs[1].prefix != nullptr || pairs[1].href != nullptr)
        fault("namespace_mapping does not end after its first pair");
}

void Inspection::check_rpcs()
{
    const auto* rpcs = static_cast<const transapi_rpc_callbacks*>(object("rpc_clbks", sizeof(int)));
    if (rpcs != nullptr && rpcs->callbacks_count != 0)
        fault("rpc_clbks.callbacks_count is {}, expected 0", rpcs->callbacks_count);
}

template <class Function>
void Inspection::check_slot(const char* slot, Function* actual, const char* expected_name, Function* expected)
{
    if (actual != expected)
        fault("custom_funcs.{} is not {}", slot, expected_name);
}

void Inspection::check_datastore()
{
    const auto* slots = object<ncds_custom_funcs>("custom_funcs");
    if (slots == nullptr)
        return;
    check_slot("init", slots->init, "custom_init", custom_init);
    check_slot("free", slots->free, "custom_free", custom_free);
    check_slot("was_changed", slots->was_changed, "custom_changed", custom_changed);
    check_slot("rollback", slots->rollback, "custom_rollback", custom_rollback);
    check_slot("lock", slots->lock, "custom_lock", custom_lock);
    check_slot("unlock", slots->unlock, "custom_unlock", custom_unlock);
    if (slots->is_locked != nullptr)
        fault("custom_funcs.is_locked is not null");
    check_slot("getconfig", slots->getconfig, "custom_getconfig", custom_getconfig);
    check_slot("copyconfig", slots->copyconfig, "custom_copyconfig", custom_copyconfig);
    check_slot("deleteconfig", slots->deleteconfig, "custom_deleteconfig", custom_deleteconfig);
    check_slot("editconfig", slots->editconfig, "custom_editconfig", custom_editconfig);
}

void Inspection::check_functions()
{
    for (const char* name :
         {"transapi_init", "transapi_close", "get_state_data", "perform_getconfig", "perform_copyconfig"}) {
        if (library_.find(name).address == nullptr)
            fault("symbol {} is missing", name);
    }
}

std::string refusal(const SharedLibrary& library)
{
    return library.file().string() + " is refused";
}

} // namespace

SharedLibrary::SharedLibrary(std::filesystem::path file) : file_(std::move(file))
{
    // A name without a slash would be looked up in the system's library folders.
    const std::filesystem::path absolute = std::filesystem::absolute(file_);
    handle_.reset(dlopen(absolute.c_str(), RTLD_NOW | RTLD_LOCAL));
    if (handle_ == nullptr) {
        // The loader's message mostly starts with the file, which the subject names already.
        std::string reason = dlerror();
        const std::string repeated = absolute.string() + ": ";
        if (reason.starts_with(repeated))
            reason.erase(0, repeated.size());
        throw LoadError(file_.string() + " cannot be loaded", {std::move(reason)});
    }
}

void SharedLibrary::Closer::operator()(void* handle) const noexcept
{
    dlclose(handle);
}

SharedLibrary::Symbol SharedLibrary::find(const char* name) const
{
    void* address = dlsym(handle_.get(), name);
    if (address == nullptr)
        return {};

    void* own = nullptr;
    void* defining = nullptr;
    Dl_info info{};
    if (dlinfo(handle_.get(), RTLD_DI_LINKMAP, &own) != 0 || dladdr1(address, &info, &defining, RTLD_DL_LINKMAP) == 0 ||
        own != defining)
        return {};

    void* entry = nullptr;
    if (dladdr1(address, &info, &entry, RTLD_DL_SYMENT) == 0 || entry == nullptr)
        return {.address = address, .size = 0};
    return {.address = address, .size = static_cast<const ElfW(Sym)*>(entry)->st_size};
}

ModuleReport inspect_module(const SharedLibrary& library)
{
    return Inspection(library).run();
}

PluginModule::PluginModule(const std::filesystem::path& file) : library_(file), report_(inspect_module(library_))
{
    if (!report_.findings.empty())
        throw LoadError(refusal(library_), report_.findings);
    // The server keeps the configuration: the module gets no document to start from.
    xmlDocPtr running = nullptr;
    const int result = function_at<InitFunction>(library_.find("transapi_init"))(&running);
    if (result != 0)
        throw LoadError(refusal(library_), {fmt::format("transapi_init returned {}", result)});
}

PluginModule::Reads PluginModule::reads() const
{
    return {.configuration = function_at<decltype(Reads::configuration)>(library_.find("perform_getconfig")),
            .state = function_at<decltype(Reads::state)>(library_.find("get_state_data"))};
}

PluginModule::~PluginModule()
{
    function_at<CloseFunction>(library_.find("transapi_close"))();
}

} // namespace qnips
