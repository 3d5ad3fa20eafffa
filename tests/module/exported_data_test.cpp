// The data that a server reads from the module: values, and every row against the promised ones.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <map>
#include <set>
#include <span>
#include <stdexcept>
#include <string>

#include "module/node_table.h"
#include "quorin-intrusion-prevention.h"

namespace
{

using namespace qnips::test;

template <class T>
const T& exported(const char* name)
{
    void* symbol = dlsym(RTLD_DEFAULT, name);
    if (symbol == nullptr)
        throw std::runtime_error(std::string("not exported: ") + name);
    return *static_cast<const T*>(symbol);
}

// A server reads the rows behind the record's head.
std::span<const clbk> rows()
{
    const auto& table = exported<transapi_data_callbacks>("clbks");
    return {table.callbacks, static_cast<std::size_t>(table.callbacks_count)};
}

std::string function_name(transapi_callback function)
{
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void*>(function), &info) == 0 || info.dli_sname == nullptr)
        return "";
    return info.dli_sname;
}

TEST(ExportedData, WordsHaveTheValuesThatAServerExpects)
{
    EXPECT_EQ(exported<int>("transapi_version"), 4);
    EXPECT_EQ(exported<TRANSAPI_CLBCKS_ORDER_TYPE>("callbacks_order"), TRANSAPI_CLBCKS_ROOT_TO_LEAF);
    EXPECT_EQ(exported<int>("callbacks_order"), 1);
    EXPECT_EQ(exported<int>("erropt"), 0);
    EXPECT_EQ(exported<int>("config_modified"), 0);
    EXPECT_EQ(exported<transapi_rpc_callbacks>("rpc_clbks").callbacks_count, 0);
    EXPECT_EQ(exported<uint32_t>("g_current_Version"), 2017053101U);
}

TEST(ExportedData, DebugSwitchesAndTheAnswerBufferAreZeroAtLoad)
{
    EXPECT_EQ(exported<uint32_t>("g_ulZDBIPSprint"), 0U);
    EXPECT_EQ(exported<uint32_t>("g_ulZDBIPSprintSpecial"), 0U);
    EXPECT_EQ(exported<uint32_t>("g_uiAPIAdpDbg"), 0U);
    EXPECT_EQ(sizeof(g_acIPSFirstSigSetName), 64U);
    const std::array<char, 64> zero{};
    EXPECT_EQ(std::memcmp(dlsym(RTLD_DEFAULT, "g_acIPSFirstSigSetName"), zero.data(), zero.size()), 0);
}

TEST(ExportedData, OneNamespacePairAndAnEndOfTheList)
{
    const auto* pairs = &exported<ns_pair>("namespace_mapping");
    EXPECT_STREQ(pairs[0].prefix, "qn-ips");
    EXPECT_STREQ(pairs[0].href, "urn:quorin:params:xml:ns:yang:quorin-intrusion-prevention");
    EXPECT_EQ(pairs[1].prefix, nullptr);
    EXPECT_EQ(pairs[1].href, nullptr);
}

TEST(ExportedData, DatastoreTableNamesTheServersOwnFunctions)
{
    const auto& funcs = exported<ncds_custom_funcs>("custom_funcs");
    EXPECT_EQ(funcs.init, custom_init);
    EXPECT_EQ(funcs.free, custom_free);
    EXPECT_EQ(funcs.was_changed, custom_changed);
    EXPECT_EQ(funcs.rollback, custom_rollback);
    EXPECT_EQ(funcs.lock, custom_lock);
    EXPECT_EQ(funcs.unlock, custom_unlock);
    EXPECT_EQ(funcs.is_locked, nullptr);
    EXPECT_EQ(funcs.getconfig, custom_getconfig);
    EXPECT_EQ(funcs.copyconfig, custom_copyconfig);
    EXPECT_EQ(funcs.deleteconfig, custom_deleteconfig);
    EXPECT_EQ(funcs.editconfig, custom_editconfig);
}

TEST(ExportedData, TenDeliveredProfilesInOrder)
{
    const std::array<const char*, 10> names{"default",         "ids",         "outside_firewall", "dmz",
                                            "inside_firewall", "mail_server", "dns_server",       "file_server",
                                            "web_server",      "strict"};
    ASSERT_EQ(std::size(g_ips_paucProfileTemplet), names.size());
    for (std::size_t i = 0; i < names.size(); ++i)
        EXPECT_STREQ(g_ips_paucProfileTemplet[i], names.at(i));
}

TEST(ExportedData, InitAndCloseDoNothing)
{
    xmlDocPtr running = nullptr;
    EXPECT_EQ(transapi_init(&running), 0);
    EXPECT_EQ(running, nullptr);
    EXPECT_EQ(transapi_init(nullptr), 0);
    transapi_close();
}

TEST(Rows, TableHead)
{
    EXPECT_EQ(exported<transapi_data_callbacks>("clbks").callbacks_count, 308);
    EXPECT_EQ(exported<transapi_data_callbacks>("clbks").data, nullptr);
}

TEST(Rows, AreThePromisedOnesInOrder)
{
    const std::vector<GoldenRow> promised = golden_rows();
    ASSERT_EQ(promised.size(), 308U);
    ASSERT_EQ(rows().size(), promised.size());
    for (std::size_t i = 0; i < promised.size(); ++i) {
        SCOPED_TRACE("row " + std::to_string(i));
        EXPECT_EQ(rows()[i].path, promised[i].path);
        EXPECT_EQ(function_name(rows()[i].func), promised[i].entry);
        EXPECT_EQ(rows()[i].priority, promised[i].priority);
        EXPECT_EQ(rows()[i].schema_path, nullptr);
    }
}

TEST(Rows, EachEntryPointStandsInOneRow)
{
    std::map<transapi_callback, int> uses;
    for (const clbk& row : rows())
        ++uses[row.func];
    EXPECT_EQ(uses.size(), 308U);
    EXPECT_FALSE(uses.contains(nullptr));
}

TEST(Rows, PrioritiesAreSpreadAsPromised)
{
    std::map<int, int> count;
    for (const clbk& row : rows())
        ++count[row.priority];
    const std::map<int, int> promised{{0, 95}, {16, 8},  {17, 10}, {18, 51}, {19, 1},  {20, 24},
                                      {21, 1}, {22, 1},  {23, 16}, {50, 8},  {51, 18}, {52, 3},
                                      {53, 1}, {54, 44}, {55, 1},  {56, 15}, {57, 11}};
    EXPECT_EQ(count, promised);
}

TEST(Rows, PrioritiesFollowWhatANodeIs)
{
    for (const clbk& row : rows()) {
        const std::string entry = function_name(row.func);
        SCOPED_TRACE(entry);
        if (entry.ends_with("_Delete"))
            EXPECT_TRUE(row.priority >= 50 && row.priority <= 57) << row.priority;
        else if (entry.ends_with("_ADD"))
            EXPECT_TRUE(row.priority >= 16 && row.priority <= 23) << row.priority;
        else if (std::string(row.path).starts_with("/qn-ips:ips-state"))
            EXPECT_EQ(row.priority, 0);
        else
            EXPECT_TRUE(row.priority == 0 || (row.priority >= 18 && row.priority <= 23)) << row.priority;
    }
}

TEST(Rows, NinetySevenSetNinetySevenRemovalAndAHundredAndFourteenNoOpEntryPoints)
{
    int noop = 0;
    int pairs = 0;
    for (const TableNode& node : node_table()) {
        if (node.has_handler())
            ++pairs;
        else
            noop += node.is_pair() ? 2 : 1;
    }
    EXPECT_EQ(pairs, 97);
    EXPECT_EQ(noop, 114);
}

TEST(NodeTable, HandlersAreThePromisedOnes)
{
    std::map<std::string, std::string> handler_of;
    for (const GoldenRow& row : golden_rows())
        handler_of[row.entry] = row.handler;
    for (const TableNode& node : node_table()) {
        SCOPED_TRACE(node.path);
        const std::string handler = node.has_handler() ? node.handler : "-";
        EXPECT_EQ(handler, handler_of[node.set.name]);
        if (node.is_pair()) {
            EXPECT_EQ(handler, handler_of[node.remove.name]);
        }
    }
}

TEST(NodeTable, NineHandlersLearnWhichEntryPointCalledThem)
{
    std::set<std::string> flagged;
    std::set<std::string> ranges;
    for (const TableNode& node : node_table()) {
        if (node.kind == NodeKind::flag_pair)
            flagged.insert(node.handler);
        if (node.kind == NodeKind::range_pair)
            ranges.insert(node.handler);
    }
    EXPECT_EQ(flagged,
              (std::set<std::string>{"IPS_UD_SigRuleSourceIP", "IPS_UD_SigRuleDesIP", "IPS_UD_SigRuleBasicCondOffset",
                                     "IPS_UD_SigRuleBasicCondDepth", "IPS_UD_SigRuleBasicCondDirection",
                                     "IPS_UD_SigRuleBasicCondHTTPMethod", "IPS_UD_SigRuleAssocCondSigID"}));
    EXPECT_EQ(ranges, (std::set<std::string>{"IPS_UD_SigRuleSourceIP_Range", "IPS_UD_SigRuleDesIP_Range"}));
}

TEST(NodeTable, FourEntryPointsHaveNoRow)
{
    std::set<std::string> names;
    for (const EntryPoint& entry : unregistered_entry_points())
        names.insert(entry.name);
    EXPECT_EQ(names, (std::set<std::string>{"callback_SigRuleSourceIP_StartIP", "callback_SigRuleSourceIP_EndIP",
                                            "callback_SigRuleDesIP_StartIP", "callback_SigRuleDesIP_EndIP"}));
    for (const clbk& row : rows())
        EXPECT_FALSE(names.contains(function_name(row.func))) << row.path;
}

} // namespace
