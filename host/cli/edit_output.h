// What subcommands print of an edit: its command lines with their causes, or why it was refused.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "server/callback_pass.h"
#include "server/rpc_error.h"

namespace qnips::cli
{

struct EditReport {
    PassResult pass;
    bool test_only = false; // the edit's own test-option: it was checked, and no callback called
};

// With `trace` also every callback that sends nothing.
void print_text(const EditReport& result, bool trace);
void print_json(const EditReport& result);

// A number with its noun: "1 command line", "2 command lines".
std::string counted(std::size_t number, std::string_view what);

// `consequence` says what has become of the device: "nothing would be sent".
void print_refusal_text(const RpcError& error, std::string_view consequence);
// Node, tag and reason of a further error.
void print_error_text(const RpcError& error);
void print_refusal_json(const RpcError& error);

} // namespace qnips::cli
