#include "server/candidate_datastore.h"

#include "server/edit_config.h"
#include "server/touched_nodes.h"

namespace qnips
{

bool CandidateDatastore::edit(const EditRequest& request, const ChangeCheck& check)
{
    if (own_)
        return apply(*own_, request, check);
    ConfigTree copy = copy_of(running_);
    const bool changed = apply(copy, request, check);
    if (changed)
        own_ = std::move(copy);
    return changed;
}

bool CandidateDatastore::apply(ConfigTree& tree, const EditRequest& request, const ChangeCheck& check) const
{
    AppliedEdit edit(tree, request); // taken back when it goes out of scope without a commit
    if (check)
        check(edit.changes());
    if (request.test_option == TestOption::test_only) {
        validate_edit(rules_, edit.changes());
        return false;
    }
    const bool changed = !edit.changes().empty();
    edit.commit();
    return changed;
}

} // namespace qnips
