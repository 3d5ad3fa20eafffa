// How libyang's results and messages become this host's errors.
#pragma once

#include <string>
#include <string_view>

#include "server/rpc_error.h"

struct ly_ctx;
struct lyd_node;
struct lysc_node;

namespace qnips
{

// The last message that libyang has stored for this context, its path made an instance path.
struct LibyangMessage {
    std::string text;
    std::string path;        // "/qn-ips:ips-config/..."; empty when libyang names none or a schema node only
    std::string schema_path; // in libyang's writing; empty when libyang names none or an instance
    std::string app_tag;     // error-app-tag, given by the module or by libyang
};
LibyangMessage last_message(const ly_ctx* context);

// A message about the value of `node` (a leaf or leaf-list; others leave it as it is), with what the type allows:
// libyang only says that a length, a range or a set of words is violated. An error-message of the YANG module stays as
// it is.
std::string with_allowed(std::string text, const lysc_node* node);

// Throws RpcError "operation-failed" that names the attempt unless `result` (an LY_ERR) is success. For calls that
// cannot fail while the engine is right.
void check(int result, const lyd_node* node, std::string_view attempt);

// Gives a leaf another value, canonical text. No failure when it is the present one.
void change_value(lyd_node* leaf, const char* canonical);

// A path in libyang's writing, where the first step carries the module's name, with its prefix instead.
std::string with_prefixes(const ly_ctx* context, std::string_view path);

} // namespace qnips
