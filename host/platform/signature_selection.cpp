#include "platform/signature_selection.h"

#include <algorithm>

namespace qnips
{

namespace
{

using Words = std::vector<std::string_view>;

bool allows(const Words& wanted, std::string_view word)
{
    return wanted.empty() || std::ranges::find(wanted, word) != wanted.end();
}

bool allows_one_of(const Words& wanted, const std::vector<std::string>& words)
{
    return wanted.empty() || std::ranges::any_of(words, [&](std::string_view word) { return allows(wanted, word); });
}

} // namespace

// Where everything is selected there are no single entries.
SignatureSelection::SignatureSelection(const DeviceReader& signature_set)
    : target_(signature_set.leaf("target", "both")), severities_(signature_set.keys("severity")),
      operating_systems_(signature_set.keys("operating-system")),
      applications_(signature_set.at("application").keys("specifed-application")),
      protocols_(signature_set.at("protocol").keys("specifed-protocol"))
{
    const DeviceReader category = signature_set.at("category");
    for (const std::string_view name : category.keys("specifed-category"))
        categories_[name] = category.entry("specifed-category", name).keys("sub-category");
}

bool SignatureSelection::selects(const Signature& signature) const
{
    return selects_target(signature) && allows(severities_, signature.severity) &&
           allows_one_of(operating_systems_, signature.operating_systems) &&
           allows_one_of(applications_, signature.applications) && allows(protocols_, signature.protocol) &&
           selects_category(signature);
}

// An attack on both sides is one on the side that the set protects.
bool SignatureSelection::selects_target(const Signature& signature) const
{
    return target_ == "both" || signature.target == "both" || signature.target == target_;
}

bool SignatureSelection::selects_category(const Signature& signature) const
{
    if (categories_.empty())
        return true;
    const auto found = categories_.find(signature.category);
    return found != categories_.end() && allows(found->second, signature.sub_category);
}

} // namespace qnips
