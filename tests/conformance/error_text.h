// Errors as Markdown: those of a node in a table of its own, those of many nodes once for all.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "conformance/node_report.h"

namespace qnips::conformance
{

// "9 (bad-element) “…”"
std::string error_text(const ErrorKey& error);

// The errors of leaves without a proper text that many nodes share, by a short name under which the nodes refer to
// them.
class SharedErrors
{
public:
    explicit SharedErrors(const std::vector<NodeReport>& reports);

    // Empty for an error that is none of these.
    [[nodiscard]] std::string name(const ErrorKey& error) const;

    // Their part of the document.
    [[nodiscard]] std::string section() const;

private:
    struct Shared {
        std::string name;
        std::size_t nodes = 0;
        std::set<std::string> leaves;
        std::set<std::string> faults;
    };
    std::map<ErrorKey, Shared> errors_;
};

// The errors of a node, with references to shared ones. Empty for none.
std::string errors_table(const NodeReport& report, const SharedErrors& shared);

} // namespace qnips::conformance
