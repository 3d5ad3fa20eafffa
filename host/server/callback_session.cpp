#include "server/callback_session.h"

#include <stdexcept>
#include <utility>

#include "server/platform_query.h"
#include "server/yang_schema.h"

namespace qnips
{

namespace
{

CallbackSession* g_current = nullptr;

const Change* ancestor(const Change* change, int level)
{
    for (; level > 0 && change != nullptr; --level)
        change = change->parent;
    return change;
}

const xmlNode* ancestor(const xmlNode* node, int level)
{
    for (; level > 0 && node != nullptr; --level)
        node = node->parent;
    return node;
}

bool has_child(const xmlNode* parent, std::string_view name)
{
    for (const xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE && name == reinterpret_cast<const char*>(child->name))
            return true;
    }
    return false;
}

// Whether the phase's document shows the node: what comes is not there yet when things go, and what goes is not there
// any more when things come. A handler that were told of both would take a choice that changes its case for one that is
// given twice.
bool exists(const Change& change, Phase phase)
{
    if (change.replaced)
        return change.op(phase) != XMLDIFF_NONE;
    return !change.is(phase == Phase::removal ? XMLDIFF_ADD : XMLDIFF_REM);
}

} // namespace

CallbackSession::CallbackSession(CommandPlatform& platform, bool names_quiet)
    : platform_(platform), names_quiet_(names_quiet)
{
    if (g_current != nullptr)
        throw std::logic_error("callbacks are already being called");
    g_current = this;
}

CallbackSession::~CallbackSession()
{
    g_current = nullptr;
}

CallbackSession* CallbackSession::current()
{
    return g_current;
}

CallbackRecord CallbackSession::call(const Row& row, const Change& change, Phase phase, xmlNode* node)
{
    change_ = &change;
    phase_ = phase;
    node_ = node;
    record_ = CallbackRecord{};
    record_.op = change.op(phase);
    record_.callback = row.callback;
    record_.priority = row.priority;
    first_error_ = nc_err{};

    void* context = this;
    nc_err* slot = nullptr;
    const auto start = std::chrono::steady_clock::now();
    record_.result = row.function(&context, static_cast<XMLDIFF_OP>(record_.op), node, &slot);
    record_.duration = std::chrono::steady_clock::now() - start;

    record_.dropped = script_.take_left_over();
    record_.covered = phase == Phase::removal && (record_.op & XMLDIFF_REM) != 0 && record_.result == 0 &&
                      record_.scripts.empty() && (ancestor_op(1) & XMLDIFF_REM) != 0;
    if (names_quiet_ || !record_.is_quiet())
        record_.path = change.path();
    change_ = nullptr;
    node_ = nullptr;
    return std::move(record_);
}

void CallbackSession::cache(CommandLine line)
{
    script_.cache(std::move(line));
}

int CallbackSession::commit(unsigned operation, nc_err** slot)
{
    PendingScript::Commit commit = script_.commit(platform_, static_cast<int>(operation));
    if (commit.error) {
        report(slot, {static_cast<NC_ERR>(commit.error->code), commit.error->message});
        record_.platform_error = std::make_shared<const PlatformError>(std::move(*commit.error));
        return record_.platform_error->code;
    }
    if (!commit.lines.empty())
        record_.scripts.push_back({std::move(commit.lines), commit.operation});
    return 0;
}

int CallbackSession::query(const msg_dp_zell_head_t& header, const void* extra, msg_to_dp_t*& reply, nc_err** slot)
{
    const std::optional<PlatformError> error = answer_query(platform_, header, extra, reply);
    if (!error)
        return 0;
    // A question without a slot is one whose failure the client need not hear of.
    if (slot != nullptr)
        report(slot, {static_cast<NC_ERR>(error->code), error->message});
    return error->code;
}

int CallbackSession::fail(nc_err** slot, NC_ERR code, std::string message)
{
    report(slot, {code, std::move(message)});
    return 1;
}

void CallbackSession::report(nc_err** slot, ReportedError error)
{
    if (slot != nullptr && *slot == nullptr) {
        first_error_.error = error;
        *slot = &first_error_;
    }
    record_.errors.push_back(std::move(error));
}

unsigned CallbackSession::ancestor_op(int level) const
{
    const Change* found = ancestor(change_, level);
    return found == nullptr ? 0U : found->op(phase_);
}

unsigned CallbackSession::child_op(int level, std::string_view name) const
{
    const Change* parent = ancestor(change_, level);
    if (parent == nullptr)
        return static_cast<unsigned>(XMLDIFF_ERR);

    for (const Change* child : parent->children) {
        if (schema_name(child->schema) == name && exists(*child, phase_))
            return child->op(phase_);
    }
    const xmlNode* element = ancestor(node_, level);
    if (element != nullptr && has_child(element, name))
        return XMLDIFF_NONE;
    return static_cast<unsigned>(XMLDIFF_ERR);
}

} // namespace qnips
