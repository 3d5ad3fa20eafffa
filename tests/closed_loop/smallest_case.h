// The smallest pair of configurations between which an edit still goes wrong.
#pragma once

#include <functional>
#include <string>

#include "host/server/configuration_model.h"

namespace qnips::test
{

struct EditCase {
    Config before;
    Config after;

    bool operator==(const EditCase&) const = default;
};

// Takes nodes out of both, out of one, or takes back what one of them changes, as long as the case goes wrong. The
// predicate must be false for configurations that are not valid.
EditCase smallest_case(EditCase found, const std::function<bool(const EditCase&)>& goes_wrong);

} // namespace qnips::test
