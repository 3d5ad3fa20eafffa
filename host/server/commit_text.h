// What the history keeps of an edit besides its XML, as text for a reader.
#pragma once

#include <string>
#include <vector>

#include "server/callback_pass.h"
#include "server/rpc_error.h"

namespace qnips
{

// The lines that the device has taken, each with its place, one a line: those of the edit and of what came after it.
std::string lines_of(const PassResult& pass, const std::vector<PassResult>& more = {});

// Node and reason of each error, one a line.
std::string describe(const std::vector<RpcError>& errors);

} // namespace qnips
