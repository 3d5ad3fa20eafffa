// A loaded plug-in module: the shared library, its exported tables and its life cycle.
//
// Any build of the library can be given, so nothing that it exports is taken on trust: all of it is checked before the
// first function is called, and every fault is reported.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "server/shared_text.h"
#include "transapi/callback_table.h"
#include "transapi/datastore.h"

namespace qnips
{

// One row of the module's callback table.
struct Row {
    std::string path; // absolute schema path, each step with the module's prefix
    transapi_callback function = nullptr;
    int priority = 0;
    SharedText callback; // name of the function, for display; empty when the library does not export it
};

// A library opened with dlopen (immediate binding, local scope) and closed with the object.
class SharedLibrary
{
public:
    // Throws LoadError with the loader's reason: no such file, not a library, a symbol that the server does not have.
    explicit SharedLibrary(std::filesystem::path file);

    struct Symbol {
        void* address = nullptr;
        std::size_t size = 0; // bytes, from the library's symbol table
    };

    // A symbol that the library itself defines (not one of the libraries it needs); null address if there is none.
    [[nodiscard]] Symbol find(const char* name) const;

    [[nodiscard]] const std::filesystem::path& file() const { return file_; }

private:
    struct Closer {
        void operator()(void* handle) const noexcept;
    };

    std::filesystem::path file_;
    std::unique_ptr<void, Closer> handle_;
};

// What an inspection of a library finds. The rows are all that have a path, whatever else is wrong with them.
struct ModuleReport {
    std::vector<Row> rows;
    std::vector<std::string> findings; // each one a reason to refuse the module
};

// Checks everything that the server needs of a module, without calling any of its functions.
ModuleReport inspect_module(const SharedLibrary& library);

// A module that is in order and initialised. Closed and unloaded with the object.
class PluginModule
{
public:
    // Loads, inspects and initialises the module. Throws LoadError with all findings.
    explicit PluginModule(const std::filesystem::path& file);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    [[nodiscard]] const std::filesystem::path& file() const { return library_.file(); }

    // In the order of the module's table. The functions may be called while this object lives.
    [[nodiscard]] const std::vector<Row>& rows() const { return report_.rows; }

    // The functions that the server reads through. They may be called while this object lives, inside a session that
    // serves them (callback_session.h).
    struct Reads {
        char* (*configuration)(void* data, NC_DATASTORE target, nc_err** error) = nullptr;
        xmlDoc* (*state)(xmlDoc* model, xmlDoc* running, nc_err** error) = nullptr;
    };
    [[nodiscard]] Reads reads() const;

private:
    SharedLibrary library_;
    ModuleReport report_;
};

} // namespace qnips
