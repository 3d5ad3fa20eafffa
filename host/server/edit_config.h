// Applies an edit to the running configuration, in place, and tells what it changes.
#pragma once

#include <memory>

#include "server/change_set.h"
#include "server/config_tree.h"
#include "server/edit_journal.h"
#include "server/edit_request.h"
#include "server/rpc_error.h"

namespace qnips
{

// An edit under way. While it lives the tree shows both the old and the new configuration (see change_set.h), and
// nothing else may edit it. Ends with commit() or rollback(); an edit that is simply dropped is rolled back.
class AppliedEdit
{
public:
    // Applies `request`. Throws RpcError when the edit cannot be applied (RFC 6241, 7.2); the tree is then as it was.
    // Does not validate: see edit_validation.h.
    AppliedEdit(ConfigTree& tree, const EditRequest& request);
    ~AppliedEdit();
    AppliedEdit(const AppliedEdit&) = delete;
    AppliedEdit& operator=(const AppliedEdit&) = delete;

    [[nodiscard]] ChangeSet& changes() { return changes_; }
    [[nodiscard]] const ChangeSet& changes() const { return changes_; }

    // Makes the new configuration the only one. The changes are empty afterwards, as after rollback().
    void commit();
    // Makes the old configuration the only one, exactly as it was.
    void rollback();

private:
    ConfigTree& tree_;
    EditJournal journal_;
    ChangeSet changes_;
};

} // namespace qnips
