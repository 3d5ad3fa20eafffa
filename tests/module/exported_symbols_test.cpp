// The module's dynamic symbols: what it offers and what it asks of the server that loads it, by name.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "module/node_table.h"

namespace
{

using namespace qnips::test;
using Names = std::set<std::string>;

// The services of the server contract, which the module leaves undefined.
const Names server_services = {"transapi_comm_with_zell",
                               "api_script_cache_lines",
                               "fail_nc_err",
                               "get_node_content",
                               "transapi_transform_op",
                               "priority_transapi_find_parent_op_by_xmldiff",
                               "priority_transapi_find_parent_children_op_by_xmldiff",
                               "priority_transapi_find_bro_op_by_xmldiff",
                               "priority_transapi_find_parent_key_node_content",
                               "SOS_Free",
                               "g_product_name_for_dp",
                               "custom_init",
                               "custom_free",
                               "custom_changed",
                               "custom_rollback",
                               "custom_lock",
                               "custom_unlock",
                               "custom_getconfig",
                               "custom_copyconfig",
                               "custom_deleteconfig",
                               "custom_editconfig",
                               "memcpy_s",
                               "memset_s",
                               "strncpy_s",
                               "snprintf_s"};

const Names exported_data = {
    "transapi_version", "callbacks_order",        "clbks",         "namespace_mapping",     "rpc_clbks",
    "erropt",           "config_modified",        "custom_funcs",  "g_current_Version",     "g_ips_paucProfileTemplet",
    "g_ulZDBIPSprint",  "g_ulZDBIPSprintSpecial", "g_uiAPIAdpDbg", "g_acIPSFirstSigSetName"};

const Names exported_functions = {
    "transapi_init",
    "transapi_close",
    "api_error",
    "api_find_parent_operation",
    "api_find_parent_children_operation",
    "api_find_parent_brother_operation",
    "api_find_parent_key_node_content",
    "api_commit_cmd",
    "api_remove_prefix",
    "ips_compare_string_is_not_number",
    "ips_string_is_valid",
    "ips_contained_spaces_marks",
    "ips_contained_spaces_marks_temp",
    "ips_contained_spaces_or_question_marks",
    "ips_remove_head_and_tail_all_spaces",
    "ips_remove_head_and_tail_spaces_check",
    "ips_remove_head_and_tail_spaces",
    "ips_parse_ip",
    "ips_signature_id_check",
    "ips_strchr",
    "Check_CurValue_String_Is_Valid",
    "ips_profile_cnc_check",
    "ips_profile_signatureset_action_check",
    "ips_profile_exception_signature_check",
    "ips_profile_dns_request_type_check",
    "ips_profile_http_x_online_host_check",
    "ips_profile_http_x_forwarded_for_check",
    "ips_signature_rule_ip_type_and_mask_check",
    "ips_signature_rule_ip_range_type_and_mask_check",
    "get_ips_signature_rule_ip_ipprefix_pos",
    "ips_signature_rule_ip_compare_startIP_and_endIP_range",
    "ips_signature_rule_compare_ip_type",
    "ips_signature_rule_souIP_type_compare_desRange_type",
    "ips_signature_rule_desIP_type_compare_sourceRange_type",
    "ips_signature_rule_IP_type_compare_IP_And_Range_type",
    "ips_signature_rule_port_check",
    "ips_signature_rule_basic_condition_check",
    "ips_presig_assoc_condition_check",
    "ips_udsig_assoc_condition_check",
    "Get_VsysName",
    "Get_VsysName_And_ProfileName",
    "Get_VsysName_And_SignatureID",
    "Judge_UDBasicSig_By_SigNature",
    "Judge_UDAssocSig_By_SigNature",
    "IPS_GetTargetPolicyName",
    "ips_cmd_zell_profile_cnc",
    "ips_cmd_zell_profile_signatureset_action",
    "ips_cmd_zell_profile_exception_signatureID",
    "ips_cmd_zell_profile_dns_request_type",
    "ips_cmd_zell_signature_rule_basic_condition_operation",
    "ips_cmd_zell_preassoc_signature_condition_operation",
    "ips_cmd_zell_udassoc_signature_condition_operation",
    "IPS_FuncEnabled",
    "get_state_data",
    "perform_getconfig",
    "perform_copyconfig",
    "IPS_GetFirstSigSet",
};

std::string output_of(const std::string& command)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    if (pipe == nullptr)
        throw std::runtime_error("cannot run: " + command);
    std::string text;
    for (int byte = 0; (byte = std::fgetc(pipe.get())) != EOF;)
        text += static_cast<char>(byte);
    return text;
}

struct Symbol {
    char type = '?'; // as nm(1) prints it
    std::string name;
    std::string version;
};

// Symbols of instrumentation, which only sanitizer and coverage builds have.
bool from_instrumentation(const std::string& name)
{
    static const std::regex runtime("^__(odr_asan|asan|ubsan|tsan|lsan|sanitizer|sancov|gcov|start___|stop___).*|"
                                    "^llvm_gcov.*|"
                                    "^mangle_path"); // of GCC's coverage runtime
    return std::regex_match(name, runtime);
}

// Clang's check of calls through pointers describes the types of functions, also where there is no other type
// information.
bool describes_function_type(const std::string& name)
{
    return name.starts_with("_ZTIF") || name.starts_with("_ZTSF") || name == "_ZTVN10__cxxabiv120__function_type_infoE";
}

Symbol parse_symbol(const std::string& line)
{
    Symbol symbol;
    std::istringstream(line) >> symbol.name >> symbol.type;
    const std::size_t at = symbol.name.find('@');
    if (at != std::string::npos) {
        symbol.version = symbol.name.substr(symbol.name.find_last_of('@') + 1);
        symbol.name.resize(at);
    }
    return symbol;
}

// What the module itself defines and needs.
std::vector<Symbol> dynamic_symbols()
{
    std::istringstream text(output_of("nm -D -P '" QN_IPS_MODULE "'"));
    std::vector<Symbol> symbols;
    for (std::string line; std::getline(text, line);)
        symbols.push_back(parse_symbol(line));
    const bool calls_are_checked =
        std::ranges::any_of(symbols, [](const Symbol& symbol) { return symbol.name.starts_with("__ubsan_"); });
    std::erase_if(symbols, [=](const Symbol& symbol) {
        return from_instrumentation(symbol.name) || (calls_are_checked && describes_function_type(symbol.name));
    });
    return symbols;
}

bool is_undefined(const Symbol& symbol)
{
    return symbol.type == 'U' || symbol.type == 'w' || symbol.type == 'v';
}

Names defined_names()
{
    Names names;
    for (const Symbol& symbol : dynamic_symbols()) {
        if (!is_undefined(symbol))
            names.insert(symbol.name);
    }
    return names;
}

Names missing_from(const Names& there, const Names& wanted)
{
    Names missing;
    std::ranges::set_difference(wanted, there, std::inserter(missing, missing.end()));
    return missing;
}

Names table_entry_points()
{
    Names names;
    for (const GoldenRow& row : golden_rows())
        names.insert(row.entry);
    for (const EntryPoint& entry : unregistered_entry_points())
        names.insert(entry.name);
    return names;
}

Names table_handlers()
{
    Names names;
    for (const GoldenRow& row : golden_rows())
        names.insert(row.handler);
    names.erase("-");
    return names;
}

TEST(ExportedSymbols, AllEntryPointsAreThere)
{
    EXPECT_EQ(table_entry_points().size(), 312U);
    EXPECT_EQ(missing_from(defined_names(), table_entry_points()), Names{});
}

TEST(ExportedSymbols, AllHandlersAreThere)
{
    EXPECT_EQ(table_handlers().size(), 97U);
    EXPECT_EQ(missing_from(defined_names(), table_handlers()), Names{});
}

TEST(ExportedSymbols, DataAndFunctionsAreThere)
{
    EXPECT_EQ(missing_from(defined_names(), exported_data), Names{});
    EXPECT_EQ(missing_from(defined_names(), exported_functions), Names{});
}

TEST(ExportedSymbols, NothingElseLeaksOut)
{
    Names promised = exported_data;
    for (const Names& more : {exported_functions, table_entry_points(), table_handlers()})
        promised.insert(more.begin(), more.end());
    EXPECT_EQ(missing_from(promised, defined_names()), Names{});
}

// A C++ name would start with _Z; a weak definition would be one that another library may replace.
TEST(ExportedSymbols, DefinitionsHaveCLinkageAndAreStrong)
{
    for (const Symbol& symbol : dynamic_symbols()) {
        if (is_undefined(symbol))
            continue;
        EXPECT_FALSE(symbol.name.starts_with("_Z")) << symbol.name;
        EXPECT_NE(std::string("TDBR").find(symbol.type), std::string::npos) << symbol.name << ' ' << symbol.type;
    }
}

// Functions are code and the data a server reads is data of the module, not a read-only copy: a server may set the
// debug switches.
TEST(ExportedSymbols, DataIsWritable)
{
    for (const Symbol& symbol : dynamic_symbols()) {
        if (exported_data.contains(symbol.name)) {
            EXPECT_TRUE(symbol.type == 'D' || symbol.type == 'B') << symbol.name << ' ' << symbol.type;
        }
    }
}

// An instrumented module binds to the sanitizer's own versions of these, which bear no version.
bool in_c_library(const std::string& name)
{
    static void* const library = dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD);
    return library != nullptr && dlsym(library, name.c_str()) != nullptr;
}

TEST(UndefinedSymbols, AreTheServersServicesLibxml2AndTheRuntime)
{
    Names strange;
    for (const Symbol& symbol : dynamic_symbols()) {
        if (!is_undefined(symbol) || symbol.type != 'U')
            continue;
        const bool of_library = symbol.version.starts_with("GLIBC_") || symbol.version.starts_with("GCC_") ||
                                symbol.version.starts_with("LIBXML2_") ||
                                (symbol.version.empty() && in_c_library(symbol.name));
        const bool of_server = server_services.contains(symbol.name);
        if (!of_library && !of_server)
            strange.insert(symbol.name + '@' + symbol.version);
    }
    EXPECT_EQ(strange, Names{});
}

TEST(UndefinedSymbols, ServicesComeFromTheServer)
{
    Names undefined;
    for (const Symbol& symbol : dynamic_symbols()) {
        if (symbol.type == 'U')
            undefined.insert(symbol.name);
    }
    EXPECT_EQ(missing_from(undefined, server_services), Names{});
}

TEST(NeededLibraries, AreLibxml2AndTheRuntime)
{
    const std::string text = output_of("readelf -dW '" QN_IPS_MODULE "'");
    static const std::regex needed(R"(\(NEEDED\)[^\[]*\[([^\]]+)\])");
    static const std::regex allowed(
        R"(libxml2\.so\.\d+|libc\.so\.\d+|libm\.so\.\d+|libgcc_s\.so\.\d+|libstdc\+\+\.so\.\d+|ld-linux.*|lib(asan|ubsan|tsan|clang_rt).*)");
    int libraries = 0;
    for (std::sregex_iterator match(text.begin(), text.end(), needed), end; match != end; ++match) {
        ++libraries;
        EXPECT_TRUE(std::regex_match((*match)[1].str(), allowed)) << (*match)[1];
    }
    EXPECT_GT(libraries, 0);
    EXPECT_NE(text.find("libxml2"), std::string::npos);
}

} // namespace
