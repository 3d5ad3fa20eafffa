// What the tests of the edit engine share: schema, trees from XML and back, changes as lines of text.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "server/config_tree.h"
#include "server/edit_config.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"
#include "server/yang_schema.h"

namespace qnips::test
{

// The module engine-test; made once for all tests of a program.
const YangSchema& engine_schema();

// The content of <top> in engine-test, with the prefixes nc (NETCONF) and yang bound; "" gives an empty configuration.
std::string top(std::string_view content);
ConfigTree config(std::string_view top_content);

EditRequest edit_of(std::string_view top_content);
// A whole request, with a default operation and the content of <config>.
EditRequest request_of(std::string_view default_operation, std::string_view config_content);

// The tree as compact XML.
std::string text_of(const ConfigTree& tree);
// Path, value and libyang's flags of each node, a line each.
std::string exact_text_of(const ConfigTree& tree);

// "ADD /et:top/settings" and the like, a MOD leaf with " was <old value>", sorted.
std::vector<std::string> lines_of(const ChangeSet& changes);

// "tag path app-tag" of the RpcError that `action` throws; "" if it throws none.
std::string error_of(const auto& action)
{
    try {
        action();
    } catch (const RpcError& error) {
        std::string text = std::string(error.tag());
        if (!error.path().empty())
            text.append(" ").append(error.path());
        if (!error.app_tag().empty())
            text.append(" ").append(error.app_tag());
        return text;
    }
    return {};
}

// The text of the RpcError that `action` throws; empty when it throws none.
std::string reason_of(const auto& action)
{
    try {
        action();
    } catch (const RpcError& error) {
        return error.what();
    }
    return {};
}

} // namespace qnips::test
