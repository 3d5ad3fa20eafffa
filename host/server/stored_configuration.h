// A configuration that is a document of the store: written as a whole, read and checked as a whole, there after a
// restart. What the store refuses becomes an RpcError: "resource-denied" for one that is full, else "operation-failed".
#pragma once

#include <optional>
#include <string>

#include "server/config_tree.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips
{

class StoredConfiguration
{
public:
    // `name` is the document's. Schema and store have to outlive it.
    StoredConfiguration(const YangSchema& schema, CommitStore& store, std::string name)
        : schema_(schema), store_(store), name_(std::move(name))
    {
    }

    // nullopt when there is none. Throws RpcError, also for a text that is no valid configuration.
    [[nodiscard]] std::optional<ConfigTree> read() const;

    // Whether it is another one now. Throws RpcError; the document is then what it was before. Removing one that is not
    // there is no error.
    bool write(const ConfigTree& tree);
    bool remove();

private:
    const YangSchema& schema_;
    CommitStore& store_;
    std::string name_;
};

} // namespace qnips
