#include "netconf/event_stream.h"

#include <algorithm>
#include <utility>

#include <libyang/libyang.h>

#include "server/libyang_memory.h"

namespace qnips
{

namespace
{

std::string present_time()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    char* text = nullptr;
    if (ly_time_ts2str(&now, &text) != LY_SUCCESS)
        return {};
    return TextPtr(text).get();
}

} // namespace

Event event_now(TreePtr tree)
{
    return {present_time(), std::shared_ptr<lyd_node>(tree.release(), TreeDeleter())};
}

void EventQueue::push(const Event& event)
{
    if (!wants_(event.tree.get()))
        return;
    const std::lock_guard guard(mutex_);
    const bool is_full = events_.size() >= capacity;
    if (!is_full)
        events_.push_back(event);
    const auto& call = is_full ? overflows_ : wakes_;
    if (call)
        call();
}

std::optional<Event> EventQueue::pop()
{
    const std::lock_guard guard(mutex_);
    if (events_.empty())
        return std::nullopt;
    Event event = std::move(events_.front());
    events_.pop_front();
    return event;
}

void EventQueue::close()
{
    const std::lock_guard guard(mutex_);
    wakes_ = {};
    overflows_ = {};
}

void EventStream::subscribe(const std::shared_ptr<EventQueue>& queue)
{
    const std::lock_guard guard(mutex_);
    queues_.push_back(queue);
}

void EventStream::unsubscribe(const std::shared_ptr<EventQueue>& queue)
{
    const std::lock_guard guard(mutex_);
    std::erase(queues_, queue);
}

void EventStream::publish(TreePtr tree)
{
    const Event event = event_now(std::move(tree));
    const std::lock_guard guard(mutex_);
    for (const auto& queue : queues_)
        queue->push(event);
}

bool EventStream::has_subscribers() const
{
    const std::lock_guard guard(mutex_);
    return !queues_.empty();
}

} // namespace qnips
