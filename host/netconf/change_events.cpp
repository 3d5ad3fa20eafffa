#include "netconf/change_events.h"

#include <utility>

namespace qnips
{

ChangeCheck ChangeEvents::watched(ChangeCheck check, std::vector<ChangedNode>& nodes)
{
    if (!events_.has_subscribers())
        return check;
    return [&nodes, own = std::move(check)](const ChangeSet& changes) {
        if (own)
            own(changes);
        nodes = changed_nodes(changes);
    };
}

void ChangeEvents::tell(const Requester& requester, DatastoreName target, const EditOutcome& outcome,
                        const std::vector<ChangedNode>& nodes)
{
    using Effect = EditOutcome::Effect;
    if (target == DatastoreName::candidate || (outcome.effect != Effect::whole && outcome.effect != Effect::part))
        return;
    // Which part has taken effect is not told.
    const bool is_whole = outcome.effect == Effect::whole;
    publish_config_change(events_, schema_, &requester, datastore_word(target),
                          is_whole ? nodes : std::vector<ChangedNode>());
}

void ChangeEvents::tell(const ConfirmedCommitEvent& event)
{
    publish_confirmed_commit(events_, schema_, event);
    using Kind = ConfirmedCommitEvent::Kind;
    const bool is_taken_back = event.kind == Kind::cancelled || event.kind == Kind::timed_out;
    if (is_taken_back && event.errors.empty() && !event.session)
        publish_config_change(events_, schema_, nullptr, datastore_word(DatastoreName::running), {});
}

} // namespace qnips
