// A state document as a client reads it: validated against the YANG module and searched by XPath.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

struct lyd_node;

namespace qnips
{

class StateDocument
{
public:
    // Throws std::runtime_error with the validator's message when the document is not valid.
    explicit StateDocument(const std::string& xml);

    // The values of all nodes that an XPath expression relative to ips-state finds, in the order of the document; that
    // of a container or an entry is empty.
    [[nodiscard]] std::vector<std::string> values(const std::string& xpath) const;

    // The value of the one node that is found; "2 nodes" and the like when there is not exactly one.
    [[nodiscard]] std::string value(const std::string& xpath) const;

    // Which nodes of the module occur in the document: "ips-state/engine/status".
    [[nodiscard]] std::set<std::string> schema_paths() const;

    // All nodes of the state tree that the module has.
    static std::set<std::string> schema_paths_of_module();

private:
    struct TreeDeleter {
        void operator()(lyd_node* tree) const noexcept;
    };

    std::unique_ptr<lyd_node, TreeDeleter> tree_;
};

} // namespace qnips
