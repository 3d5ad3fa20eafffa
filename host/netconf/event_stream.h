// The events of the server and who has subscribed to them (RFC 5277): each subscriber has a queue that its own thread
// empties. A queue has an end: a subscriber that does not read loses its session, not the server its memory.
#pragma once

#include <chrono>
#include <ctime>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "server/yang_schema.h"

namespace qnips
{

struct Event {
    std::string time;               // when it happened, as yang:date-and-time
    std::shared_ptr<lyd_node> tree; // the notification; nobody changes it
};
// An event that happens now. `tree` is a notification.
Event event_now(TreePtr tree);

class EventQueue
{
public:
    // Events that wait for the client at most.
    static constexpr std::size_t capacity = 256;

    // Whether an event may be told to this subscriber; it must throw nothing, and cost little.
    using Wants = std::function<bool(const lyd_node*)>;

    // `wakes` is called when there is something new, `overflows` when an event is lost because the subscriber does not
    // read, both under a lock of the queue.
    EventQueue(Wants wants, std::optional<std::time_t> stop_time, std::function<void()> wakes,
               std::function<void()> overflows)
        : wants_(std::move(wants)), stop_time_(stop_time), wakes_(std::move(wakes)), overflows_(std::move(overflows))
    {
    }

    void push(const Event& event);
    // The oldest event; nullopt when there is none.
    std::optional<Event> pop();
    // Nobody is called any more.
    void close();

    [[nodiscard]] std::optional<std::time_t> stop_time() const { return stop_time_; }

private:
    Wants wants_;
    std::optional<std::time_t> stop_time_;
    mutable std::mutex mutex_;
    std::function<void()> wakes_;
    std::function<void()> overflows_;
    std::deque<Event> events_;
};

// Threads may share it.
class EventStream
{
public:
    void subscribe(const std::shared_ptr<EventQueue>& queue);
    void unsubscribe(const std::shared_ptr<EventQueue>& queue);
    // Tells all subscribers of what happens now. `tree` is a notification.
    void publish(TreePtr tree);
    // Whether anybody listens; what nobody hears need not be made.
    [[nodiscard]] bool has_subscribers() const;

private:
    mutable std::mutex mutex_;
    std::vector<std::shared_ptr<EventQueue>> queues_;
};

} // namespace qnips
