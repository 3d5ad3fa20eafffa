#include "conformance/module_nodes.h"

#include <dlfcn.h>

#include <span>
#include <sstream>
#include <stdexcept>

namespace qnips::conformance
{

namespace
{

constexpr std::string_view prefix = "qn-ips:";

const transapi_data_callbacks& exported_table()
{
    const void* symbol = dlsym(RTLD_DEFAULT, "clbks");
    if (symbol == nullptr)
        throw std::runtime_error("the module exports no table of callbacks");
    return *static_cast<const transapi_data_callbacks*>(symbol);
}

Callback callback_of(const clbk& row)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(row.func), &info) == 0 || info.dli_sname == nullptr)
        throw std::runtime_error(std::string("the callback has no name: ") + row.path);
    return {info.dli_sname, row.func, row.priority};
}

} // namespace

int module_row_count()
{
    return exported_table().callbacks_count;
}

std::vector<ModuleNode> module_nodes()
{
    const transapi_data_callbacks& table = exported_table();
    std::vector<ModuleNode> nodes;
    for (const clbk& row : std::span(table.callbacks, static_cast<std::size_t>(table.callbacks_count))) {
        if (!nodes.empty() && nodes.back().path == row.path)
            nodes.back().removal = callback_of(row);
        else
            nodes.push_back({row.path, callback_of(row), std::nullopt});
    }
    return nodes;
}

std::vector<std::string> path_steps(const std::string& path)
{
    std::istringstream text(path);
    std::vector<std::string> steps;
    std::string step;
    std::getline(text, step, '/'); // before the first slash
    while (std::getline(text, step, '/'))
        steps.push_back(step.substr(step.starts_with(prefix) ? prefix.size() : 0));
    return steps;
}

std::string last_step(const std::string& path)
{
    return path_steps(path).back();
}

bool is_below(const std::string& inner, const std::string& outer)
{
    return inner.starts_with(outer + '/');
}

} // namespace qnips::conformance
