// What a client is told when the store fails.
#pragma once

#include "server/rpc_error.h"
#include "store/store_error.h"

namespace qnips
{

// "resource-denied" when there is no room, else "operation-failed".
RpcError rpc_error(const StoreError& error);

} // namespace qnips
