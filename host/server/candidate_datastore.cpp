#include "server/candidate_datastore.h"

#include "server/edit_config.h"
#include "server/touched_nodes.h"

namespace qnips
{

bool CandidateDatastore::edit(const EditRequest& request)
{
    if (own_)
        return apply(*own_, request);
    ConfigTree copy = copy_of(running_);
    const bool changed = apply(copy, request);
    if (changed)
        own_ = std::move(copy);
    return changed;
}

bool CandidateDatastore::apply(ConfigTree& tree, const EditRequest& request) const
{
    AppliedEdit edit(tree, request); // taken back when it goes out of scope without a commit
    if (request.test_option == TestOption::test_only) {
        validate_edit(rules_, edit.changes());
        return false;
    }
    const bool changed = !edit.changes().empty();
    edit.commit();
    return changed;
}

} // namespace qnips
