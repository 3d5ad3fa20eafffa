// Which callbacks an edit leads to, and in which order.
//
// All removals come before all sets, because the removal priorities (50 and above) are the higher numbers: a condition
// is undone before its rule, a profile is created before its leaves. Each row of a changed node is called, the module
// decides which one acts. Within one removal priority siblings go from last to first, within one set priority in
// document order; parents always before children.
#pragma once

#include <string>
#include <vector>

#include "server/callback_document.h"
#include "server/change_set.h"
#include "server/node_table.h"

namespace qnips
{

struct CallbackStep {
    const Change* change = nullptr;
    const Row* row = nullptr;
    Phase phase = Phase::removal;
};

// The table must outlive the plan.
std::vector<CallbackStep> plan_callbacks(const ChangeSet& changes, const NodeTable& table,
                                         const CallbackDocument& before, const CallbackDocument& after);

// Marks what has to be replaced as a whole because a leaf without a callback of its own changes in it: the nearest
// ancestor that has one, when that exists before and after the edit. To be called once, before documents are made.
void mark_replaced(ChangeSet& changes, const NodeTable& table);

// The same for the nodes at these data paths, as far as the edit changes anything in them.
void mark_replaced(ChangeSet& changes, const std::vector<std::string>& paths);

} // namespace qnips
