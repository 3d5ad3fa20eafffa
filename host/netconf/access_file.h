// The file with the rules of access control: a <nacm> of ietf-netconf-acm (RFC 8341), as XML.
#pragma once

#include <filesystem>

#include "access/access_control.h"
#include "server/yang_schema.h"

namespace qnips
{

// Makes the rules in the file those that hold. Throws std::runtime_error that names the file, and the node where there
// is one; the rules that held before go on then.
void load_access_rules(AccessControl& access, const YangSchema& schema, const std::filesystem::path& file);

} // namespace qnips
