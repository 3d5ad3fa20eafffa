#include "server/store_errors.h"

namespace qnips
{

RpcError rpc_error(const StoreError& error)
{
    return {error.kind() == StoreError::Kind::full ? "resource-denied" : "operation-failed", {}, error.what()};
}

} // namespace qnips
