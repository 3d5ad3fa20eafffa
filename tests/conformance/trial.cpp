#include "conformance/trial.h"

namespace qnips::conformance
{

namespace
{

void mark_all_below(const Sample& sample, ElementId element, int op, std::map<ElementId, int>& operations)
{
    operations[element] = op;
    for (const ElementId child : sample.children(element))
        mark_all_below(sample, child, op, operations);
}

void mark_above(const Sample& sample, ElementId element, int op, std::map<ElementId, int>& operations)
{
    for (auto above = sample.parent(element); above; above = sample.parent(*above))
        operations.emplace(*above, op);
}

Situation situation(const Sample& sample, ElementId target, const std::string& name, int op)
{
    Situation made{name, op, {}};
    if ((op & (XMLDIFF_ADD | XMLDIFF_REM)) != 0)
        mark_all_below(sample, target, op, made.operations);
    else
        made.operations[target] = op;
    mark_above(sample, target, XMLDIFF_CHAIN, made.operations);
    return made;
}

void append(Reply& reply, test::CallResult&& made)
{
    const auto move_to = [](auto& all, auto& more) {
        all.insert(all.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
    };
    for (const test::Commit& commit : made.commits) {
        if (!commit.lines.empty())
            reply.operation = commit.operation;
    }
    move_to(reply.lines, made.lines);
    move_to(reply.errors, made.errors);
    move_to(reply.lookups, made.key_lookups);
    reply.refused = reply.refused || made.result != 0;
}

} // namespace

Reply call_node(test::RecordingServer& server, const ModuleNode& node, const Edit& edit)
{
    const Sample::Edited tree = edit.sample->edited(edit.situation->operations, edit.changes);
    server.answers.assign(edit.answers.begin(), edit.answers.end());
    Reply reply;
    const auto enter = [&](const Callback& callback) {
        append(reply, server.call_at(tree.elements.at(edit.target), edit.situation->op, [&](const API_ENV_S* env) {
            return callback.function(server.data(), static_cast<XMLDIFF_OP>(edit.situation->op), env->node,
                                     server.error_slot());
        }));
    };
    if (node.removal)
        enter(*node.removal);
    enter(node.set);
    server.free_open_replies();
    return reply;
}

std::vector<Situation> own_situations(const Sample& sample, ElementId target, const SchemaFacts& facts)
{
    std::vector<Situation> situations{situation(sample, target, "added", XMLDIFF_ADD)};
    if (facts.shape == NodeShape::container || facts.shape == NodeShape::list)
        situations.push_back(situation(sample, target, "changed below", XMLDIFF_CHAIN));
    else if (facts.shape == NodeShape::leaf && !facts.key)
        situations.push_back(situation(sample, target, "changed", XMLDIFF_MOD));
    if (facts.ordered_by_user)
        situations.push_back(situation(sample, target, "moved", XMLDIFF_SIBLING));
    situations.push_back(situation(sample, target, "removed", XMLDIFF_REM));
    return situations;
}

Situation with_change_beside(const Sample& sample, const Situation& situation, ElementId beside,
                             const SchemaFacts& facts)
{
    Situation changed = situation;
    changed.operations[beside] = facts.is_value() ? XMLDIFF_MOD : XMLDIFF_CHAIN;
    for (const ElementId child : sample.children(beside))
        changed.operations[child] = XMLDIFF_MOD;
    return changed;
}

std::vector<Situation> ancestor_removals(const Sample& sample, ElementId target)
{
    std::vector<Situation> situations;
    for (auto above = sample.parent(target); above && sample.parent(*above); above = sample.parent(*above)) {
        Situation removal{"removed with `" + last_step(sample.path_of(*above)) + '`', XMLDIFF_REM, {}};
        mark_all_below(sample, *above, XMLDIFF_REM, removal.operations);
        mark_above(sample, *above, XMLDIFF_CHAIN, removal.operations);
        situations.push_back(std::move(removal));
    }
    return situations;
}

} // namespace qnips::conformance
