// What the tests of the NETCONF operations share: requests as a client writes them, and a server without a transport,
// on the real module and an emulated device.
#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "access/access_control.h"
#include "netconf/operations.h"
#include "netconf/reply.h"
#include "netconf/sessions.h"
#include "netconf_requests.h"
#include "platform/emulator.h"
#include "platform/faulty_platform.h"
#include "platform/signature_catalogue.h"
#include "server/config_tree.h"
#include "server/datastores.h"
#include "server/module_loader.h"
#include "server/node_table.h"
#include "server/running_datastore.h"
#include "server/yang_schema.h"
#include "store/commit_store.h"

namespace qnips::test
{

struct NetconfWorld {
    PluginModule module{QN_IPS_MODULE};
    YangSchema schema{{QN_IPS_YANG_DIR, QN_IPS_IETF_YANG_DIR}, default_yang_module, server_yang_modules()};
    NodeTable table{module.rows(), schema};
    SignatureCatalogue catalogue = SignatureCatalogue::load(QN_IPS_CATALOGUE);
};
// Made once for all tests of the program.
const NetconfWorld& netconf_world();

// A request as the NETCONF library parses it, from the text of its operation.
class ParsedRpc
{
public:
    explicit ParsedRpc(const std::string& operation);

    [[nodiscard]] const lyd_node* node() const { return rpc_.get(); }

private:
    TreePtr envelope_;
    TreePtr rpc_;
};

// A tree as text, one line without declarations of namespaces; "" for none.
std::string compact(const lyd_node* tree, DefaultsMode mode = DefaultsMode::report_explicit);

class NetconfServer
{
public:
    NetconfServer();

    // What a session is answered: "ok", the data, or the errors as "tag path: message", one a line.
    std::string call(const std::string& operation, SessionId session = 1);
    Reply reply_to(const std::string& operation, SessionId session = 1);
    // The same for one who asks as he is.
    Reply reply_to(const Requester& requester, const std::string& operation);
    // The same for a user, in the first session.
    std::string call_as(const AccessUser& user, const std::string& operation);

    void wait(std::chrono::seconds time);

    [[nodiscard]] Operations& operations() { return operations_; }
    [[nodiscard]] SessionTable& sessions() { return sessions_; }
    // Permits everything to everybody to begin with.
    [[nodiscard]] AccessControl& access() { return access_; }
    [[nodiscard]] FaultyPlatform& channel() { return channel_; }
    // The sessions that were killed, and by whom.
    [[nodiscard]] const std::vector<Kill>& kills() const { return kills_; }

private:
    EmulatedPlatform device_{netconf_world().catalogue};
    FaultyPlatform channel_{device_};
    CommitStore store_{":memory:"};
    RunningDatastore running_{netconf_world().schema, netconf_world().table, channel_, store_};
    Datastores::Clock::time_point time_{};
    Datastores datastores_{netconf_world().schema, running_, store_, [this] { return time_; }};
    SessionTable sessions_{0};
    std::vector<Kill> kills_;
    AccessControl access_{AccessRules{.enabled = false}};
    Operations operations_;
};

} // namespace qnips::test
