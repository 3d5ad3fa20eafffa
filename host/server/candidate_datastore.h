// The candidate (RFC 6241, 8.3): running, until somebody changes it; from then on a configuration of its own, until
// that is committed or discarded. One for all sessions.
//
// It need not be valid before it is committed or validated (RFC 7950, 8.3.3).
#pragma once

#include <optional>

#include "server/config_tree.h"
#include "server/edit_request.h"
#include "server/edit_validation.h"

namespace qnips
{

class CandidateDatastore
{
public:
    // Both have to outlive the candidate.
    CandidateDatastore(const ConfigTree& running, const ValidationRules& rules) : running_(running), rules_(rules) {}

    [[nodiscard]] const ConfigTree& configuration() const { return own_ ? *own_ : running_; }

    // Whether it has changes that are neither committed nor discarded. Nobody looks whether they add up to nothing.
    [[nodiscard]] bool is_modified() const { return own_.has_value(); }

    // Wholly or not at all, whatever the error-option. Constraints are held against what the edit changes for a client
    // that states test-then-set or test-only. Costs as the edit; the first change copies running. True when something
    // has changed. Throws RpcError for an edit that cannot be applied, and what the check throws.
    bool edit(const EditRequest& request, const ChangeCheck& check = {});

    void replace(ConfigTree goal) { own_ = std::move(goal); }
    void discard() { own_.reset(); }

private:
    bool apply(ConfigTree& tree, const EditRequest& request, const ChangeCheck& check) const;

    const ConfigTree& running_;
    const ValidationRules& rules_;
    std::optional<ConfigTree> own_;
};

} // namespace qnips
