// What the recording server has seen: plain values, compared whole and printed readably.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "transapi/transapi.h"

namespace qnips::test
{

// A text of the server contract that may be null. Write std::nullopt for null.
using Text = std::optional<std::string>;

// A line as it was handed to api_script_cache_lines.
struct Line {
    Text vsys;
    std::string view;
    Text view_type;
    std::string line;

    bool operator==(const Line&) const = default;
    friend void PrintTo(const Line& line, std::ostream* out);
};
using Lines = std::vector<Line>;

// An error as it was handed to fail_nc_err.
struct ClientError {
    NC_ERR code = NC_ERR_EMPTY;
    Text message;
    Text second = std::nullopt;
    int kind = 1;

    bool operator==(const ClientError&) const = default;
    friend void PrintTo(const ClientError& error, std::ostream* out);
};
using ClientErrors = std::vector<ClientError>;

// A message of type API_DP2ZELL_CMD_CONFIG, with the lines cached since the one before.
struct Commit {
    msg_dp_zell_head_t header{};
    unsigned operation = 0; // API_CMD_OPERATION
    Lines lines;
};

// A message of any other type.
struct Query {
    msg_dp_zell_head_t header{};
    unsigned operation = 0;
    bool has_error_slot = false;
    Text payload; // header.msg_check bytes of the extra argument
};

// What the platform is to answer to a query.
struct Answer {
    int result = 0;
    Text payload;                     // the reply's data; without one there is no reply
    std::optional<unsigned> length{}; // msg_length when it is to differ from the payload's
};

// A lookup of a leaf of an ancestor.
struct KeyLookup {
    int level = 0;
    std::string name;

    bool operator==(const KeyLookup&) const = default;
    friend void PrintTo(const KeyLookup& lookup, std::ostream* out);
};

// Everything that one call did.
struct CallResult {
    int result = 0;
    int cmd_oper = 0; // of the environment after the call; -1 when an entry point made its own environment
    Lines lines;      // cached, committed or not
    std::vector<Commit> commits;
    std::vector<Query> queries;
    ClientErrors errors;
    std::vector<int> ancestor_lookups; // levels asked for, in order
    std::vector<KeyLookup> key_lookups;
    std::string output; // standard output

    // True when the call has left no trace with the server and the client, and returned 0.
    [[nodiscard]] bool quiet() const { return result == 0 && lines.empty() && commits.empty() && errors.empty(); }
};

// "ADD|CHAIN" and the like for messages; "NONE" for 0.
std::string op_text(int op);

// The bits that such a text names, without the prefix XMLDIFF_. Throws std::invalid_argument for an unknown word.
int op_from_text(const std::string& text);

} // namespace qnips::test
