// What subcommands print of an edit: its command lines with their causes, or why it was refused.
#pragma once

#include <string_view>

#include "server/callback_pass.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

struct EditOutcome {
    PassResult pass;
    bool test_only = false; // the edit's own test-option: it was checked, and no callback called
};

// With `trace` also every callback that sends nothing.
void print_text(const EditOutcome& result, bool trace);
void print_json(const EditOutcome& result);

// `consequence` says what has become of the device: "nothing would be sent".
void print_refusal_text(const RpcError& error, std::string_view consequence);
void print_refusal_json(const RpcError& error);

} // namespace qnips::cli
