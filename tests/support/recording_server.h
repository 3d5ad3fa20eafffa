// A server that carries nothing out and remembers everything: it provides the services of the server contract to the
// module under test, answers lookups from the tree of one edit, and hands back what a callback did.
//
//   RecordingServer server;
//   const CallResult r = server.call(IPS_UD_ProfileDescription, XMLDIFF_MOD,
//                                    nested(in_profile("branch", "webguard"), leaf("description", "text")),
//                                    "//description");
//   EXPECT_EQ(r.lines, (Lines{{"branch", "profile-ips-webguard", "profile-ips", "description text"}}));
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "support/edit_tree.h"
#include "support/recorded_call.h"
#include "transapi/transapi.h"

namespace qnips::test
{

using Handler = int (*)(int op, xmlNodePtr node, API_ENV_S* env);
using FlagHandler = int (*)(int op, xmlNodePtr node, API_ENV_S* env, int is_delete);
using WithEnvironment = std::function<int(API_ENV_S* env)>;

// The services have C linkage and no argument that leads to a server, so there is one server at a time: the one that is
// alive. A second one throws std::logic_error.
class RecordingServer
{
public:
    RecordingServer();
    ~RecordingServer();
    RecordingServer(const RecordingServer&) = delete;
    RecordingServer& operator=(const RecordingServer&) = delete;

    // The server that is alive. Ends the program when there is none: a service was called outside a test's server.
    static RecordingServer& current();

    // Calls a handler for the element that `xpath` selects, with an environment such as an entry point fills, except
    // that `cmd_oper` starts at API_CMD_MOD: a handler that does not set it shows.
    CallResult call(Handler handler, int op, std::string_view xml, const std::string& xpath);
    CallResult call(FlagHandler handler, int op, std::string_view xml, const std::string& xpath, int is_delete);

    // Calls an entry point with the raw operation.
    CallResult enter(transapi_callback entry, int op, std::string_view xml, const std::string& xpath);

    // Runs `body` in a callback's environment: for checks and builders, which take it alone.
    CallResult run(std::string_view xml, const std::string& xpath, const WithEnvironment& body);

    // Runs `body` with the operation for an element of a tree that stands already, and does not look at standard
    // output: for very many calls.
    CallResult call_at(xmlNode* node, int op, const WithEnvironment& body);

    // Runs `body` outside any callback: for the reads.
    CallResult run(const std::function<int()>& body);

    // What the server is to answer, for all calls until it is changed.
    int commit_result = 0;
    int fail_result = 1;                         // of fail_nc_err
    unsigned cache_result = 0;                   // of api_script_cache_lines
    std::deque<Answer> answers;                  // to queries, one each; without one a query fails with 1
    std::function<int(int)> transform = nullptr; // of operations; identity when empty
    std::optional<Answer> commit_reply;          // a reply to every commit, which the test releases afterwards

    // The context and the error slot of callbacks.
    [[nodiscard]] void** data() { return &context_; }
    [[nodiscard]] struct nc_err** error_slot() { return &error_; }

    // Uses of a service against its contract, in words. A test ends with none.
    [[nodiscard]] const std::vector<std::string>& misuses() const { return misuses_; }

    // Replies handed out, and those given back.
    [[nodiscard]] std::size_t allocated_replies() const { return allocated_replies_; }
    [[nodiscard]] std::size_t released_replies() const { return released_replies_; }

    // Who gave replies back: source file and line as the module named them.
    struct Release {
        std::string file;
        unsigned long long line = 0;
    };
    [[nodiscard]] const std::vector<Release>& releases() const { return releases_; }

    // Frees the replies that are still out, such as those to commits, which belong to no one.
    void free_open_replies();

    // The services. Not for tests.
    int serve_message(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply, struct nc_err** error,
                      const void* extra);
    unsigned serve_line(const char* vsys, const char* view, const char* view_type, const char* line);
    int serve_error(struct nc_err** error, const char* message, const char* second, int kind, NC_ERR code);
    [[nodiscard]] int serve_transform(int op) const;
    int serve_ancestor_op(void** data, int level);
    int serve_child_op(void** data, int level, const char* name);
    const char* serve_key(int level, const xmlNode* node, const char* name);
    void serve_release(void** slot, const char* file, unsigned long long line);
    void misuse(const std::string& what) { misuses_.push_back(what); }

private:
    API_ENV_S enter_node(xmlNode* node);
    CallResult finish(const std::function<int()>& body);
    void start_record();
    int commit(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply, const void* extra);
    int answer(const msg_dp_zell_head_t& header, unsigned operation, msg_to_dp_t** reply, const void* extra,
               bool has_error_slot);
    msg_to_dp_t* make_reply(const Answer& answer);
    void check_context(void** data, const char* service);

    void* context_ = nullptr;
    struct nc_err* error_ = nullptr;
    const xmlNode* changed_ = nullptr;
    int changed_op_ = 0;
    CallResult record_;
    std::size_t committed_lines_ = 0; // of record_.lines
    std::vector<std::string> misuses_;
    std::set<void*> open_replies_;
    std::size_t allocated_replies_ = 0;
    std::size_t released_replies_ = 0;
    std::vector<Release> releases_;
};

} // namespace qnips::test
