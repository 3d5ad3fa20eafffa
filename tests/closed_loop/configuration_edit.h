// Edits that lead from one configuration to another, said in all the ways in which RFC 6241 lets them be said.
#pragma once

#include <random>

#include "host/server/configuration_model.h"

namespace qnips::test
{

// How an edit is said. Percentages of the places where there is a choice.
struct EditStyle {
    unsigned create = 0;     // new nodes that the edit creates; otherwise it merges or replaces them
    unsigned replace = 0;    // changed or new nodes that the edit replaces as a whole
    unsigned delete_it = 0;  // old nodes that the edit deletes; otherwise it removes them
    unsigned repetition = 0; // unchanged nodes that the edit names all the same
};

// Plain merges and removals, the same ones every time.
inline constexpr EditStyle plain_style{};

// An edit for the default operation "merge".
EditModel edit_between(const Config& before, const Config& after, const EditStyle& style, std::mt19937& random);

} // namespace qnips::test
