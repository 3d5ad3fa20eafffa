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
    const TestOption option = request.test_option;
    if (option == TestOption::test_only || option == TestOption::test_then_set)
        validate_edit(rules_, edit.changes());
    if (option == TestOption::test_only)
        return false;
    const bool changed = !edit.changes().empty();
    edit.commit();
    return changed;
}

} // namespace qnips
