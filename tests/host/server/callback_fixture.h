// What the tests of the callbacks share: the module's schema and table, edits of one virtual system, and callbacks that
// a test makes up.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/callback_document.h"
#include "server/change_set.h"
#include "server/config_tree.h"
#include "server/edit_config.h"
#include "server/node_table.h"
#include "server/yang_schema.h"
#include "transapi/callback_table.h"

namespace qnips::test
{

// The module's own schema and table; made once for all tests of a program.
const YangSchema& ips_schema();
const NodeTable& ips_table();
const std::vector<Row>& ips_rows();

// <ips-config> around `content`, with the prefixes nc (NETCONF) and yang bound.
std::string ips_config(std::string_view content);
// The configuration with the virtual system "branch" that holds `content`.
std::string branch(std::string_view content);

ConfigTree ips_tree(std::string_view xml);

// A path below the virtual system "branch" ("/profiles/profile[name='web']") without what is the same in all of them.
// Other paths stay whole.
std::string below_branch(const std::string& path);

// An edit that stands applied, not validated, to a configuration of its own; both as the content of branch().
class StandingEdit
{
public:
    StandingEdit(std::string_view running_xml, std::string_view edit_xml);

    [[nodiscard]] ChangeSet& changes() { return edit_.changes(); }

    // The change at a path as below_branch() gives it; throws std::out_of_range when nothing changes there.
    [[nodiscard]] const Change& at(const std::string& path) const;

private:
    ConfigTree tree_;
    EditRequest request_;
    AppliedEdit edit_;
};

using Callback = std::function<int(void** data, XMLDIFF_OP op, xmlNodePtr node, nc_err** error)>;

// Callbacks of a made-up module. A row has no room for more than a plain function, so the object that was made last
// answers for all rows; there may be only one.
class FakeModule
{
public:
    FakeModule();
    ~FakeModule();
    FakeModule(const FakeModule&) = delete;
    FakeModule& operator=(const FakeModule&) = delete;

    // What is called for elements of that name in that phase. Everything else succeeds and does nothing.
    void on(Phase phase, std::string element, Callback callback);

    // The module's table with these callbacks behind its rows.
    [[nodiscard]] static std::vector<Row> rows();
    // One row with them.
    [[nodiscard]] static Row row(Phase phase);

private:
    friend int fake_entry(Phase phase, void** data, XMLDIFF_OP op, xmlNodePtr node, nc_err** error);

    std::map<std::pair<Phase, std::string>, Callback> callbacks_;
};

// Calls a service that takes a text it does not change as char*.
inline char* mutable_text(const char* text)
{
    return const_cast<char*>(text);
}

} // namespace qnips::test
