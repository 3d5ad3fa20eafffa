// The parameters of an operation, by its schema.
#pragma once

struct lysc_node;

namespace qnips
{

// Whether an operation that has one of two parameters can have the other one, too: they are different parameters and
// not in different cases of one choice (RFC 7950, 7.9).
bool can_stand_together(const lysc_node* one, const lysc_node* other);

} // namespace qnips
