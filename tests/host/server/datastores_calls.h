// Requests on a confirmed commit, and what else may happen meanwhile, as values that a test lists. Session 1 is user1.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>

#include <fmt/format.h>

#include "datastores_fixture.h"

namespace qnips::test
{

// The error-tag of the answer, "" for ok.
using Call = std::function<std::string(TestServer&)>;
using Token = std::optional<std::string>;

inline Call change(const char* to, SessionId session = 1)
{
    return [=](TestServer& server) {
        return tag_of(
            [&] { return server.all().edit_config(session, "admin", DatastoreName::candidate, edit_to(to)); });
    };
}

inline Call confirmed(SessionId session, long timeout, Token persist = {}, Token persist_id = {})
{
    return [=](TestServer& server) {
        return tag_of([&] {
            return server.all().commit(session, fmt::format("user{}", session),
                                       {true, std::chrono::seconds(timeout), persist, persist_id});
        });
    };
}

inline Call commit(SessionId session, Token persist_id = {})
{
    return [=](TestServer& server) {
        return tag_of([&] {
            return server.all().commit(session, fmt::format("user{}", session),
                                       {false, std::chrono::seconds(600), {}, persist_id});
        });
    };
}

inline Call cancel(SessionId session, Token persist_id = {})
{
    return [=](TestServer& server) {
        return tag_of([&] { return server.all().cancel_commit(session, fmt::format("user{}", session), persist_id); });
    };
}

inline Call wait(long time)
{
    return [=](TestServer& server) {
        server.wait(std::chrono::seconds(time));
        return std::string();
    };
}

inline Call end_of(SessionId session)
{
    return [=](TestServer& server) {
        server.all().close_session(session);
        return std::string();
    };
}

inline Call edit_running(const char* to)
{
    return [=](TestServer& server) {
        return tag_of([&] { return server.all().edit_config(3, "admin", DatastoreName::running, edit_to(to)); });
    };
}

inline Call crash()
{
    return [](TestServer& server) {
        server.restart();
        return tag_of([&] { return server.all().recover("system").value_or(EditOutcome{}); });
    };
}

} // namespace qnips::test
