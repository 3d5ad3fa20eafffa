// Which signatures a signature set of a profile selects.
#pragma once

#include <map>
#include <string_view>
#include <vector>

#include "platform/device_reader.h"
#include "platform/signature_catalogue.h"

namespace qnips
{

// The criteria of a signature set. One that names nothing restricts nothing. Valid until the tree changes.
class SignatureSelection
{
public:
    explicit SignatureSelection(const DeviceReader& signature_set);

    [[nodiscard]] bool selects(const Signature& signature) const;

private:
    using Words = std::vector<std::string_view>;

    [[nodiscard]] bool selects_target(const Signature& signature) const;
    [[nodiscard]] bool selects_category(const Signature& signature) const;

    std::string_view target_;
    Words severities_;
    Words operating_systems_;
    Words applications_;
    Words protocols_;
    std::map<std::string_view, Words> categories_; // with single sub-categories; none for all of them
};

} // namespace qnips
